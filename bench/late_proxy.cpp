// A Redis that answers late: late_proxy REDIS-PORT MICROSECONDS. Prints its own port and serves
// until it is ended.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "RedisProxy.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: late_proxy REDIS-PORT MICROSECONDS\n");
        return EXIT_FAILURE;
    }
    RedisProxy proxy(std::atoi(argv[1]));
    proxy.SetDelay(std::chrono::microseconds(std::atol(argv[2])));
    std::printf("%d\n", proxy.Port());
    std::fflush(stdout);
    for (;;)
        pause();
}

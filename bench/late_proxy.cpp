// A Redis that answers late: late_proxy REDIS-PORT MICROSECONDS. Prints its own port and serves
// until it is ended.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "RedisProxy.h"

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: late_proxy REDIS-PORT MICROSECONDS\n");
        return EXIT_FAILURE;
    }
    RedisProxy proxy(std::stoi(argv[1]));
    proxy.SetDelay(std::chrono::microseconds(std::stol(argv[2])));
    std::printf("%d\n", proxy.Port());
    std::fflush(stdout);
    for (;;)
        pause();
} catch (const std::exception& error) {
    std::fprintf(stderr, "late_proxy: %s\n", error.what());
    return EXIT_FAILURE;
}

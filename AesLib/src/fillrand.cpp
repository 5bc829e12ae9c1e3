// Random bytes for initialisation blocks.
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>

#include "aes.h"

namespace {

// read and getrandom alike may be interrupted or give less than asked for.
template <class Source>
int FillFrom(Source source, unsigned char* buffer, int n) {
    int filled = 0;
    while (filled < n) {
        const ssize_t got = source(buffer + filled, static_cast<size_t>(n - filled));
        if (got <= 0 && !(got < 0 && errno == EINTR)) break;
        filled += got > 0 ? static_cast<int>(got) : 0;
    }
    return filled;
}

}  // namespace

void fillrand(void* buffer, int n) {
    auto* bytes = static_cast<unsigned char*>(buffer);
    int filled = 0;
    const int device = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (device >= 0) {
        filled = FillFrom([&](void* to, size_t size) { return read(device, to, size); }, bytes, n);
        close(device);
    }
    FillFrom([](void* to, size_t size) { return getrandom(to, size, 0); }, bytes + filled,
             n - filled);
}

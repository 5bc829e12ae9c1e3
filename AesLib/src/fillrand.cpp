// Random bytes for initialisation blocks.
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "aes_private.h"

namespace {

// Opening the device for 16 bytes costs more than enciphering a message of 1 KiB, so a thread
// fetches a stock of blocks at a time. On the heap: thread-local storage is taken from the stack.
struct IvStock {
    static constexpr int kBytes = 64 * AES_BLOCK_BYTES;
    unsigned char bytes[kBytes];
    int used = kBytes;
};

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

void NextIv(unsigned char* iv) {
    thread_local const std::unique_ptr<IvStock> stock(new (std::nothrow) IvStock);
    if (!stock) return fillrand(iv, AES_BLOCK_BYTES);
    if (stock->used == IvStock::kBytes) {
        fillrand(stock->bytes, IvStock::kBytes);
        stock->used = 0;
    }
    unsigned char* next = stock->bytes + stock->used;
    std::memcpy(iv, next, AES_BLOCK_BYTES);
    std::memset(next, 0, AES_BLOCK_BYTES);  // none is used twice, whatever goes wrong
    stock->used += AES_BLOCK_BYTES;
}

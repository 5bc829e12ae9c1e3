// The digest: MD5's steps on words of 64 bits.
#include "Common/Digest.h"

#include <cstring>

namespace digest {

namespace {

constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

constexpr uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// A rotation of 32-bit words carried out on 64: what stands above bit 31 flows back into the low
// half. This is what makes the digest differ from MD5.
uint64_t Rotate(uint64_t x, int s) {
    return (x << s) | (x >> (32 - s));
}

uint64_t Mix(int round, uint64_t x, uint64_t y, uint64_t z) {
    switch (round) {
        case 0:
            return (x & y) | (~x & z);
        case 1:
            return (x & z) | (y & ~z);
        case 2:
            return x ^ y ^ z;
        default:
            return y ^ (x | ~z);
    }
}

int WordOf(int round, int step) {
    constexpr int kStride[4] = {1, 5, 3, 7};
    constexpr int kStart[4] = {0, 1, 5, 0};
    return (kStart[round] + kStride[round] * step) % 16;
}

}  // namespace

void MD5Init(MD5_CTX* context) {
    *context = MD5_CTX{{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, {0, 0}, {}};
}

// One block. The words are 64 bits wide from the first step to the last: sums are not cut to 32
// bits, and what Rotate leaves above takes part in the next steps.
void MD5Transform(uint64_t state[4], const unsigned char block[64]) {
    uint64_t x[16];
    Decode(x, block, 64);
    uint64_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (int i = 0; i < 64; ++i) {
        const int round = i / 16;
        const uint64_t sum = a + Mix(round, b, c, d) + x[WordOf(round, i % 16)] + kSines[i];
        const uint64_t next = b + Rotate(sum, kShifts[round][i % 4]);
        a = d;
        d = c;
        c = b;
        b = next;
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

void MD5Update(const void* data, size_t length, MD5_CTX* context) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    size_t pending = (context->count[0] >> 3) & 63;
    const uint64_t bits = static_cast<uint64_t>(length) << 3;
    context->count[0] += bits;
    if (context->count[0] < bits) ++context->count[1];
    context->count[1] += static_cast<uint64_t>(length) >> 29;
    while (length > 0) {
        const size_t taken = length < 64 - pending ? length : 64 - pending;
        std::memcpy(context->buffer + pending, bytes, taken);
        pending += taken;
        bytes += taken;
        length -= taken;
        if (pending == 64) {
            MD5Transform(context->state, context->buffer);
            pending = 0;
        }
    }
}

void MD5Final(unsigned char* digest, MD5_CTX* context) {
    static constexpr unsigned char kPadding[64] = {0x80};
    unsigned char bits[8];
    Encode(bits, context->count, 8);
    const size_t pending = (context->count[0] >> 3) & 63;
    MD5Update(kPadding, pending < 56 ? 56 - pending : 120 - pending, context);
    MD5Update(bits, 8, context);
    Encode(digest, context->state, 16);
    *context = MD5_CTX{};
}

void Encode(unsigned char* bytes, const uint64_t* words, size_t length) {
    for (size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<unsigned char>(words[i / 4] >> (8 * (i % 4)));
}

void Decode(uint64_t* words, const unsigned char* bytes, size_t length) {
    for (size_t i = 0; i < length; i += 4)
        words[i / 4] = uint64_t{bytes[i]} | uint64_t{bytes[i + 1]} << 8 |
                       uint64_t{bytes[i + 2]} << 16 | uint64_t{bytes[i + 3]} << 24;
}

int md5_hex(const void* data, size_t length, unsigned char* out, size_t outSize) {
    if (data == nullptr || out == nullptr || outSize < 16) return 0;
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(data, length, &context);
    MD5Final(out, &context);
    return 1;
}

int md5_str(const void* data, size_t length, char* out, size_t outSize) {
    unsigned char raw[16];
    if (out == nullptr || outSize <= 32 || md5_hex(data, length, raw, sizeof(raw)) == 0) return 0;
    for (int i = 0; i < 16; ++i) {
        out[2 * i] = "0123456789ABCDEF"[raw[i] >> 4];
        out[2 * i + 1] = "0123456789ABCDEF"[raw[i] & 15];
    }
    out[32] = '\0';
    return 1;
}

}  // namespace digest

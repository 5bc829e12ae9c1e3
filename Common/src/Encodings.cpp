// XOR and 7-bit packing.
#include "Common/Digest.h"

namespace digest {

void* EncodeXor(void* buffer, size_t length, const void* key, size_t keyLength) {
    if (buffer == nullptr || length == 0 || key == nullptr || keyLength == 0) return nullptr;
    auto* bytes = static_cast<unsigned char*>(buffer);
    const auto* keyBytes = static_cast<const unsigned char*>(key);
    for (size_t i = 0; i < length; ++i)
        bytes[i] ^= keyBytes[i % keyLength];
    return buffer;
}

size_t Encode7Bit(const char* in, size_t n, char* out, size_t outSize) {
    if (in == nullptr || n == 0) return 0;
    const size_t packed = n - n / 8;
    if (out == nullptr || outSize < packed) return packed;
    int carry = 0;
    size_t written = 0;
    for (size_t i = 0; i < n; ++i) {
        const int k = static_cast<int>(i % 8);
        // Signed: bytes above 0x7F spread their sign bits, as they always did.
        // NOLINTNEXTLINE(bugprone-signed-char-misuse)
        const int byte = static_cast<signed char>(in[i]);
        if (k != 0) out[written++] = static_cast<char>(carry | byte * (1 << (8 - k)));
        carry = byte >> k;
    }
    if (written < outSize) out[written] = static_cast<char>(carry);
    return packed;
}

size_t Decode7Bit(const char* in, size_t n, char* out, size_t outSize) {
    if (in == nullptr || n == 0) return 0;
    const size_t unpacked = n + n / 7;
    if (out == nullptr || outSize < unpacked) return unpacked;
    int carry = 0;
    int shift = 0;
    for (size_t i = 0; i < n; ++i) {
        const int byte = static_cast<unsigned char>(in[i]);
        *out++ = static_cast<char>((carry | byte << shift) & 0x7F);
        carry = byte >> (7 - shift);
        if (++shift == 7) {
            *out++ = static_cast<char>(carry);
            carry = 0;
            shift = 0;
        }
    }
    return unpacked;
}

}  // namespace digest

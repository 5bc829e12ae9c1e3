// Buffers of any length: chaining and ciphertext stealing.
#include <cstring>

#include "aes.h"
#include "aes_private.h"

namespace {

constexpr int kBlock = AES_BLOCK_BYTES;

// Of nothing as well, when the pointers may be null.
void CopyBytes(unsigned char* to, const unsigned char* from, int n) {
    if (n > 0) std::memcpy(to, from, static_cast<size_t>(n));
}

void XorBytes(unsigned char* target, const unsigned char* other, int n) {
    for (int i = 0; i < n; ++i)
        target[i] ^= other[i];
}

// Fewer than 16 bytes: both blocks are enciphered in place and overlap, so that the second runs
// over the tail of the first's result.
bool EncryptShort(const unsigned char* in, int n, const unsigned char* iv, unsigned char* out,
                  const aes_ctx* context) {
    std::memcpy(out, iv, kBlock);
    CopyBytes(out + kBlock, in, n);
    XorBytes(out + kBlock, iv, n);
    return EcbBlocks(out, out, kBlock, context) && EcbBlocks(out + n, out + n, kBlock, context);
}

// 16 bytes or more: E(IV), the chained blocks, then the last of them together with the remaining
// bytes. With nothing remaining the last block is enciphered twice; peers expect that.
bool EncryptLong(const unsigned char* in, int n, const unsigned char* iv, unsigned char* out,
                 const aes_ctx* context) {
    const int rest = n % kBlock;
    const int full = n - rest;
    if (!EcbBlocks(iv, out, kBlock, context) || !EncryptChain(in, out + kBlock, full, iv, context))
        return false;
    unsigned char* last = out + full;
    CopyBytes(last + kBlock, in + full, rest);
    XorBytes(last + kBlock, last, rest);
    return EcbBlocks(last + rest, last + rest, kBlock, context);
}

bool DecryptShort(const unsigned char* in, int n, unsigned char* out, const aes_ctx* context) {
    unsigned char work[2 * kBlock];
    CopyBytes(work, in, n + kBlock);
    if (!EcbBlocks(work + n, work + n, kBlock, context) || !EcbBlocks(work, work, kBlock, context))
        return false;
    CopyBytes(out, work + kBlock, n);
    XorBytes(out, work, n);
    return true;
}

bool DecryptLong(const unsigned char* in, int n, unsigned char* out, const aes_ctx* context) {
    const int rest = n % kBlock;
    const int full = n - rest;
    const int head = full - kBlock;  // plaintext of all blocks but the last

    // One call for two blocks: the initialisation block and the end of the message.
    unsigned char ends[2 * kBlock];
    std::memcpy(ends, in, kBlock);
    std::memcpy(ends + kBlock, in + full + rest, kBlock);
    if (!EcbBlocks(ends, ends, 2 * kBlock, context)) return false;
    const unsigned char* iv = ends;

    unsigned char last[2 * kBlock];  // last full ciphertext block, then the masked rest
    CopyBytes(last, in + full, rest);
    std::memcpy(last + rest, ends + kBlock, kBlock);
    if (head > 0 && !DecryptChain(in + kBlock, out, head, iv, context)) return false;
    if (!EcbBlocks(last, out + head, kBlock, context)) return false;
    XorBlock(out + head, head > 0 ? in + head : iv);
    XorBytes(last + kBlock, last, rest);
    CopyBytes(out + full, last + kBlock, rest);
    return true;
}

}  // namespace

int encbuf(const void* input, int n, void* output, const aes_ctx* context, int* outLength) {
    unsigned char iv[kBlock];
    NextIv(iv);
    const auto* in = static_cast<const unsigned char*>(input);
    auto* out = static_cast<unsigned char*>(output);
    const bool done =
        n < kBlock ? EncryptShort(in, n, iv, out, context) : EncryptLong(in, n, iv, out, context);
    if (!done) return -1;
    *outLength = n + kBlock;
    return 0;
}

int decbuf(const void* input, int n, void* output, const aes_ctx* context, int* outLength) {
    const int plain = n - kBlock;
    const auto* in = static_cast<const unsigned char*>(input);
    auto* out = static_cast<unsigned char*>(output);
    const bool done = plain < kBlock ? DecryptShort(in, plain, out, context)
                                     : DecryptLong(in, plain, out, context);
    if (!done) return -1;
    *outLength = plain;
    return 0;
}

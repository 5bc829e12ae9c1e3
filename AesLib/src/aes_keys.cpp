// The two keys and the calls that choose between them.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "aes.h"

static_assert(sizeof(LOBBY_AES_KEY) == 12 + 1, "the key text has 12 characters");

const char g_szKey[32] = LOBBY_AES_KEY;

namespace {

constexpr int kBlock = AES_BLOCK_BYTES;

enum class KeyKind { Padded, Full };  // filled up with 0x12 or with zero bytes

KeyKind KindOf(int keyLength) {
    return keyLength >= kBlock ? KeyKind::Full : KeyKind::Padded;
}

void BuildKey(KeyKind kind, unsigned char* key) {
    std::memset(key, kind == KeyKind::Full ? 0 : 0x12, kBlock);
    std::copy_n(g_szKey, std::strlen(g_szKey), key);
}

// One thread's context for one key and direction, set up when first asked for: a few words of
// thread-local storage each, because that storage is taken from the thread's 16 KiB.
template <KeyKind kind, bool encrypt>
const aes_ctx* Context() {
    thread_local aes_ctx context;
    thread_local bool ready = false;
    if (!ready) {
        unsigned char key[kBlock];
        BuildKey(kind, key);
        ready = (encrypt ? aes_enc_key(key, kBlock, &context)
                         : aes_dec_key(key, kBlock, &context)) == 0;
    }
    return ready ? &context : nullptr;
}

const aes_ctx* EncContext(int keyLength) {
    return KindOf(keyLength) == KeyKind::Full ? Context<KeyKind::Full, true>()
                                              : Context<KeyKind::Padded, true>();
}

const aes_ctx* DecContext(int keyLength) {
    return KindOf(keyLength) == KeyKind::Full ? Context<KeyKind::Full, false>()
                                              : Context<KeyKind::Padded, false>();
}

unsigned char* FreeUnless(bool done, unsigned char* buffer) {
    if (done) return buffer;
    std::free(buffer);
    return nullptr;
}

}  // namespace

unsigned char* aes_enc(const void* input, int n, const void*, int keyLength, int* outLength) {
    const aes_ctx* context = EncContext(keyLength);
    if (context == nullptr || n < 0 || n > INT_MAX - 2 * kBlock) return nullptr;
    auto* buffer = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(n) + 2 * kBlock));
    return FreeUnless(buffer != nullptr && encbuf(input, n, buffer, context, outLength) == 0,
                      buffer);
}

unsigned char* aes_dec(const void* input, int n, const void*, int keyLength, int* outLength) {
    const aes_ctx* context = DecContext(keyLength);
    if (context == nullptr || n < kBlock) return nullptr;
    auto* buffer = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(n)));
    return FreeUnless(buffer != nullptr && decbuf(input, n, buffer, context, outLength) == 0,
                      buffer);
}

int aes_enc_r(const void* input, int n, const void*, int keyLength, void* output, int* outLength) {
    if (n < 0 || n > INT_MAX - kBlock) return -1;
    const aes_ctx* context = EncContext(keyLength);
    return context == nullptr ? -1 : encbuf(input, n, output, context, outLength);
}

int aes_dec_r(const void* input, int n, const void*, int keyLength, void* output, int* outLength) {
    if (n < kBlock) {
        std::printf("aes_dec_r inlen error[%d]", n);
        return -1;
    }
    const aes_ctx* context = DecContext(keyLength);
    return context == nullptr ? -1 : decbuf(input, n, output, context, outLength);
}

// Key set-up and single blocks over libcrypto's EVP interface.
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cstring>

#include "aes.h"
#include "aes_private.h"

namespace {

// The ciphers, looked up once. The look-up loads libcrypto's configuration and providers, far too
// deep for a 16 KiB stack, so it happens before main; NO_ATEXIT because detached threads may
// still be encrypting while the process exits.
struct Ciphers {
    Ciphers() {
        OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
        ecb = EVP_CIPHER_fetch(nullptr, "AES-128-ECB", nullptr);
        cbc = EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr);
    }
    EVP_CIPHER* ecb;
    EVP_CIPHER* cbc;
};

const Ciphers& TheCiphers() {
    static const Ciphers ciphers;
    return ciphers;
}

[[maybe_unused]] const Ciphers& g_fetchedBeforeMain = TheCiphers();

constexpr unsigned char kZeroIv[AES_BLOCK_BYTES] = {};

bool SetKey(EVP_CIPHER_CTX*& slot, const EVP_CIPHER* cipher, const unsigned char* key,
            bool encrypt) {
    const unsigned char* iv = cipher == TheCiphers().cbc ? kZeroIv : nullptr;
    if (slot == nullptr) slot = EVP_CIPHER_CTX_new();
    return slot != nullptr && cipher != nullptr &&
           EVP_CipherInit_ex2(slot, cipher, key, iv, encrypt ? 1 : 0, nullptr) == 1 &&
           EVP_CIPHER_CTX_set_padding(slot, 0) == 1;
}

int SetKeys(const unsigned char* key, int keyLength, bool encrypt, aes_ctx* context) {
    std::memset(context->chain, 0, sizeof(context->chain));
    return keyLength == AES_BLOCK_BYTES && SetKey(context->ecb, TheCiphers().ecb, key, encrypt) &&
                   SetKey(context->cbc, TheCiphers().cbc, key, encrypt)
               ? 0
               : -1;
}

// After a failure half-way the chain starts anew, or every later message would be garbled.
bool ResetChain(const aes_ctx* context) {
    EVP_CipherInit_ex2(context->cbc, nullptr, nullptr, kZeroIv, -1, nullptr);
    std::memset(context->chain, 0, sizeof(context->chain));
    return false;
}

bool Update(EVP_CIPHER_CTX* cipher, const unsigned char* in, unsigned char* out, int bytes) {
    int written = 0;
    return bytes == 0 || EVP_CipherUpdate(cipher, out, &written, in, bytes) == 1;
}

}  // namespace

aes_ctx::~aes_ctx() {
    EVP_CIPHER_CTX_free(ecb);
    EVP_CIPHER_CTX_free(cbc);
}

int aes_enc_key(const unsigned char* key, int keyLength, aes_ctx* context) {
    return SetKeys(key, keyLength, true, context);
}

int aes_dec_key(const unsigned char* key, int keyLength, aes_ctx* context) {
    return SetKeys(key, keyLength, false, context);
}

void XorBlock(unsigned char* target, const unsigned char* other) {
    for (int i = 0; i < AES_BLOCK_BYTES; ++i)
        target[i] ^= other[i];
}

bool EcbBlocks(const unsigned char* in, unsigned char* out, int bytes, const aes_ctx* context) {
    return Update(context->ecb, in, out, bytes);
}

// Giving libcrypto a new chaining block costs as much as 200 bytes of encryption. Its chain goes
// on from message to message instead, and the first block makes up for the difference.
bool EncryptChain(const unsigned char* in, unsigned char* out, int bytes, const unsigned char* iv,
                  const aes_ctx* context) {
    unsigned char first[AES_BLOCK_BYTES];
    std::memcpy(first, in, sizeof(first));
    XorBlock(first, iv);
    XorBlock(first, context->chain);
    constexpr int kFirst = AES_BLOCK_BYTES;
    if (!Update(context->cbc, first, out, kFirst) ||
        !Update(context->cbc, in + kFirst, out + kFirst, bytes - kFirst))
        return ResetChain(context);
    std::memcpy(context->chain, out + bytes - kFirst, kFirst);
    return true;
}

bool DecryptChain(const unsigned char* in, unsigned char* out, int bytes, const unsigned char* iv,
                  const aes_ctx* context) {
    if (!Update(context->cbc, in, out, bytes)) return false;
    XorBlock(out, iv);
    XorBlock(out, context->chain);
    std::memcpy(context->chain, in + bytes - AES_BLOCK_BYTES, AES_BLOCK_BYTES);
    return true;
}

int aes_enc_blk(const unsigned char* in, unsigned char* out, const aes_ctx* context) {
    return EcbBlocks(in, out, AES_BLOCK_BYTES, context) ? 0 : -1;
}

int aes_dec_blk(const unsigned char* in, unsigned char* out, const aes_ctx* context) {
    return EcbBlocks(in, out, AES_BLOCK_BYTES, context) ? 0 : -1;
}

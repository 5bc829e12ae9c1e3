// Key set-up and single blocks over libcrypto's EVP interface.
#include <openssl/crypto.h>
#include <openssl/evp.h>

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

bool SetKey(EVP_CIPHER_CTX*& slot, const EVP_CIPHER* cipher, const unsigned char* key,
            bool encrypt) {
    if (slot == nullptr) slot = EVP_CIPHER_CTX_new();
    return slot != nullptr && cipher != nullptr &&
           EVP_CipherInit_ex2(slot, cipher, key, nullptr, encrypt ? 1 : 0, nullptr) == 1 &&
           EVP_CIPHER_CTX_set_padding(slot, 0) == 1;
}

}  // namespace

aes_ctx::~aes_ctx() {
    EVP_CIPHER_CTX_free(ecb);
    EVP_CIPHER_CTX_free(cbc);
}

int aes_enc_key(const unsigned char* key, int keyLength, aes_ctx* context) {
    if (keyLength != AES_BLOCK_BYTES) return -1;
    const bool ready = SetKey(context->ecb, TheCiphers().ecb, key, true) &&
                       SetKey(context->cbc, TheCiphers().cbc, key, true);
    return ready ? 0 : -1;
}

int aes_dec_key(const unsigned char* key, int keyLength, aes_ctx* context) {
    if (keyLength != AES_BLOCK_BYTES) return -1;
    return SetKey(context->ecb, TheCiphers().ecb, key, false) ? 0 : -1;
}

bool EcbBlocks(const unsigned char* in, unsigned char* out, int bytes, const aes_ctx* context) {
    int written = 0;
    return bytes == 0 || EVP_CipherUpdate(context->ecb, out, &written, in, bytes) == 1;
}

bool CbcBlocks(const unsigned char* in, unsigned char* out, int bytes, const unsigned char* iv,
               const aes_ctx* context) {
    int written = 0;
    return EVP_CipherInit_ex2(context->cbc, nullptr, nullptr, iv, -1, nullptr) == 1 &&
           EVP_CipherUpdate(context->cbc, out, &written, in, bytes) == 1;
}

int aes_enc_blk(const unsigned char* in, unsigned char* out, const aes_ctx* context) {
    return EcbBlocks(in, out, AES_BLOCK_BYTES, context) ? 0 : -1;
}

int aes_dec_blk(const unsigned char* in, unsigned char* out, const aes_ctx* context) {
    return EcbBlocks(in, out, AES_BLOCK_BYTES, context) ? 0 : -1;
}

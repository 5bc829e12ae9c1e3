// Header of the AES library: buffers of any length under AES-128 with a random initialisation
// block and ciphertext stealing. The output is always exactly 16 bytes longer than the input;
// there is no length field, no padding and no authentication (tampered input decrypts to garbage
// of the right length). The block cipher itself is libcrypto's.
//
// Thread: any, for everything here. The keys never change, so each thread keeps its own contexts
// for them; after a thread's first message nothing is allocated per message. A call takes under
// 1 KiB of stack.
#pragma once

#include <openssl/types.h>

inline constexpr int AES_BLOCK_BYTES = 16;

// The key text shared with the peers, filled up with zero bytes. Build option LOBBY_AES_KEY.
extern const char g_szKey[32];

// One expanded AES-128 key for one direction. Owns its libcrypto contexts; used by one thread at
// a time, const or not: the contexts keep the state of the chain.
struct aes_ctx {
    aes_ctx() = default;
    ~aes_ctx();
    aes_ctx(const aes_ctx&) = delete;
    aes_ctx& operator=(const aes_ctx&) = delete;

    EVP_CIPHER_CTX* ecb = nullptr;  // single blocks, and runs of independent ones
    EVP_CIPHER_CTX* cbc = nullptr;  // chained blocks
    mutable unsigned char chain[AES_BLOCK_BYTES] = {};  // last ciphertext block cbc went over
};

// Set up a 16-byte key for encryption or decryption. 0 on success; -1 when keyLength is not 16 or
// libcrypto has no memory.
int aes_enc_key(const unsigned char* key, int keyLength, aes_ctx* context);
int aes_dec_key(const unsigned char* key, int keyLength, aes_ctx* context);

// One 16-byte block; in and out may be the same. 0 on success, -1 on failure.
int aes_enc_blk(const unsigned char* in, unsigned char* out, const aes_ctx* context);
int aes_dec_blk(const unsigned char* in, unsigned char* out, const aes_ctx* context);

// Fills n bytes from /dev/urandom, opened anew for every call; encbuf therefore asks for the
// initialisation blocks of many messages at a time. When no descriptor is to be had
// the kernel's generator is asked directly, so that the bytes are random in any case.
void fillrand(void* buffer, int n);

// Encrypts n bytes (0 or more) to n + 16 and stores that length; context from aes_enc_key.
// decbuf is the inverse: n must be at least 16. The buffers must not overlap. 0 on success, -1
// when libcrypto fails.
int encbuf(const void* input, int n, void* output, const aes_ctx* context, int* outLength);
int decbuf(const void* input, int n, void* output, const aes_ctx* context, int* outLength);

// The functions below choose one of two keys by keyLength alone; the key pointer is not used:
//   16 or more  the first 16 bytes of g_szKey, zero bytes included;
//   15 or less  16 bytes of 0x12 with the characters of g_szKey copied over their start.

// Into a new buffer, which the caller releases with free(): n + 32 bytes for aes_enc, n for
// aes_dec (n at least 16). Null when n is out of range, or when memory or libcrypto fails.
unsigned char* aes_enc(const void* input, int n, const void* key, int keyLength, int* outLength);
unsigned char* aes_dec(const void* input, int n, const void* key, int keyLength, int* outLength);

// Into the caller's buffer, which must hold n + 16 bytes for aes_enc_r and n - 16 for aes_dec_r:
// that is the caller's to check. *outLength is what was written. 0 on success; -1, with nothing
// written, when n is out of range or libcrypto fails. aes_dec_r prints a line when n is below 16.
int aes_enc_r(const void* input, int n, const void* key, int keyLength, void* output,
              int* outLength);
int aes_dec_r(const void* input, int n, const void* key, int keyLength, void* output,
              int* outLength);

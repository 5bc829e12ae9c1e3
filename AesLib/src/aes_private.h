// Inside the AES library: runs of blocks.
#pragma once

#include "aes.h"

// A fresh initialisation block from fillrand.
void NextIv(unsigned char* iv);

void XorBlock(unsigned char* target, const unsigned char* other);

// All take a whole number of blocks in bytes and answer false when libcrypto fails.

// Each block on its own, in the direction the key was set up for; in and out may be the same.
bool EcbBlocks(const unsigned char* in, unsigned char* out, int bytes, const aes_ctx* context);

// Chained from iv, at least one block; in and out must not overlap.
bool EncryptChain(const unsigned char* in, unsigned char* out, int bytes, const unsigned char* iv,
                  const aes_ctx* context);
bool DecryptChain(const unsigned char* in, unsigned char* out, int bytes, const unsigned char* iv,
                  const aes_ctx* context);

// Inside the AES library: runs of blocks.
#pragma once

#include "aes.h"

// Both take a whole number of blocks in bytes and answer false when libcrypto fails. The
// direction is the one the context's key was set up for.

// Each block on its own; in and out may be the same.
bool EcbBlocks(const unsigned char* in, unsigned char* out, int bytes, const aes_ctx* context);

// Chained from iv; encryption contexts only.
bool CbcBlocks(const unsigned char* in, unsigned char* out, int bytes, const unsigned char* iv,
               const aes_ctx* context);

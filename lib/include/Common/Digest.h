// Public header: a digest, light encodings and callback sorts.
#pragma once

#include <cstddef>
#include <cstdint>

// In a namespace, so that a reader sees which qsort or Encode is meant, and by their bare names
// (below) for those who know them so. Thread: any; no state but the caller's.
namespace digest {

// NOT MD5, though built like it: the rounds run on 64-bit words that are never reduced to 32 bits,
// and only the low halves are put out. Existing digests depend on it; never replace it by a
// standard MD5. Of no cryptographic worth.
struct MD5_CTX {
    uint64_t state[4];
    uint64_t count[2];  // bits so far, low word first
    unsigned char buffer[64];
};

void MD5Init(MD5_CTX* context);
void MD5Update(const void* data, size_t length, MD5_CTX* context);
// Writes 16 bytes and clears the context.
void MD5Final(unsigned char* digest, MD5_CTX* context);

void MD5Transform(uint64_t state[4], const unsigned char block[64]);
// The low 32 bits of each word as little-endian bytes, and back; length counts the bytes.
void Encode(unsigned char* bytes, const uint64_t* words, size_t length);
void Decode(uint64_t* words, const unsigned char* bytes, size_t length);

// 16 raw bytes, despite the name. 1 on success; 0 when data or out is null or outSize below 16.
int md5_hex(const void* data, size_t length, unsigned char* out, size_t outSize);
// 32 upper-case hexadecimal digits and a NUL. 1 on success; 0 for a null pointer or when outSize
// is 32 or less.
int md5_str(const void* data, size_t length, char* out, size_t outSize);

// XORs the buffer in place with the key, repeated. The buffer, or null when any argument is null
// or zero.
void* EncodeXor(void* buffer, size_t length, const void* key, size_t keyLength);

// Septets packed least significant bit first. The result is the packed length n - n / 8, or 0 for
// no input; with no out, or outSize below that length, nothing is written.
// Buffer: packed length + 1 bytes. When n is a multiple of 8 the last carry is stored one byte
// past the result; it is left out when outSize does not allow for it. Bytes above 0x7F spread
// their sign bits over their neighbours.
size_t Encode7Bit(const char* in, size_t n, char* out, size_t outSize);
// The inverse; the unpacked length is n + n / 7, which is all the buffer needs. A text of 7 k - 1
// characters comes back with one more, a zero: the packed length does not tell them apart.
size_t Decode7Bit(const char* in, size_t n, char* out, size_t outSize);

// Sort the index range first..last, both included, of a collection known to the callbacks alone.
// Nothing happens unless first < last and every callback is given. compare answers negative, zero
// or positive; exchange swaps two elements; move takes the element at `from` out and puts it in at
// `to` < from, so that to..from-1 shift up by one.
using CompareAt = int (*)(int i, int j, void* context);
using SwapAt = void (*)(int i, int j, void* context);
using MoveTo = void (*)(int from, int to, void* context);

// Partition sort, not stable; about n log n compares, n^2 at worst, and log n levels of stack.
void qsort(int first, int last, void* context, CompareAt compare, SwapAt exchange);
// Stable; n log n compares, log n levels of stack.
void MergeSort(int first, int last, void* context, CompareAt compare, SwapAt exchange, MoveTo move);

}  // namespace digest

using digest::Decode;
using digest::Decode7Bit;
using digest::Encode;
using digest::Encode7Bit;
using digest::EncodeXor;
using digest::md5_hex;
using digest::md5_str;
using digest::MD5Final;
using digest::MD5Init;
using digest::MD5Transform;
using digest::MD5Update;
using digest::MergeSort;
using digest::qsort;  // beside the C library's, which takes other arguments

// libcrypto has a type of this name: include its <openssl/md5.h> first, and name this one in full.
#ifndef OPENSSL_MD5_H
using digest::MD5_CTX;
#endif

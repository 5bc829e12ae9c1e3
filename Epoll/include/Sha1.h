// SHA-1 and base64 as the WebSocket upgrade needs them, on libcrypto.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct evp_md_st;
struct evp_md_ctx_st;

// SHA-1 over pieces of input. All of libcrypto's set-up happens in the constructor, which needs
// far more stack than a framework thread has: build the object on the main thread. Afterwards one
// thread at a time may use it.
class SHA1 {
  public:
    static constexpr size_t kWords = 5;

    SHA1();
    ~SHA1();
    SHA1(const SHA1&) = delete;
    SHA1& operator=(const SHA1&) = delete;

    // Forgets all input. Needed before the first Input after a Result.
    void Reset();
    void Input(const void* data, size_t length);
    // The digest as five words in host order; false when libcrypto failed or no Reset followed
    // the last Result.
    bool Result(uint32_t (&words)[kWords]);

  private:
    evp_md_st* m_lpDigest;       // owned
    evp_md_ctx_st* m_lpContext;  // owned
    bool m_bGood = false;        // every step since Reset succeeded
};

// Standard alphabet, padded, no line breaks. Any thread.
std::string base64_encode(const void* data, size_t length);
// Empty for text that is not padded base64 of the standard alphabet. Any thread.
std::string base64_decode(std::string_view text);

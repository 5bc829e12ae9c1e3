#include "Sha1.h"

#include <openssl/evp.h>

#include <algorithm>

SHA1::SHA1() : m_lpDigest(EVP_MD_fetch(nullptr, "SHA1", nullptr)), m_lpContext(EVP_MD_CTX_new()) {
    Reset();
}

SHA1::~SHA1() {
    EVP_MD_CTX_free(m_lpContext);
    EVP_MD_free(m_lpDigest);
}

void SHA1::Reset() {
    m_bGood = m_lpDigest != nullptr && m_lpContext != nullptr &&
              EVP_DigestInit_ex2(m_lpContext, m_lpDigest, nullptr) == 1;
}

void SHA1::Input(const void* data, size_t length) {
    m_bGood = m_bGood && EVP_DigestUpdate(m_lpContext, data, length) == 1;
}

bool SHA1::Result(uint32_t (&words)[kWords]) {
    uint8_t digest[kWords * 4];
    const bool good = m_bGood && EVP_DigestFinal_ex(m_lpContext, digest, nullptr) == 1;
    m_bGood = false;
    if (!good) return false;
    for (size_t i = 0; i < kWords; ++i) {
        const uint8_t* word = digest + i * 4;
        words[i] = uint32_t{word[0]} << 24 | uint32_t{word[1]} << 16 | uint32_t{word[2]} << 8 |
                   uint32_t{word[3]};
    }
    return true;
}

std::string base64_encode(const void* data, size_t length) {
    // libcrypto writes a terminating zero as well.
    std::string text((length + 2) / 3 * 4 + 1, '\0');
    const int written =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        static_cast<const unsigned char*>(data), static_cast<int>(length));
    text.resize(static_cast<size_t>(written));
    return text;
}

std::string base64_decode(std::string_view text) {
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    // libcrypto forgives blanks, and padding anywhere.
    const size_t letters = std::min(text.find_first_not_of(kAlphabet), text.size());
    const size_t padding = text.size() - letters;
    if (text.size() % 4 != 0 || padding > 2 ||
        text.find_first_not_of('=', letters) != std::string_view::npos) {
        return {};
    }
    std::string data(text.size() / 4 * 3, '\0');
    const int written = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(data.data()),
                                        reinterpret_cast<const unsigned char*>(text.data()),
                                        static_cast<int>(text.size()));
    data.resize(written < 0 ? 0 : static_cast<size_t>(written) - padding);
    return data;
}

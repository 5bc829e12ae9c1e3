#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sys/resource.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "aes.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kFullKey = 16;
constexpr int kPaddedKey = 0;

Bytes Plain(int n) {
    Bytes data(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        data[static_cast<size_t>(i)] = static_cast<unsigned char>(i * 31);
    return data;
}

Bytes Encrypt(const Bytes& plain, int keyLength) {
    Bytes out(plain.size() + 16);
    int length = static_cast<int>(out.size());
    EXPECT_EQ(aes_enc_r(plain.data(), static_cast<int>(plain.size()), nullptr, keyLength,
                        out.data(), &length),
              0);
    EXPECT_EQ(length, static_cast<int>(plain.size()) + 16);
    return out;
}

Bytes Decrypt(const Bytes& cipher, int keyLength) {
    Bytes out(4088);
    int length = 4088;
    EXPECT_EQ(aes_dec_r(cipher.data(), static_cast<int>(cipher.size()), nullptr, keyLength,
                        out.data(), &length),
              0);
    out.resize(static_cast<size_t>(length));
    return out;
}

// The layout written out block by block over plain EVP, with nothing shared with the library.
class Reference {
  public:
    explicit Reference(const std::string& key) : m_key(key) {}

    Bytes Decrypt(const Bytes& in) const {
        const size_t n = in.size() - 16;
        Bytes work = in;
        Bytes out(n);
        const size_t rest = n < 16 ? n : n % 16;
        const size_t full = n < 16 ? 0 : n - rest;
        Block(&work[full + rest]);
        for (size_t i = 0; i < rest && full > 0; ++i)
            out[full + i] = work[full + 16 + i] ^ work[full + i];
        Bytes chain(work.begin(), work.begin() + 16);
        Block(chain.data());
        for (size_t i = 0; i < rest && full == 0; ++i)
            out[i] = work[16 + i] ^ chain[i];
        for (size_t at = 16; at <= full; at += 16) {
            Bytes block(&work[at], &work[at] + 16);
            Block(block.data());
            for (size_t i = 0; i < 16; ++i)
                out[at - 16 + i] = block[i] ^ chain[i];
            chain.assign(&work[at], &work[at] + 16);
        }
        return out;
    }

  private:
    void Block(unsigned char* block) const {
        const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(
            EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
        const auto* key = reinterpret_cast<const unsigned char*>(m_key.data());
        EVP_DecryptInit_ex(context.get(), EVP_aes_128_ecb(), nullptr, key, nullptr);
        EVP_CIPHER_CTX_set_padding(context.get(), 0);
        unsigned char out[32];
        int length = 0;
        EVP_DecryptUpdate(context.get(), out, &length, block, 16);
        std::memcpy(block, out, 16);
    }

    std::string m_key;
};

TEST(Aes, BlockOfThePublishedStandard) {
    unsigned char key[16], plain[16], block[16];
    for (int i = 0; i < 16; ++i) {
        key[i] = static_cast<unsigned char>(i);
        plain[i] = static_cast<unsigned char>(i * 0x11);
    }
    aes_ctx encrypt, decrypt;
    ASSERT_EQ(aes_enc_key(key, 16, &encrypt), 0);
    ASSERT_EQ(aes_dec_key(key, 16, &decrypt), 0);
    EXPECT_EQ(aes_enc_key(key, 15, &encrypt), -1);
    ASSERT_EQ(aes_enc_blk(plain, block, &encrypt), 0);
    EXPECT_EQ(
        std::memcmp(block, "\x69\xc4\xe0\xd8\x6a\x7b\x04\x30\xd8\xcd\xb7\x80\x70\xb4\xc5\x5a", 16),
        0);
    ASSERT_EQ(aes_dec_blk(block, block, &decrypt), 0);
    EXPECT_EQ(std::memcmp(block, plain, 16), 0);
}

TEST(Aes, EveryLengthRoundTripsAndAgreesWithTheReference) {
    const std::string text = "q7wz2m4kx9pe";
    const struct {
        int keyLength;
        Reference reference;
    } kKeys[] = {{kFullKey, Reference(text + std::string(4, '\0'))},
                 {kPaddedKey, Reference(text + std::string(4, '\x12'))},
                 {15, Reference(text + std::string(4, '\x12'))}};
    std::vector<int> lengths;
    for (int n = 0; n <= 100; ++n)
        lengths.push_back(n);
    lengths.insert(lengths.end(), {1024, 4071, 4072});
    for (const auto& key : kKeys) {
        for (const int n : lengths) {
            const Bytes plain = Plain(n);
            const Bytes cipher = Encrypt(plain, key.keyLength);
            ASSERT_EQ(Decrypt(cipher, key.keyLength), plain) << n;
            ASSERT_EQ(key.reference.Decrypt(cipher), plain) << n;
        }
    }
}

TEST(Aes, FreshBlockPerCallAndKeysDiffer) {
    const Bytes plain = Plain(40);
    const Bytes first = Encrypt(plain, kFullKey);
    std::set<std::string> seen;
    for (int i = 0; i < 200; ++i) {
        const auto cipher = Encrypt(plain, kFullKey);
        seen.emplace(cipher.begin(), cipher.begin() + AES_BLOCK_BYTES);
    }
    EXPECT_EQ(seen.size(), 200u);
    EXPECT_NE(Decrypt(first, kPaddedKey), plain);
}

TEST(Aes, NeverWritesPastTheCapacity) {
    const Bytes plain = Plain(40);
    Bytes out(57, 'x');
    int length = 55;
    EXPECT_EQ(aes_enc_r(plain.data(), 40, nullptr, 0, out.data(), &length), -1);
    EXPECT_EQ(out, Bytes(57, 'x'));
    length = 56;
    EXPECT_EQ(aes_enc_r(plain.data(), 40, nullptr, 0, out.data(), &length), 0);
    EXPECT_EQ(out[56], 'x');

    Bytes back(41, 'x');
    length = 39;
    EXPECT_EQ(aes_dec_r(out.data(), 56, nullptr, 0, back.data(), &length), -1);
    EXPECT_EQ(back, Bytes(41, 'x'));
    length = 40;
    EXPECT_EQ(aes_dec_r(out.data(), 56, nullptr, 0, back.data(), &length), 0);
    EXPECT_EQ(back[40], 'x');
    length = 15;
    EXPECT_EQ(aes_enc_r(plain.data(), 0, nullptr, 0, out.data(), &length), -1);
    length = 100;
    EXPECT_EQ(aes_enc_r(plain.data(), -1, nullptr, 0, out.data(), &length), -1);
}

TEST(Aes, ShortInputIsReported) {
    int length = 100;
    unsigned char out[16];
    testing::internal::CaptureStdout();
    EXPECT_EQ(aes_dec_r("123456789012345", 15, nullptr, 0, out, &length), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "aes_dec_r inlen error[15]");
}

TEST(Aes, AllocatingFormsAgree) {
    const Bytes plain = Plain(33);
    int length = 0;
    unsigned char* cipher = aes_enc(plain.data(), 33, nullptr, kFullKey, &length);
    ASSERT_NE(cipher, nullptr);
    ASSERT_EQ(length, 49);
    unsigned char* back = aes_dec(cipher, length, nullptr, kFullKey, &length);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(Bytes(back, back + length), plain);
    std::free(cipher);
    std::free(back);
    EXPECT_EQ(aes_dec(plain.data(), 15, nullptr, kFullKey, &length), nullptr);
}

// Each thread chains on from its own last message; messages must not depend on that order.
TEST(Aes, ThreadsReadEachOthersMessagesInAnyOrder) {
    std::vector<Bytes> ciphers;
    for (int n = 0; n < 64; ++n)
        ciphers.push_back(Encrypt(Plain(n), kPaddedKey));
    auto readBackwards = [&] {
        for (int n = 63; n >= 0; --n)
            EXPECT_EQ(Decrypt(ciphers[static_cast<size_t>(n)], kPaddedKey), Plain(n));
    };
    std::thread a(readBackwards), b(readBackwards);
    a.join();
    b.join();
}

TEST(FillRand, FillsWithoutDescriptorsToo) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlimit none = limit;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
    std::set<std::string> seen;
    for (int i = 0; i < 8; ++i) {
        std::string bytes(16, '\0');
        fillrand(bytes.data(), 16);
        seen.insert(bytes);
    }
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(seen.size(), 8u);
}

}  // namespace

#include "aes.h"

#include <openssl/evp.h>
#include <sys/resource.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <set>
#include <vector>

#include "BaseTest.h"

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
    const int size = static_cast<int>(plain.size());
    int length = size + 16;
    EXPECT_EQ(aes_enc_r(plain.data(), size, nullptr, keyLength, out.data(), &length), 0);
    EXPECT_EQ(length, size + 16);
    return out;
}

Bytes Decrypt(const Bytes& cipher, int keyLength) {
    Bytes out(4088);
    const int size = static_cast<int>(cipher.size());
    int length = 4088;
    EXPECT_EQ(aes_dec_r(cipher.data(), size, nullptr, keyLength, out.data(), &length), 0);
    out.resize(static_cast<size_t>(length));
    return out;
}

// The layout written out block by block over plain EVP, with nothing shared with the library.
Bytes Reference(const std::string& key, Bytes in) {
    const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(EVP_CIPHER_CTX_new(),
                                                                             &EVP_CIPHER_CTX_free);
    EVP_DecryptInit_ex(context.get(), EVP_aes_128_ecb(), nullptr,
                       reinterpret_cast<const unsigned char*>(key.data()), nullptr);
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    const auto open = [&](size_t at) {
        unsigned char block[32];
        int length = 0;
        EVP_DecryptUpdate(context.get(), block, &length, &in[at], 16);
        std::copy_n(block, 16, &in[at]);
    };
    const size_t n = in.size() - 16, full = n - n % 16;
    Bytes out(n);
    open(n);
    open(0);
    for (size_t i = full; i < n; ++i)
        out[i] = in[i + 16] ^ in[i];
    for (size_t at = full; at >= 16; at -= 16) {
        open(at);
        for (size_t i = at - 16; i < at; ++i)
            out[i] = in[i + 16] ^ in[i];
    }
    return out;
}

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
    const std::pair<int, std::string> keys[] = {{kFullKey, text + std::string(4, '\0')},
                                                {kPaddedKey, text + std::string(4, '\x12')},
                                                {15, text + std::string(4, '\x12')}};
    std::vector<int> lengths = {1024, 4071, 4072};
    for (int n = 0; n <= 100; ++n)
        lengths.push_back(n);
    for (const auto& [keyLength, key] : keys) {
        for (const int n : lengths) {
            const Bytes plain = Plain(n);
            const Bytes cipher = Encrypt(plain, keyLength);
            ASSERT_EQ(Decrypt(cipher, keyLength), plain) << n;
            ASSERT_EQ(Reference(key, cipher), plain) << n;
        }
    }
}

TEST(Aes, FreshBlockPerCallAndKeysDiffer) {
    const Bytes plain = Plain(40);
    std::set<std::string> seen;
    for (int i = 0; i < 200; ++i) {
        const auto cipher = Encrypt(plain, kFullKey);
        seen.emplace(cipher.begin(), cipher.begin() + AES_BLOCK_BYTES);
    }
    EXPECT_EQ(seen.size(), 200u);
    EXPECT_NE(Decrypt(Encrypt(plain, kFullKey), kPaddedKey), plain);
}

// The length is an output alone: what it held before says nothing about the buffer.
TEST(Aes, RefusesShortInputAndOnlyWritesTheLength) {
    const struct {
        bool seals;
        int size, result, written;
    } rows[] = {{true, 40, 0, 56},  {true, 0, 0, 16},   {true, -1, -1, 0},
                {false, 56, 0, 40}, {false, 15, -1, 0}, {true, INT_MAX, -1, 0}};
    const Bytes plain = Plain(40), cipher = Encrypt(plain, kPaddedKey);
    testing::internal::CaptureStdout();
    for (const auto& row : rows) {
        Bytes out(100, 'x');
        int length = 0;
        EXPECT_EQ((row.seals ? aes_enc_r : aes_dec_r)((row.seals ? plain : cipher).data(), row.size,
                                                      nullptr, 0, out.data(), &length),
                  row.result);
        EXPECT_EQ(length, row.written);
        EXPECT_EQ(std::count(out.begin() + row.written, out.end(), 'x'), 100 - row.written);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "aes_dec_r inlen error[15]");
}

TEST(Aes, AllocatingFormsAgree) {
    const Bytes plain = Plain(33);
    int length = 0;
    unsigned char* cipher = aes_enc(plain.data(), 33, nullptr, kFullKey, &length);
    ASSERT_EQ(length, 49);
    unsigned char* back = aes_dec(cipher, length, nullptr, kFullKey, &length);
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
    OnThreads(2, [&] {
        for (int n = 63; n >= 0; --n)
            EXPECT_EQ(Decrypt(ciphers[static_cast<size_t>(n)], kPaddedKey), Plain(n));
    });
}

TEST(FillRand, FillsWithoutDescriptorsToo) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{0, limit.rlim_max};
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

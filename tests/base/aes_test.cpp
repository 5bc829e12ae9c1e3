#include "aes.h"

#include <sys/resource.h>

#include <climits>
#include <cstring>

#include "BaseTest.h"

namespace {

constexpr int kFullKey = 16;
constexpr int kPaddedKey = 0;

std::string Plain(int n) {
    std::string data;
    for (int i = 0; i < n; ++i)
        data += static_cast<char>(i * 31);
    return data;
}

std::string Encrypt(const std::string& plain, int keyLength) {
    std::string out(plain.size() + 16, '\0');
    int length = 0;
    EXPECT_EQ(aes_enc_r(plain.data(), static_cast<int>(plain.size()), nullptr, keyLength,
                        out.data(), &length),
              0);
    EXPECT_EQ(length, std::ssize(out));
    return out;
}

std::string Decrypt(const std::string& cipher, int keyLength) {
    std::string out(4088, '\0');
    int length = 0;
    EXPECT_EQ(aes_dec_r(cipher.data(), static_cast<int>(cipher.size()), nullptr, keyLength,
                        out.data(), &length),
              0);
    return out.substr(0, static_cast<size_t>(length));
}

TEST(Aes, BlockOfThePublishedStandard) {
    unsigned char key[16], plain[16], block[16];
    for (unsigned char i = 0; i < 16; ++i) {
        key[i] = i;
        plain[i] = static_cast<unsigned char>(i * 0x11);
    }
    aes_ctx encrypt, decrypt;
    ASSERT_EQ(aes_enc_key(key, 16, &encrypt) + aes_dec_key(key, 16, &decrypt), 0);
    ASSERT_EQ(aes_enc_blk(plain, block, &encrypt), 0);
    constexpr char kCipher[] = "\x69\xc4\xe0\xd8\x6a\x7b\x04\x30\xd8\xcd\xb7\x80\x70\xb4\xc5\x5a";
    EXPECT_EQ(std::memcmp(block, kCipher, 16), 0);
    ASSERT_EQ(aes_dec_blk(block, block, &decrypt), 0);
    EXPECT_EQ(std::memcmp(block, plain, 16), 0);
    EXPECT_EQ(aes_enc_key(key, 15, &encrypt), -1);
}

// Sealed once and opened block by block with nothing but AES itself: less than a block, one, and a
// part behind some.
TEST(Aes, OpensWhatOthersSealed) {
    const struct {
        int keyLength, length;
        std::string cipher;  // in hex
    } rows[] = {
        {kFullKey, 5, "33b91bb0cafed3f3e5f36846acb17eb1debb237b40"},
        {kPaddedKey, 16, "7bbb23f47918c5dd140e11f54732e496fd04c6b1ad2d0465c5ddb5a6e16aef13"},
        {15, 40,
         "b9df6dff8515840fbd724f3010a10dd26635fc98e0605c90496f2cf5459bffcd2bf96fd2e096bebf3dd60a699"
         "ef63122b41b543fda9735d1"},
    };
    for (const auto& row : rows) {
        std::string cipher;
        for (size_t i = 0; i < row.cipher.size(); i += 2)
            cipher += static_cast<char>(std::stoi(row.cipher.substr(i, 2), nullptr, 16));
        EXPECT_EQ(Decrypt(cipher, row.keyLength), Plain(row.length)) << row.length;
    }
}

// Each thread chains on from its own last message; messages must not depend on that order.
TEST(Aes, EveryLengthHasAFreshBlockAndComesBackOnAnyThreadInAnyOrder) {
    std::set<std::string> blocks;
    for (const int keyLength : {kFullKey, kPaddedKey}) {
        std::set<std::pair<std::string, std::string>> messages;  // in no order of their sizes
        for (int n = 0; n <= 1124; ++n) {
            const std::string plain = Plain(n <= 1024 ? n : n + 2948);  // up to 4072
            const std::string cipher = Encrypt(plain, keyLength);
            messages.emplace(cipher, plain);
            EXPECT_TRUE(n < 16 || blocks.insert(cipher.substr(0, AES_BLOCK_BYTES)).second) << n;
        }
        OnThreads(2, [&] {
            for (const auto& [cipher, plain] : messages)
                ASSERT_EQ(Decrypt(cipher, keyLength), plain) << plain.size();
        });
    }
    EXPECT_NE(Decrypt(Encrypt(Plain(40), kFullKey), kPaddedKey), Plain(40));
}

// The length is an output alone: what it held before says nothing about the buffer.
TEST(Aes, RefusesShortInputAndOnlyWritesTheLength) {
    const struct {
        bool seals;
        int size, result, written;
    } rows[] = {{true, 40, 0, 56},  {true, 0, 0, 16},   {true, -1, -1, 0},
                {false, 56, 0, 40}, {false, 15, -1, 0}, {true, INT_MAX, -1, 0}};
    const std::string plain = Plain(40), cipher = Encrypt(plain, kPaddedKey);
    EXPECT_EQ(LogOf([&] {
                  for (const auto& row : rows) {
                      std::string out(100, 'x');
                      int length = 0;
                      const auto code = row.seals ? aes_enc_r : aes_dec_r;
                      EXPECT_EQ(code((row.seals ? plain : cipher).data(), row.size, nullptr, 0,
                                     out.data(), &length),
                                row.result)
                          << row.size;
                      EXPECT_EQ(length, row.written);
                      EXPECT_EQ(out.substr(static_cast<size_t>(row.written)),
                                std::string(100 - row.written, 'x'));
                  }
              }),
              "aes_dec_r inlen error[15]");
}

TEST(Aes, AllocatingFormsAgree) {
    const std::string plain = Plain(33);
    int length = 0;
    unsigned char* cipher = aes_enc(plain.data(), 33, nullptr, kFullKey, &length);
    ASSERT_EQ(length, 49);
    unsigned char* back = aes_dec(cipher, length, nullptr, kFullKey, &length);
    EXPECT_EQ(std::string(back, back + length), plain);
    std::free(cipher);
    std::free(back);
    EXPECT_EQ(aes_dec(plain.data(), 15, nullptr, kFullKey, &length), nullptr);
}

TEST(FillRand, FillsWithoutDescriptorsToo) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    std::string first(16, '\0'), second = first;
    fillrand(first.data(), 16);
    fillrand(second.data(), 16);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_NE(first, second);
}

}  // namespace

#include "BaseTest.h"

#include "Common/Digest.h"

namespace {

const std::pair<size_t, const char*> kVectors[] = {
#include "digest_vectors.inc"
};

TEST(Digest, MatchesIndependentReferenceInOnePieceAndInTwo) {
    std::string data(1000, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7 % 256);
    for (const auto& [length, hex] : kVectors) {
        char text[33];
        ASSERT_EQ(digest::md5_str(data.data(), length, text, sizeof(text)), 1);
        EXPECT_STREQ(text, hex) << length;

        unsigned char whole[16], pieces[16];
        ASSERT_EQ(digest::md5_hex(data.data(), length, whole, sizeof(whole)), 1);
        digest::MD5_CTX context;
        digest::MD5Init(&context);
        digest::MD5Update(data.data(), length / 3, &context);
        digest::MD5Update(data.data() + length / 3, length - length / 3, &context);
        digest::MD5Final(pieces, &context);
        EXPECT_TRUE(std::equal(whole, whole + 16, pieces)) << length;
    }
}

TEST(Digest, RefusesSmallBuffersUntouched) {
    char text[32] = {'x'};
    unsigned char raw[16] = {'x'};
    EXPECT_EQ(digest::md5_str("a", 1, text, 32), 0);
    EXPECT_EQ(digest::md5_hex("a", 1, raw, 15), 0);
    EXPECT_EQ(digest::md5_hex(nullptr, 1, raw, 16), 0);
    EXPECT_EQ(text[0], 'x');
    EXPECT_EQ(raw[0], 'x');
}

TEST(Encodings, XorTwiceRestores) {
    std::string text = "the quick brown fox";
    ASSERT_EQ(digest::EncodeXor(text.data(), text.size(), "key", 3), text.data());
    EXPECT_EQ(text[4], 'q' ^ 'e');
    digest::EncodeXor(text.data(), text.size(), "key", 3);
    EXPECT_EQ(text, "the quick brown fox");
    EXPECT_EQ(digest::EncodeXor(text.data(), text.size(), "key", 0), nullptr);
    EXPECT_EQ(digest::EncodeXor(text.data(), text.size(), nullptr, 3), nullptr);
    EXPECT_EQ(digest::EncodeXor(text.data(), 0, "key", 3), nullptr);
    EXPECT_EQ(digest::EncodeXor(nullptr, 3, "key", 3), nullptr);
}

// Eight septets store their carry behind the result, but never past the size given.
TEST(Encodings, SeptetsAreThoseOfGsmAndTellTheirSize) {
    const struct {
        std::string text;
        size_t size, length;
        std::string out;
    } rows[] = {{"hellohello", 10, 9, "\xE8\x32\x9B\xFD\x46\x97\xD9\xEC\x37"},
                {"12345678", 10, 7, std::string("\x31\xD9\x8C\x56\xB3\xDD\x70\0", 8)},
                {"12345678", 7, 7, "\x31\xD9\x8C\x56\xB3\xDD\x70"},
                {"12345678", 6, 7, ""},
                {std::string("A\xE1") + "A", 10, 3, "\xC1\xF0\x10"}};  // the sign bits spread
    for (const auto& row : rows) {
        std::string out(10, 'x');
        EXPECT_EQ(digest::Encode7Bit(row.text.data(), row.text.size(), out.data(), row.size),
                  row.length);
        EXPECT_EQ(out, row.out + std::string(10 - row.out.size(), 'x'));
    }
    char out[8] = "x";  // where they do not fit they tell their size
    EXPECT_EQ(digest::Encode7Bit(nullptr, 8, out, 8) + digest::Encode7Bit("a", 0, out, 8), 0u);
    EXPECT_EQ(digest::Decode7Bit(nullptr, 8, out, 8) + digest::Decode7Bit("a", 0, out, 8), 0u);
    EXPECT_EQ(digest::Encode7Bit("12345678", 8, nullptr, 8), 7u);
    EXPECT_EQ(digest::Decode7Bit("1234567", 7, nullptr, 8), 8u);
    EXPECT_EQ(digest::Decode7Bit("1234567", 7, out, 7), 8u);
    EXPECT_STREQ(out, "x");
}

TEST(Encodings, SeptetsComeBackAtEveryLength) {
    for (size_t n = 1; n <= 40; ++n) {
        std::string text;
        for (size_t i = 0; i < n; ++i)
            text += static_cast<char>((i * 37 + n) % 128);
        std::string packed(n + 1, '\0'), back(n + 8, '\0');
        const size_t length = digest::Encode7Bit(text.data(), n, packed.data(), packed.size());
        EXPECT_EQ(digest::Decode7Bit(packed.data(), length, back.data(), back.size()),
                  length + length / 7);
        EXPECT_EQ(back.substr(0, n), text) << n;
    }
}

using Items = std::vector<std::pair<int, int>>;  // the key, and the place before

struct Calls {
    static auto At(void* items, int i) { return static_cast<Items*>(items)->begin() + i; }
    static int Compare(int i, int j, void* all) { return At(all, i)->first - At(all, j)->first; }
    static void Exchange(int i, int j, void* all) { std::swap(*At(all, i), *At(all, j)); }
    static void Move(int from, int to, void* all) {
        std::rotate(At(all, to), At(all, from), At(all, from) + 1);
    }
};

TEST(Sorts, RandomCollectionsWithinTheirRangeOnly) {
    std::mt19937 random(7);
    const auto below = [&](size_t most) { return static_cast<int>(random() % most); };
    for (int round = 0; round < 400; ++round) {
        Items items(2 + random() % 40);
        const size_t range = 1 + random() % 30;
        for (size_t i = 0; i < items.size(); ++i)
            items[i] = {below(range), static_cast<int>(i)};
        const int first = below(items.size()),
                  last = first + below(items.size() - static_cast<size_t>(first));
        // Nothing happens without a callback.
        digest::qsort(first, last, &items, Calls::Compare, nullptr);
        digest::MergeSort(first, last, &items, Calls::Compare, Calls::Exchange, nullptr);
        Items expected = items, partitioned = items;
        std::sort(expected.begin() + first, expected.begin() + last + 1);  // equal keys by place
        digest::qsort(first, last, &partitioned, Calls::Compare, Calls::Exchange);
        digest::MergeSort(first, last, &items, Calls::Compare, Calls::Exchange, Calls::Move);
        ASSERT_EQ(items, expected) << "stable";
        for (size_t i = 0; i < items.size(); ++i)
            ASSERT_EQ(partitioned[i].first, expected[i].first);
    }
}

}  // namespace

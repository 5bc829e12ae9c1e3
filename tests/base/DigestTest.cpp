#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "Common/Digest.h"

namespace {

struct Vector {
    size_t length;
    const char* hex;
};

const Vector kVectors[] = {
#include "digest_vectors.inc"
};

std::string Pattern(size_t length) {
    std::string data(length, '\0');
    for (size_t i = 0; i < length; ++i)
        data[i] = static_cast<char>(i * 7 % 256);
    return data;
}

TEST(Digest, MatchesIndependentReferenceInOnePieceAndInTwo) {
    for (const Vector& vector : kVectors) {
        const std::string data = Pattern(vector.length);
        char text[33];
        ASSERT_EQ(digest::md5_str(data.data(), data.size(), text, sizeof(text)), 1);
        EXPECT_STREQ(text, vector.hex) << vector.length;

        unsigned char whole[16], pieces[16];
        ASSERT_EQ(digest::md5_hex(data.data(), data.size(), whole, sizeof(whole)), 1);
        digest::MD5_CTX context;
        digest::MD5Init(&context);
        digest::MD5Update(data.data(), data.size() / 3, &context);
        digest::MD5Update(data.data() + data.size() / 3, data.size() - data.size() / 3, &context);
        digest::MD5Final(pieces, &context);
        EXPECT_TRUE(std::equal(whole, whole + 16, pieces)) << vector.length;
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
}

TEST(Encodings, SeptetsAreThoseOfGsm) {
    char out[10] = {};
    ASSERT_EQ(digest::Encode7Bit("hellohello", 10, out, sizeof(out)), 9u);
    EXPECT_EQ(std::string(out, 9), "\xE8\x32\x9B\xFD\x46\x97\xD9\xEC\x37");
}

TEST(Encodings, EightSeptetsStoreTheirCarryBehindTheResult) {
    char out[9];
    std::fill_n(out, 9, 'x');
    EXPECT_EQ(digest::Encode7Bit("12345678", 8, out, sizeof(out)), 7u);
    EXPECT_EQ(out[7], 0);
    EXPECT_EQ(out[8], 'x');
    std::fill_n(out, 9, 'x');
    EXPECT_EQ(digest::Encode7Bit("12345678", 8, out, 7), 7u);
    EXPECT_EQ(out[7], 'x') << "never past the size given";
    std::fill_n(out, 9, 'x');
    EXPECT_EQ(digest::Encode7Bit("12345678", 8, out, 6), 7u);
    EXPECT_EQ(out[0], 'x');
}

TEST(Encodings, SeptetsComeBackAtEveryLength) {
    for (size_t n = 1; n <= 40; ++n) {
        std::string text;
        for (size_t i = 0; i < n; ++i)
            text += static_cast<char>((i * 37 + n) % 128);
        std::string packed(n + 1, '\0'), back(n + 8, '\0');
        const size_t length = digest::Encode7Bit(text.data(), n, packed.data(), packed.size());
        const size_t unpacked = digest::Decode7Bit(packed.data(), length, back.data(), back.size());
        EXPECT_EQ(unpacked, length + length / 7);
        EXPECT_EQ(back.substr(0, n), text) << n;
    }
}

struct Item {
    int key;
    int order;
};
using Items = std::vector<Item>;

Items& Of(void* context) {
    return *static_cast<Items*>(context);
}

int Compare(int i, int j, void* context) {
    return Of(context).at(static_cast<size_t>(i)).key - Of(context).at(static_cast<size_t>(j)).key;
}

void Exchange(int i, int j, void* context) {
    std::swap(Of(context).at(static_cast<size_t>(i)), Of(context).at(static_cast<size_t>(j)));
}

void Move(int from, int to, void* context) {
    const auto begin = Of(context).begin();
    std::rotate(begin + to, begin + from, begin + from + 1);
}

TEST(Sorts, RandomCollectionsWithinTheirRangeOnly) {
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        Items items(2 + random() % 40);
        const int range = 1 + static_cast<int>(random() % 30);
        for (size_t i = 0; i < items.size(); ++i)
            items[i] = {static_cast<int>(random()) % range, static_cast<int>(i)};
        const int first = static_cast<int>(random() % items.size());
        const int last =
            first + static_cast<int>(random() % (items.size() - static_cast<size_t>(first)));
        Items expected = items;
        std::stable_sort(expected.begin() + first, expected.begin() + last + 1,
                         [](const Item& a, const Item& b) { return a.key < b.key; });
        Items partitioned = items;
        digest::qsort(first, last, &partitioned, Compare, Exchange);
        digest::MergeSort(first, last, &items, Compare, Exchange, Move);
        for (size_t i = 0; i < items.size(); ++i) {
            ASSERT_EQ(partitioned[i].key, expected[i].key);
            ASSERT_EQ(items[i].key, expected[i].key);
            ASSERT_EQ(items[i].order, expected[i].order) << "stable";
        }
    }
}

TEST(Sorts, NothingHappensForOneIndexOrAMissingCallback) {
    Items items = {{2, 0}, {1, 1}};
    digest::qsort(0, 0, &items, Compare, Exchange);
    digest::qsort(1, 0, &items, Compare, Exchange);
    digest::qsort(0, 1, &items, Compare, nullptr);
    digest::MergeSort(0, 1, &items, Compare, Exchange, nullptr);
    EXPECT_EQ(items[0].key, 2);
}

}  // namespace

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <random>
#include <stdexcept>

#include "EchoLoad.h"
#include "Histogram.h"
#include "Operations.h"
#include "WebSocketClient.h"

namespace {

TEST(Histogram, PercentilesAreAtMostOneBucketAboveTheTruth) {
    std::mt19937_64 random(1);
    std::vector<uint64_t> values = {0, 1, 63, 64, 127, 128, 129, 1ull << 40, ~0ull};
    for (int i = 0; i < 20000; ++i)
        values.push_back(random() >> (random() % 64));
    Histogram first, second;
    for (size_t i = 0; i < values.size(); ++i)
        (i % 2 == 0 ? first : second).Add(values[i]);
    first.Merge(second);
    std::sort(values.begin(), values.end());
    for (const double share : {0.0, 0.001, 0.1, 0.5, 0.9, 0.99, 0.999, 1.0}) {
        const auto rank = static_cast<size_t>(
            std::max(1.0, std::ceil(share * static_cast<double>(values.size()))));
        const uint64_t truth = values[rank - 1];
        EXPECT_GE(first.Percentile(share), truth) << share;
        EXPECT_LE(first.Percentile(share) - truth, truth / 64) << share;
    }
    EXPECT_EQ(first.Max(), ~0ull);
    EXPECT_EQ(Histogram().Percentile(0.5), 0u);
}

TEST(StampRing, KeepsOrderWhileItGrows) {
    StampRing ring;
    std::deque<Nanos> expected;
    std::mt19937 random(2);
    for (Nanos i = 0; i < 5000; ++i) {
        ring.Push(i);
        expected.push_back(i);
        while (random() % 2 == 0 && !expected.empty()) {
            ASSERT_EQ(ring.Pop(), expected.front());
            expected.pop_front();
        }
        ASSERT_EQ(ring.Empty(), expected.empty());
    }
}

// A server's frame is a client's without mask.
std::string ServerFrame(const std::string& payload, char first = '\x82') {
    std::string frame(1, first);
    if (payload.size() < 126) {
        frame += static_cast<char>(payload.size());
    } else {
        frame +=
            {'\x7E', static_cast<char>(payload.size() >> 8), static_cast<char>(payload.size())};
    }
    return frame + payload;
}

TEST(WebSocket, FramesCutAnywhereAreOpenedOnce) {
    std::string stream, expected;
    for (const size_t size : {0, 1, 125, 126, 300}) {
        const std::string payload(size, static_cast<char>('a' + size % 26));
        stream += ServerFrame(payload);
        expected += payload;
    }
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        std::string payload;
        bool closed = false;
        const size_t used = websocket::OpenFrames(stream.substr(0, cut), payload, closed);
        ASSERT_EQ(used + websocket::OpenFrames(stream.substr(used), payload, closed),
                  stream.size());
        ASSERT_EQ(payload, expected);
        ASSERT_FALSE(closed);
    }
    std::string payload;
    bool closed = false;
    websocket::OpenFrames(ServerFrame("x") + ServerFrame("", '\x88') + "junk", payload, closed);
    EXPECT_TRUE(closed);
    EXPECT_EQ(payload, "x");
}

TEST(WebSocket, SentFramesAreMaskedWithTheLengthFormTheirSizeNeeds) {
    for (const auto& [size, head] : {std::pair{125u, 2u}, {126u, 4u}, {4096u, 4u}}) {
        const std::string payload(size, 'p');
        std::string frame;
        websocket::AppendFrame(frame, payload);
        ASSERT_EQ(frame.size(), head + 4 + size);
        EXPECT_EQ(frame[1] & 0x80, 0x80);
        std::string opened;
        for (size_t i = 0; i < size; ++i)
            opened += static_cast<char>(frame[head + 4 + i] ^ frame[head + i % 4]);
        EXPECT_EQ(opened, payload);
    }
}

TEST(Mix, NamesAndWeights) {
    const auto usual = ParseMix("");
    EXPECT_THAT(usual, testing::Each(testing::Gt(0u)));
    const auto chosen = ParseMix("take=5,keep-alive");
    for (size_t i = 0; i < chosen.size(); ++i) {
        const std::string name = Operations()[i].name;
        EXPECT_EQ(chosen[i], name == "take" ? 5u : name == "keep-alive" ? 1u : 0u);
    }
    for (const char* bad : {"fly=1", "take=", "take=x", "take=1x", "take=0", ","})
        EXPECT_THROW(ParseMix(bad), std::invalid_argument) << bad;
}

}  // namespace

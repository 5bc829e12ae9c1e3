// Cutting a byte stream into messages, without sockets.
#include "StreamReassembly.h"

#include <algorithm>
#include <span>

#include "NetFixture.h"

namespace {

std::string Header(size_t identity, size_t length, size_t version = 3) {
    return Bytes({identity, 0, length >> 8, length, version, 0, 0, 1});
}

std::string Whole(size_t length) {
    std::string message = Header(5, length);
    while (message.size() < length)
        message += static_cast<char>(message.size());
    return message;
}

// One connection: feeds reads of exact size, so that sanitizers see a step beyond.
struct Stream final : StreamSink {
    char held[BUFFER_SIZE];
    long heldLength = 0;
    std::vector<std::string> messages;
    size_t stopAfter = ~size_t{0};
    int badIdentity = 0, badLength = 0, tooMany = 0;

    void Feed(const std::string& bytes) {
        // A connection that was closed reads no more.
        if (messages.size() >= stopAfter || badIdentity + badLength > 0) return;
        std::vector<char> block(bytes.begin(), bytes.end());
        FeedStream(held, heldLength, block.data(), static_cast<long>(block.size()), *this);
    }
    bool OnMessage(char* message, long length) override {
        messages.emplace_back(message, static_cast<size_t>(length));
        return messages.size() < stopAfter;
    }
    void OnBadIdentity(const tagMsgHeader&) override { ++badIdentity; }
    void OnBadLength(long) override { ++badLength; }
    void OnIncomplete(long, long) override {}
    void OnTooMany() override { ++tooMany; }
};

}  // namespace

// And when one of them closes the connection, none behind it.
TEST(Reassembly, EverySplitGivesTheSameMessages) {
    const std::vector<std::string> sent = {Whole(8), Whole(9), Whole(21), Whole(8), Whole(13)};
    std::string bytes;
    for (const std::string& message : sent)
        bytes += message;
    for (size_t first = 0; first <= bytes.size(); ++first) {
        for (size_t second = first; second <= bytes.size(); ++second) {
            for (const size_t count : {2u, 5u}) {
                Stream stream;
                stream.stopAfter = count;
                stream.Feed(bytes.substr(0, first));
                stream.Feed(bytes.substr(first, second - first));
                stream.Feed(bytes.substr(second));
                ASSERT_TRUE(std::ranges::equal(stream.messages, std::span(sent).first(count)))
                    << first << ' ' << second;
                ASSERT_EQ(stream.heldLength, 0);
            }
        }
    }
}

TEST(Reassembly, HeaderFaultsEndTheStream) {
    const struct {
        std::string header;
        size_t messages;
        int identity, length;
    } cases[] = {{Header(4, 8), 1, 1, 0},     {Header(5, 7), 1, 0, 1},
                 {Header(5, 0), 1, 0, 1},     {Header(5, 4097), 1, 0, 1},
                 {Header(5, 65535), 1, 0, 1}, {Header(5, 8, 99), 3, 0, 0},
                 {Whole(4096), 3, 0, 0}};
    for (const auto& c : cases) {
        const std::string bytes = Whole(8) + c.header + Whole(8);
        for (size_t cut = 0; cut <= 17; ++cut) {
            Stream stream;
            stream.Feed(bytes.substr(0, cut));
            stream.Feed(bytes.substr(cut));
            EXPECT_EQ(stream.messages.size(), c.messages) << cut;
            EXPECT_EQ(stream.badIdentity, c.identity) << cut;
            EXPECT_EQ(stream.badLength, c.length) << cut;
        }
    }
}

TEST(Reassembly, TheGuardNeedsMoreThanOneReadBrings) {
    for (const size_t count : {512u, 5001u}) {
        Stream stream;
        std::string read;
        while (read.size() < count * 8)
            read += Whole(8);
        stream.Feed(read);
        EXPECT_EQ(stream.tooMany, count > 5000 ? 1 : 0);
    }
}

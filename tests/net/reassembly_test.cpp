// The guard of the stream's cutting; what else it does is in the replay of the fuzz target's seeds.
#include "StreamReassembly.h"

#include "NetFixture.h"

namespace {

struct GuardSink final : StreamSink {
    bool OnMessage(char*, long) override { return true; }
    void OnBadIdentity(const tagMsgHeader&) override { ADD_FAILURE(); }
    void OnBadLength(long) override { ADD_FAILURE(); }
    void OnIncomplete(long, long) override {}
    void OnTooMany() override { ++tooMany; }
    int tooMany = 0;
};

}  // namespace

TEST(Reassembly, TheGuardNeedsMoreThanOneReadBrings) {
    for (const size_t count : {512u, 5001u}) {
        GuardSink sink;
        char held[BUFFER_SIZE];
        long heldLength = 0;
        std::string read;
        while (read.size() < count * 8)
            read += Message(1);
        FeedStream(held, heldLength, read.data(), std::ssize(read), sink);
        EXPECT_EQ(sink.tooMany, count > 5000 ? 1 : 0);
    }
}

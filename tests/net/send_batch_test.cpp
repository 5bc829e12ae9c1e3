#include "SendBatch.h"

#include "BaseTest.h"

namespace {

// A connection's queue; `shared` marks entries that are one buffer in several places.
struct Queue {
    Queue(const std::vector<size_t>& sizes, bool frames, bool shared) : framed(frames) {
        for (const size_t size : sizes) {
            const size_t i = entries.size();
            if (!shared || i == 0) buffers.push_back(std::make_unique<tagSendBuffer>());
            tagSendBuffer* entry = buffers.back().get();
            entry->ulLength = size;
            constexpr uint8_t kKinds[] = {WEBSOCKET_DATA_FRAME, WEBSOCKET_DATA_FRAME,
                                          FRAMED_ALREADY, 0x8A};
            entry->ucFrame = kKinds[i % 4];
            for (size_t k = 0; k < size; ++k)
                entry->szSendBuffer[k] = static_cast<char>('a' + (k + (shared ? 0 : 7 * i)) % 26);
            entries.push_back(entry);
            uint8_t head[WEBSOCKET_MAX_HEAD];
            const bool bare = !frames || entry->ucFrame == FRAMED_ALREADY;
            const size_t headSize = bare ? 0 : BuildWebSocketHead(size, head);
            head[0] = entry->ucFrame;
            wire.append(reinterpret_cast<char*>(head), headSize).append(entry->szSendBuffer, size);
            ends.push_back(wire.size());
        }
    }
    // One call, of which the kernel takes `room` bytes.
    std::string Write(size_t room) {
        batch->Start(framed, frame, position);
        for (size_t i = next; i < entries.size() && batch->Add(entries[i]); ++i) {
        }
        std::string bytes;
        for (int i = 0; i < batch->PartCount(); ++i) {
            const iovec& part = batch->Parts()[i];
            bytes.append(static_cast<char*>(part.iov_base), part.iov_len);
        }
        bytes.resize(std::min(bytes.size(), room));
        next += static_cast<size_t>(batch->Settle(std::ssize(bytes), position));
        return bytes;
    }

    const bool framed;
    std::vector<std::unique_ptr<tagSendBuffer>> buffers;
    std::vector<tagSendBuffer*> entries;
    std::string wire;          // all that is to be written,
    std::vector<size_t> ends;  // and where the entries end in it
    size_t next = 0;
    long position = 0;
    OutgoingFrame frame{};
    std::unique_ptr<SendBatch> batch = std::make_unique<SendBatch>();
};

TEST(SendBatch, GoesOnBehindEveryPairOfCuts) {
    const struct {
        const char* name;
        std::vector<size_t> sizes;
        bool framed, shared;
    } rows[] = {{"plain", {8, 130, 0, 17, 513, 20, 30, 600, 5}, false, false},
                {"frames", {8, 125, 90, 126, 0, 600, 300, 30}, true, false},
                {"shared frames", {200, 200}, true, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string wire = Queue(row.sizes, row.framed, row.shared).wire;
        for (size_t first = 0; first <= wire.size(); ++first) {
            for (const size_t second : {0u, 1u, 3u, 130u, 1u << 20}) {
                Queue queue(row.sizes, row.framed, row.shared);
                size_t at = 0;
                for (const size_t room : {first, second, size_t{1} << 20}) {
                    const std::string bytes = queue.Write(room);
                    ASSERT_EQ(bytes, wire.substr(at, room)) << first << ' ' << second;
                    at += bytes.size();
                    ASSERT_EQ(queue.next, static_cast<size_t>(std::ranges::count_if(
                                              queue.ends, [&](size_t end) { return end <= at; })));
                }
            }
        }
    }
}

// What is written of a shared buffer shortens it for its other holders, here the entries behind.
TEST(SendBatch, APartWrittenShortensASharedBuffer) {
    for (size_t cut = 0; cut < 270; ++cut) {
        Queue queue({90, 90, 90}, false, true);
        const std::string text = queue.wire.substr(0, 90), rest = text.substr(0, 90 - cut % 90);
        std::string expected;
        for (size_t i = 0; i < 3; ++i)
            expected += i <= cut / 90 ? text : rest;
        const std::string begin = queue.Write(cut);
        EXPECT_EQ(begin + queue.Write(1 << 20), expected) << cut;
    }
}

// A frame that was tried announces its length: a buffer shortened meanwhile by another holder
// must not make it lie.
TEST(SendBatch, ATriedFrameKeepsItsLength) {
    Queue queue({100}, true, true);
    EXPECT_EQ(queue.Write(0), "");
    queue.entries[0]->ulLength = 40;
    EXPECT_EQ(queue.Write(1 << 20), queue.wire);
}

TEST(SendBatch, HoldsABoundedNumberOfMessages) {
    Queue queue(std::vector<size_t>(200, 8), true, false);
    queue.Write(1 << 20);
    EXPECT_EQ(queue.next, static_cast<size_t>(SendBatch::kMaxEntries));
    EXPECT_LE(queue.batch->PartCount(), 2 * SendBatch::kMaxEntries);
}

}  // namespace

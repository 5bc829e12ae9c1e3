#include "SendBatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

// A connection's queue; `shared` marks entries that are one buffer in several places.
struct Queue {
    explicit Queue(const std::vector<size_t>& sizes, bool shared) {
        for (size_t i = 0; i < sizes.size(); ++i) {
            if (!shared || i == 0) buffers.push_back(std::make_unique<tagSendBuffer>());
            tagSendBuffer* entry = buffers.back().get();
            entry->ulLength = sizes[i];
            entry->ucFrame = i % 5 == 4 ? 0x8A : WEBSOCKET_DATA_FRAME;
            for (size_t k = 0; k < sizes[i]; ++k)
                entry->szSendBuffer[k] = static_cast<char>('a' + (k + (shared ? 0 : 7 * i)) % 26);
            entries.push_back(entry);
        }
    }
    std::vector<std::unique_ptr<tagSendBuffer>> buffers;
    std::vector<tagSendBuffer*> entries;
    size_t next = 0;
    long position = 0;
};

// One message per call, as the rule has it; the kernel takes `room` bytes over all calls.
struct OneByOne : Queue {
    using Queue::Queue;

    std::string Write(bool framed, long room) {
        std::string wire;
        for (; next < entries.size(); ++next) {
            tagSendBuffer* entry = entries[next];
            std::string left(entry->szSendBuffer + position, entry->ulLength);
            if (framed) {
                if (frame.empty()) {
                    uint8_t head[WEBSOCKET_MAX_HEAD];
                    const size_t size = BuildWebSocketHead(left.size(), head);
                    head[0] = entry->ucFrame;
                    frame = std::string(reinterpret_cast<char*>(head), size) + left;
                }
                left = frame;
            }
            const std::string taken = left.substr(0, static_cast<size_t>(room));
            wire += taken;
            room -= static_cast<long>(taken.size());
            if (taken.size() < left.size()) {
                frame.erase(0, std::min(taken.size(), frame.size()));
                if (!framed) {
                    entry->ulLength -= taken.size();
                    position += static_cast<long>(taken.size());
                }
                break;
            }
            frame.clear();
            position = 0;
        }
        return wire;
    }
    std::string frame;
};

struct Batched : Queue {
    using Queue::Queue;

    std::string Write(bool framed, long room) {
        batch->Start(framed, frame, position);
        for (size_t i = next; i < entries.size() && batch->Add(entries[i]); ++i) {
        }
        std::string wire;
        for (int i = 0; i < batch->PartCount(); ++i) {
            const iovec& part = batch->Parts()[i];
            wire.append(static_cast<char*>(part.iov_base), part.iov_len);
        }
        wire.resize(std::min(wire.size(), static_cast<size_t>(room)));
        const int done = batch->Settle(static_cast<long>(wire.size()), position);
        next += static_cast<size_t>(done);
        return wire;
    }
    OutgoingFrame frame{};
    std::unique_ptr<SendBatch> batch = std::make_unique<SendBatch>();
};

TEST(SendBatch, EveryPairOfCutsWritesWhatOneByOneWould) {
    const struct {
        const char* name;
        std::vector<size_t> sizes;
        bool shared, framed;
    } rows[] = {{"plain", {8, 130, 0, 17, 513, 20, 30, 600, 5}, false, false},
                {"shared twice", {90, 90, 90}, true, false},
                {"frames", {8, 125, 0, 126, 600, 30}, false, true},
                {"shared frames", {200, 200}, true, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const size_t total = OneByOne(row.sizes, row.shared).Write(row.framed, 1 << 20).size();
        for (long first = 0; first <= static_cast<long>(total); ++first) {
            for (const long second : {0L, 1L, 3L, 130L, 1L << 20}) {
                OneByOne expected(row.sizes, row.shared);
                Batched actual(row.sizes, row.shared);
                for (const long room : {first, second, 1L << 20, 1L << 20}) {
                    ASSERT_EQ(expected.Write(row.framed, room), actual.Write(row.framed, room))
                        << first << ' ' << second;
                    ASSERT_EQ(expected.next, actual.next) << first << ' ' << second;
                    for (size_t i = 0; i < row.sizes.size(); ++i)
                        ASSERT_EQ(expected.entries[i]->ulLength, actual.entries[i]->ulLength);
                }
                ASSERT_EQ(actual.next, row.sizes.size());
            }
        }
    }
}

// A frame that was tried announces its length: a buffer shortened meanwhile by another holder
// must not make it lie.
TEST(SendBatch, ATriedFrameKeepsItsLength) {
    Batched queue({100}, true);
    EXPECT_EQ(queue.Write(true, 0), "");
    queue.entries[0]->ulLength = 40;
    const std::string wire = queue.Write(true, 1 << 20);
    EXPECT_EQ(wire.size(), 102u);
    EXPECT_EQ(wire[1], 100);
}

TEST(SendBatch, HoldsABoundedNumberOfMessages) {
    Batched queue(std::vector<size_t>(200, 8), false);
    queue.Write(true, 1 << 20);
    EXPECT_EQ(queue.next, static_cast<size_t>(SendBatch::kMaxEntries));
    EXPECT_LE(queue.batch->PartCount(), 2 * SendBatch::kMaxEntries);
}

}  // namespace

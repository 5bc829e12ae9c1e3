#include <gmock/gmock.h>

#include <memory>
#include <thread>
#include <vector>

#include "NodeManager/NodeRecords.h"

namespace {

using testing::ElementsAre;

struct Item {
    int value;
    Item* __p_next;
};

template <class Deleted>
struct Releaser {
    void operator()(Deleted* object) const { object->Release(); }
};
using Queue = std::unique_ptr<NodeManager<Item>, Releaser<NodeManager<Item>>>;
using Factory = std::unique_ptr<NodeFactory<Item>, Releaser<NodeFactory<Item>>>;

Queue MakeQueue(long kind, unsigned long capacity) {
    return Queue(NodeManager<Item>::CreateInstance(kind, capacity));
}

class Items {
  public:
    explicit Items(int count) : m_items(static_cast<size_t>(count)) {
        for (int i = 0; i < count; ++i)
            m_items[static_cast<size_t>(i)].value = i;
    }
    unsigned long Put(NodeManager<Item>& queue, int first, int count) {
        std::vector<Item*> nodes;
        for (int i = 0; i < count; ++i)
            nodes.push_back(&m_items[static_cast<size_t>(first + i)]);
        return queue.SetNode(nodes.data(), count);
    }

  private:
    std::vector<Item> m_items;
};

std::vector<int> Take(NodeManager<Item>& queue, long count) {
    std::vector<Item*> out(static_cast<size_t>(count));
    out.resize(queue.GetNode(out.data(), count));
    std::vector<int> values;
    for (Item* item : out)
        values.push_back(item->value);
    return values;
}

TEST(NodeAllocate, FullRingKeepsTheNewestOldestFirst) {
    Items items(12);
    const Queue ring = MakeQueue(NODE_RING, 3);
    EXPECT_EQ(3u, items.Put(*ring, 0, 5));
    EXPECT_EQ(3u, ring->GetNode(nullptr, 0));
    EXPECT_THAT(Take(*ring, 2), ElementsAre(2, 3));
    // Across the wrap, with one entry left from before.
    EXPECT_EQ(2u, items.Put(*ring, 5, 2));
    EXPECT_EQ(1u, items.Put(*ring, 7, 1));
    EXPECT_THAT(Take(*ring, 9), ElementsAre(5, 6, 7));
    EXPECT_EQ(3u, items.Put(*ring, 0, 12));
    EXPECT_THAT(Take(*ring, 9), ElementsAre(9, 10, 11));
    EXPECT_EQ(0u, ring->GetNode(nullptr, 0));
}

TEST(NodeQueues, RefuseAndReport) {
    struct Row {
        long kind;
        unsigned long capacity, put, taken0;  // expected of SetNode(3) and GetNode(out, 0)
    };
    for (const Row& row : {Row{NODE_RING, 4, 3, 0}, Row{NODE_RING, 0, 0, 0},
                           Row{NODE_LINK, 0, 3, 3}, Row{NODE_ROUND, 4, 3, 0}}) {
        SCOPED_TRACE(row.kind);
        Items items(3);
        const Queue queue = MakeQueue(row.kind, row.capacity);
        Item* out[3] = {};
        EXPECT_EQ(0u, queue->SetNode(nullptr, 3));
        EXPECT_EQ(0u, items.Put(*queue, 0, 0));
        EXPECT_EQ(0u, queue->GetNode(out, 3));
        EXPECT_EQ(row.put, items.Put(*queue, 0, 3));
        EXPECT_EQ(row.taken0, queue->GetNode(out, 0));
        EXPECT_EQ(nullptr, out[0]);
        EXPECT_EQ(row.put, queue->GetNode(nullptr, 9));
        EXPECT_EQ(row.put, queue->GetNode(out, 3));
    }
    EXPECT_EQ(nullptr, NodeManager<Item>::CreateInstance(3, 8));
    EXPECT_EQ(nullptr, NodeManager<Item>::CreateInstance(-1, 8));
}

TEST(NodeDBLink, KeepsOrderAcrossSwaps) {
    Items items(8);
    const Queue queue = MakeQueue(NODE_LINK, 0);
    items.Put(*queue, 0, 3);
    EXPECT_THAT(Take(*queue, 1), ElementsAre(0));
    items.Put(*queue, 3, 3);
    EXPECT_EQ(5u, queue->GetNode(nullptr, 0));
    // One call never reaches past the drained list.
    EXPECT_THAT(Take(*queue, 9), ElementsAre(1, 2));
    EXPECT_THAT(Take(*queue, 9), ElementsAre(3, 4, 5));
    items.Put(*queue, 6, 2);
    EXPECT_THAT(Take(*queue, 9), ElementsAre(6, 7));
    EXPECT_EQ(0u, queue->GetNode(nullptr, 0));
}

TEST(NodeDBRound, DrainsOneRingWhileTheOtherFills) {
    Items items(9);
    const Queue queue = MakeQueue(NODE_ROUND, 3);
    items.Put(*queue, 0, 2);
    EXPECT_THAT(Take(*queue, 1), ElementsAre(0));
    items.Put(*queue, 2, 5);
    EXPECT_EQ(1u, queue->GetNode(nullptr, 0));
    EXPECT_THAT(Take(*queue, 9), ElementsAre(1));
    EXPECT_THAT(Take(*queue, 9), ElementsAre(4, 5, 6));
    EXPECT_THAT(Take(*queue, 9), ElementsAre());
}

TEST(NodeRecycle, HandsOutFreedNodesUntouchedButForTheLink) {
    const Factory factory(NodeFactory<Item>::CreateInstance());
    factory->FreeNode(nullptr);
    Item* first = factory->CreateNode();
    Item* second = factory->CreateNode();
    ASSERT_NE(first, second);
    EXPECT_EQ(nullptr, first->__p_next);
    first->value = 1;
    second->value = 2;
    factory->FreeNode(first);
    factory->FreeNode(second);
    Item* again[2];
    for (int i = 0; i < 2; ++i) {
        again[i] = factory->CreateNode();
        EXPECT_EQ(2 - i, again[i]->value);
        EXPECT_EQ(nullptr, again[i]->__p_next);
    }
    factory->FreeNode(again[0]);
    factory->FreeNode(again[1]);
}

TEST(SendBuffer, ReturnsWithTheLastReference) {
    tagSendBuffer* buffer = g_SendFactory.CreateNode();
    buffer->ulReferenceCount = 4;
    std::vector<std::thread> holders;
    for (int i = 0; i < 3; ++i)
        holders.emplace_back([buffer] { DropReference(buffer); });
    for (std::thread& holder : holders)
        holder.join();
    tagSendBuffer* other = g_SendFactory.CreateNode();
    EXPECT_NE(buffer, other);
    DropReference(buffer);
    EXPECT_EQ(buffer, g_SendFactory.CreateNode());
    g_SendFactory.FreeNode(buffer);
    g_SendFactory.FreeNode(other);
}

// Records wander factory -> queue -> factory between two producers and one consumer.
TEST(NodePools, KeepEachProducersOrderBetweenThreads) {
    constexpr int kPerProducer = 20000;
    const Factory factory(NodeFactory<Item>::CreateInstance());
    const Queue queue = MakeQueue(NODE_LINK, 0);
    auto produce = [&](int first) {
        for (int i = 0; i < kPerProducer; ++i) {
            Item* item = factory->CreateNode();
            item->value = first + i;
            queue->SetNode(&item, 1);
        }
    };
    std::thread even(produce, 0), odd(produce, kPerProducer);
    int next[2] = {0, kPerProducer};
    bool ordered = true;
    for (int seen = 0; seen < 2 * kPerProducer;) {
        Item* out[7];
        const unsigned long taken = queue->GetNode(out, 7);
        for (unsigned long i = 0; i < taken; ++i, ++seen) {
            ordered = ordered && out[i]->value == next[out[i]->value / kPerProducer]++;
            factory->FreeNode(out[i]);
        }
        if (taken == 0) std::this_thread::yield();
    }
    even.join();
    odd.join();
    EXPECT_TRUE(ordered);
    EXPECT_EQ(0u, queue->GetNode(nullptr, 0));
}

}  // namespace

#include "BaseTest.h"

#include "NodeManager/NodeRecords.h"

namespace {

struct Item {
    int value;
    Item* __p_next;
};

auto MakeQueue(long kind, unsigned long capacity) {
    return std::unique_ptr<NodeManager<Item>>(NodeManager<Item>::CreateInstance(kind, capacity));
}

// Puts the next numbers in, from 0 on, and takes some out.
struct Step {
    long put;
    unsigned long accepted;
    long take;
    std::vector<long> taken;
    unsigned long left;
};

TEST(NodeQueues, HandOutInOrderWhatTheyKeep) {
    const struct {
        const char* name;
        long kind;
        unsigned long capacity;
        std::vector<Step> steps;
    } rows[] = {
        {"a full ring keeps the newest, oldest first",
         NODE_RING,
         3,
         {{5, 3, 2, {2, 3}, 1},  // then across the wrap, with one entry left from before
          {2, 2, 0, {}, 3},
          {1, 1, 9, {5, 6, 7}, 0},
          {12, 3, 9, {17, 18, 19}, 0}}},
        {"a link drains one list, and in one call never more, while the other fills",
         NODE_LINK,
         0,
         {{3, 3, 1, {0}, 2}, {3, 3, 9, {1, 2}, 3}, {0, 0, 9, {3, 4, 5}, 0}, {2, 2, 9, {6, 7}, 0}}},
        {"a round drains one ring while the other fills",
         NODE_ROUND,
         3,
         {{2, 2, 1, {0}, 1}, {5, 3, 9, {1}, 3}, {0, 0, 9, {4, 5, 6}, 0}, {0, 0, 9, {}, 0}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto queue = MakeQueue(row.kind, row.capacity);
        std::array<Item, 20> items;
        std::vector<Item*> nodes;
        for (Item& item : items)
            nodes.push_back(&item);
        long next = 0;
        for (const Step& step : row.steps) {
            EXPECT_EQ(queue->SetNode(nodes.data() + next, step.put), step.accepted);
            next += step.put;
            Item* out[9] = {};
            std::vector<long> taken;
            for (size_t left = queue->GetNode(out, step.take); taken.size() < left;)
                taken.push_back(out[taken.size()] - items.data());
            EXPECT_EQ(taken, step.taken);
            EXPECT_EQ(queue->GetNode(nullptr, 0), step.left);
        }
    }
}

TEST(NodeQueues, RefuseAndReport) {
    Item item, other, *in[] = {&item}, *more[] = {&other}, *out[1] = {};
    for (const long kind : {NODE_RING, NODE_LINK, NODE_ROUND}) {
        const auto queue = MakeQueue(kind, 4);
        EXPECT_EQ(0u, queue->SetNode(nullptr, 1));
        EXPECT_EQ(0u, queue->SetNode(in, 0));
        EXPECT_EQ(0u, queue->GetNode(out, 1));
        queue->SetNode(in, 1);
        // Only the link tells how many there are when none is wanted.
        EXPECT_EQ(kind == NODE_LINK ? 1u : 0u, queue->GetNode(out, 0));
        EXPECT_EQ(nullptr, out[0]);
        // A round has swapped its rings for nothing: what comes now is in the other one.
        queue->SetNode(more, 1);
        EXPECT_EQ(kind == NODE_ROUND ? 1u : 2u, queue->GetNode(nullptr, 9));
    }
    EXPECT_EQ(0u, MakeQueue(NODE_RING, 0)->SetNode(in, 1));
    EXPECT_FALSE(MakeQueue(3, 8) || MakeQueue(-1, 8));
}

TEST(NodeRecycle, HandsOutFreedNodesUntouchedButForTheLink) {
    const std::unique_ptr<NodeFactory<Item>> factory(NodeFactory<Item>::CreateInstance());
    factory->FreeNode(nullptr);
    Item* const nodes[] = {factory->CreateNode(), factory->CreateNode()};
    ASSERT_NE(nodes[0], nodes[1]);
    for (const int i : {0, 1}) {
        nodes[i]->value = i;
        factory->FreeNode(nodes[i]);
    }
    for (const int i : {1, 0}) {
        ASSERT_EQ(factory->CreateNode(), nodes[i]);
        EXPECT_EQ(nodes[i]->value, i);
        EXPECT_EQ(nodes[i]->__p_next, nullptr);
    }
    for (Item* node : nodes)
        factory->FreeNode(node);
}

}  // namespace

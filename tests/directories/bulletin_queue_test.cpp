#include "BulletinQueue.h"

#include "BaseTest.h"

namespace {

using Entry = std::pair<int, int>;  // type, id

// The rules over a plain vector, front first.
void PushModel(std::vector<Entry>& queue, Entry item) {
    if (queue.size() < 10) {
        queue.insert(queue.begin(), item);
        return;
    }
    const auto ordinary =
        std::find_if(queue.begin(), queue.end(), [](const Entry& each) { return each.first != 4; });
    const bool allPriority = ordinary == queue.end();
    if (allPriority && item.first != 4) return;
    queue.erase(allPriority ? queue.begin() : ordinary);
    queue.insert(item.first == 4 ? queue.begin() : queue.end(), item);
}

std::vector<Entry> Drain(BulletinQueue queue) {
    std::vector<Entry> entries;
    for (WinCoinBulletinNotice_2 item; queue.Take(item);)
        entries.emplace_back(item.usBulletType, item.iUserId);
    return entries;
}

}  // namespace

TEST(BulletinQueue, FollowsTheModelOverRandomSequences) {
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        BulletinQueue queue;
        std::vector<Entry> model;
        const unsigned priorityShare = random() % 100;
        for (int step = 0; step < 80; ++step) {
            if (random() % 8 == 0) {
                WinCoinBulletinNotice_2 item;
                ASSERT_EQ(queue.Take(item), !model.empty());
                if (!model.empty()) model.erase(model.begin());
            } else {
                const Entry entry{random() % 100 < priorityShare ? 4 : int(random() % 4), step};
                WinCoinBulletinNotice_2 item{};
                item.usBulletType = static_cast<uint16_t>(entry.first);
                item.iUserId = entry.second;
                queue.Push(item);
                PushModel(model, entry);
            }
            ASSERT_EQ(Drain(queue), model) << "round " << round << " step " << step;
        }
    }
}

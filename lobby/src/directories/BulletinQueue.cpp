#include "BulletinQueue.h"

#include "Common/WorkerThread.h"

#include <algorithm>

void BulletinQueue::Push(const WinCoinBulletinNotice_2& item) {
    AssertWorker();
    if (m_items.size() < kCapacity) {
        m_items.push_front(item);
        return;
    }
    const auto ordinary = std::find_if(m_items.begin(), m_items.end(), [](const auto& queued) {
        return queued.usBulletType != kPriorityType;
    });
    // An ordinary bulletin never displaces one of priority, and waits behind all that are queued.
    if (item.usBulletType == kPriorityType) {
        m_items.erase(ordinary != m_items.end() ? ordinary : m_items.begin());
        m_items.push_front(item);
    } else if (ordinary != m_items.end()) {
        m_items.erase(ordinary);
        m_items.push_back(item);
    }
}

bool BulletinQueue::Take(WinCoinBulletinNotice_2& item) {
    AssertWorker();
    if (m_items.empty()) return false;
    item = m_items.front();
    m_items.pop_front();
    return true;
}

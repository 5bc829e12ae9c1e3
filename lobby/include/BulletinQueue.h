// The short queue from which bulletins are broadcast.
#pragma once

#include <cstddef>
#include <list>

#include "web_server_msg.h"

// Holds at most 10 bulletins and prefers those of type 4 when full, so that a burst of wins
// neither floods clients nor drowns what matters. Pure: no clock, no sockets.
// Thread: message worker.
class BulletinQueue {
  public:
    static constexpr size_t kCapacity = 10;
    static constexpr uint16_t kPriorityType = 4;

    // With room: to the front, the newest goes out first. When full, the first ordinary bulletin
    // from the front makes way: a priority bulletin then goes to the front (in place of the front
    // one when all have priority), an ordinary one to the back (or is dropped when all have).
    void Push(const WinCoinBulletinNotice_2& item);
    // The bulletin at the front, removed; false when the queue is empty.
    bool Take(WinCoinBulletinNotice_2& item);
    // The bulletins as the list they are, in the order in which they go out.
    size_t Size() const { return m_items.size(); }
    size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    const WinCoinBulletinNotice_2& front() const { return m_items.front(); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

  private:
    std::list<WinCoinBulletinNotice_2> m_items;
};

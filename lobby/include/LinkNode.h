// The node of one back-end link.
#pragma once

#include <atomic>
#include <chrono>

class IPlayerNode;

// Holds the node of an outbound link; null while the link is down. Does not own the node.
// Thread: the reconnect keeper (or main at start-up) brings a link up, the message worker takes
// it down; any thread may read.
class LinkNode {
  public:
    operator IPlayerNode*() const { return m_lpNode.load(std::memory_order_acquire); }
    LinkNode& operator=(IPlayerNode* node) {
        if (node != nullptr) m_upSince.store(Clock::now(), std::memory_order_relaxed);
        m_lpNode.store(node, std::memory_order_release);
        return *this;
    }
    // It came up less than a second ago.
    bool WasUpJustNow() const {
        return Clock::now() - m_upSince.load(std::memory_order_relaxed) < std::chrono::seconds(1);
    }

  private:
    using Clock = std::chrono::steady_clock;

    std::atomic<IPlayerNode*> m_lpNode{nullptr};
    std::atomic<Clock::time_point> m_upSince{};
};

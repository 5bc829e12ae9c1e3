// The node of one back-end link.
#pragma once

#include <atomic>

class IPlayerNode;

// Holds the node of an outbound link; null while the link is down. Does not own the node.
// Thread: the reconnect keeper (or main at start-up) brings a link up, the message worker takes
// it down; any thread may read.
class LinkNode {
  public:
    operator IPlayerNode*() const { return m_lpNode.load(std::memory_order_acquire); }
    LinkNode& operator=(IPlayerNode* node) {
        m_lpNode.store(node, std::memory_order_release);
        return *this;
    }

  private:
    std::atomic<IPlayerNode*> m_lpNode{nullptr};
};

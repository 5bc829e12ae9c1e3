// Queue kind 1: an unbounded list, the hand-off between the framework's threads.
#pragma once

#include <algorithm>
#include <utility>

#include "NodeManager/NodeTemplet.h"

// A FIFO linked through the records themselves. Producers append to one list; the consumer drains
// another and, when that runs dry, takes the producers' list whole under one short lock.
// Thread: any.
template <class T>
class NodeDBLink : public NodeManager<T> {
  public:
    unsigned long SetNode(T** nodes, long count) override {
        if (nodes == nullptr || count < 1) return 0;
        NodeGuard write(m_lockWrite);
        for (long i = 0; i < count; ++i)
            Append(nodes[i]);
        m_lCount.fetch_add(static_cast<unsigned long>(count));
        return static_cast<unsigned long>(count);
    }

    // May return fewer than are queued: it stops where the drained list ends. A count below 1
    // reports the number queued, like a null `out`.
    unsigned long GetNode(T** out, long count) override {
        NodeGuard read(m_lockRead);
        const unsigned long queued = m_lCount.load();
        if (queued == 0 || out == nullptr || count < 1) return queued;
        if (m_read == nullptr) TakeFilledList();
        const unsigned long wanted = std::min(queued, static_cast<unsigned long>(count));
        unsigned long taken = 0;
        while (m_read != nullptr && taken < wanted) {
            T* node = std::exchange(m_read, m_read->__p_next);
            node->__p_next = nullptr;
            out[taken++] = node;
        }
        m_lCount.fetch_sub(taken);
        return taken;
    }

  private:
    void Append(T* node) NEEDS_LOCK(m_lockWrite) {
        node->__p_next = nullptr;
        if (m_write == nullptr) {
            m_write = node;
        } else {
            m_linkTail->__p_next = node;
        }
        m_linkTail = node;
    }

    void TakeFilledList() NEEDS_LOCK(m_lockRead) {
        NodeGuard write(m_lockWrite);
        m_read = std::exchange(m_write, nullptr);
        m_linkTail = nullptr;
    }

    std::atomic<unsigned long> m_lCount{0};  // read by the consumer without m_lockWrite
    NodeLock m_lockWrite;
    NodeLock m_lockRead;
    T* m_write GUARDED_BY(m_lockWrite) = nullptr;
    T* m_read GUARDED_BY(m_lockRead) = nullptr;
    T* m_linkTail GUARDED_BY(m_lockWrite) = nullptr;
};

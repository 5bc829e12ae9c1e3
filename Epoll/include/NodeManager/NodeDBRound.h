// Queue kind 2: double-buffered rings.
#pragma once

#include "NodeManager/NodeAllocate.h"

// Writers fill one ring while the reader drains the other; a reader whose ring yields nothing, be
// it that nothing was asked for, swaps the two. A full ring drops its oldest entries as
// NodeAllocate does. Thread: any.
template <class T>
class NodeDBRound : public NodeManager<T> {
  public:
    explicit NodeDBRound(unsigned long capacity)
        : m_NodeBuffer1(capacity), m_NodeBuffer2(capacity) {}

    unsigned long SetNode(T** nodes, long count) override {
        NodeGuard write(m_lockWrite);
        return m_write->SetNode(nodes, count);
    }

    unsigned long GetNode(T** out, long count) override {
        NodeGuard read(m_lockRead);
        const unsigned long taken = m_read->GetNode(out, count);
        if (taken > 0) return taken;
        SwapRings();
        return m_read->GetNode(out, count);
    }

  private:
    void SwapRings() NEEDS_LOCK(m_lockRead) {
        NodeGuard write(m_lockWrite);
        m_write = m_read;
        m_read = m_write == &m_NodeBuffer1 ? &m_NodeBuffer2 : &m_NodeBuffer1;
    }

    NodeAllocate<T> m_NodeBuffer1;
    NodeAllocate<T> m_NodeBuffer2;
    NodeLock m_lockWrite;
    NodeLock m_lockRead;
    NodeAllocate<T>* m_write GUARDED_BY(m_lockWrite) = &m_NodeBuffer1;
    NodeAllocate<T>* m_read GUARDED_BY(m_lockRead) = &m_NodeBuffer2;
};

// Queue kind 0: a bounded ring.
#pragma once

#include <algorithm>
#include <memory>
#include <new>

#include "NodeManager/NodeTemplet.h"

// A ring of pointers; when it is full a put overwrites the oldest entry. With no slots (capacity
// 0 or no memory) it stays empty for ever. Thread: any.
template <class T>
class NodeAllocate : public NodeManager<T> {
  public:
    explicit NodeAllocate(unsigned long capacity)
        : m_pNode(capacity > 0 ? new (std::nothrow) T*[capacity]() : nullptr),
          m_lMaxCount(m_pNode ? capacity : 0) {}

    // Returns the smaller of count and the capacity.
    unsigned long SetNode(T** nodes, long count) override {
        NodeGuard guard(m_lock);
        if (!m_pNode || nodes == nullptr || count < 1) return 0;
        for (long i = 0; i < count; ++i)
            Put(nodes[i]);
        return std::min(static_cast<unsigned long>(count), m_lMaxCount);
    }

    unsigned long GetNode(T** out, long count) override {
        NodeGuard guard(m_lock);
        if (!m_pNode || m_lCount == 0) return 0;
        if (out == nullptr) return m_lCount;
        if (count < 1) return 0;
        const unsigned long taken = std::min(m_lCount, static_cast<unsigned long>(count));
        for (unsigned long i = 0; i < taken; ++i) {
            out[i] = m_pNode[m_lHeadIndex];
            m_lHeadIndex = (m_lHeadIndex + 1) % m_lMaxCount;
        }
        m_lCount -= taken;
        return taken;
    }

  private:
    void Put(T* node) NEEDS_LOCK(m_lock) {
        m_lTailIndex %= m_lMaxCount;
        if (m_lCount > 0 && m_lTailIndex == m_lHeadIndex) {
            m_lHeadIndex = (m_lHeadIndex + 1) % m_lMaxCount;
        }
        if (m_lCount < m_lMaxCount) ++m_lCount;
        m_pNode[m_lTailIndex++] = node;
    }

    NodeLock m_lock;
    const std::unique_ptr<T*[]> m_pNode;
    const unsigned long m_lMaxCount;
    unsigned long m_lCount GUARDED_BY(m_lock) = 0;
    unsigned long m_lHeadIndex GUARDED_BY(m_lock) = 0;
    // May stand one past the end until the next put.
    unsigned long m_lTailIndex GUARDED_BY(m_lock) = 0;
};

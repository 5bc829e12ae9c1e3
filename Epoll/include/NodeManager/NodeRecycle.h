// The recycling allocator behind NodeFactory.
#pragma once

#include <atomic>
#include <new>
#include <type_traits>
#include <utility>

#include "Epoll/NetMetrics.h"
#include "NodeManager/NodeTemplet.h"

// Keeps freed records on a stack and hands them out again; only an empty pool asks the heap, and
// nothing goes back to it before the recycler is destroyed. Owns the free records, not those in
// use. Freeing takes no lock, so that it never waits for an allocating thread. Thread: any.
template <class T>
class NodeRecycle : public NodeFactory<T> {
  public:
    NodeRecycle() = default;
    // With counters, which must outlive it.
    explicit NodeRecycle(PoolCounters* counters) : m_lpCounters(counters) {}
    ~NodeRecycle() override LOCK_UNSEEN {
        FreeStack(m_write);
        FreeStack(m_read);
    }
    NodeRecycle(const NodeRecycle&) = delete;
    NodeRecycle& operator=(const NodeRecycle&) = delete;

    T* CreateNode() override {
        static_assert(
            std::is_trivially_default_constructible_v<T> && std::is_trivially_destructible_v<T>,
            "records are raw memory: no constructor or destructor runs");
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        NodeGuard read(m_lockRead);
        // Taken whole: no record leaves m_write by itself, so none can return to it unnoticed.
        if (m_read == nullptr) m_read = m_write.exchange(nullptr, std::memory_order_acquire);
        T* node = m_read;
        if (node != nullptr) {
            m_read = node->__p_next;
        } else {
            node = static_cast<T*>(::operator new(sizeof(T)));
            if (m_lpCounters != nullptr) m_lpCounters->made.Add();
        }
        if (m_lpCounters != nullptr) m_lpCounters->taken.Add();
        node->__p_next = nullptr;
        return node;
    }

    void FreeNode(T* node) override {
        if (node != nullptr) FreeNodes(node, node, 1);
    }

    // Takes back `count` records linked through __p_next, `first` to `last`, in one go.
    void FreeNodes(T* first, T* last, uint64_t count) {
        if (m_lpCounters != nullptr) m_lpCounters->returned.Add(count);
        T* head = m_write.load(std::memory_order_relaxed);
        do {
            last->__p_next = head;
        } while (!m_write.compare_exchange_weak(head, first, std::memory_order_release,
                                                std::memory_order_relaxed));
    }

  private:
    static void FreeStack(T* head) {
        while (head != nullptr)
            ::operator delete(std::exchange(head, head->__p_next));
    }

    std::atomic<T*> m_write{nullptr};  // freed records
    NodeLock m_lockRead;
    T* m_read GUARDED_BY(m_lockRead) = nullptr;  // records to hand out
    PoolCounters* const m_lpCounters = nullptr;  // not owned; null: not counted
};

template <class T>
NodeFactory<T>* NodeFactory<T>::CreateInstance() {
    return new NodeRecycle<T>();
}

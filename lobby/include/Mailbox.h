// What one thread leaves for another.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "Common/ThreadSafety.h"

// Holds one thing until it is taken; a newer one takes its place. Thread: any.
template <class T>
class Mailbox {
  public:
    void Put(std::shared_ptr<T> content) {
        const LockGuard lock(m_lock);
        m_lpContent = std::move(content);
        m_bFull.store(true, std::memory_order_release);
    }
    // Null when there is nothing new, which costs no lock.
    std::shared_ptr<T> Take() {
        if (!m_bFull.load(std::memory_order_relaxed)) return nullptr;
        const LockGuard lock(m_lock);
        m_bFull.store(false, std::memory_order_relaxed);
        return std::move(m_lpContent);
    }

  private:
    std::atomic<bool> m_bFull{false};
    Mutex m_lock;
    std::shared_ptr<T> m_lpContent GUARDED_BY(m_lock);
};

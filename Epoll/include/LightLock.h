// A lock for the few instructions that every message passes through.
#pragma once

#include <atomic>

#include "Common/ThreadSafety.h"

// A plain mutex whose uncontended lock and unlock are one instruction each, in the caller. A
// waiting thread sleeps in the kernel. Not recursive; for std::lock_guard. Any thread.
class IS_LOCK LightLock {
  public:
    void lock() TAKES_LOCK() LOCK_UNSEEN {
        int expected = kFree;
        if (!m_state.compare_exchange_strong(expected, kHeld, std::memory_order_acquire)) Wait();
    }
    bool try_lock() LOCK_UNSEEN {
        int expected = kFree;
        return m_state.compare_exchange_strong(expected, kHeld, std::memory_order_acquire);
    }
    void unlock() FREES_LOCK() LOCK_UNSEEN {
        if (m_state.exchange(kFree, std::memory_order_release) == kContended) m_state.notify_one();
    }

  private:
    static constexpr int kFree = 0;
    static constexpr int kHeld = 1;
    static constexpr int kContended = 2;  // held, and somebody may be asleep

    void Wait() {
        while (m_state.exchange(kContended, std::memory_order_acquire) != kFree)
            m_state.wait(kContended, std::memory_order_relaxed);
    }

    std::atomic<int> m_state{kFree};
};

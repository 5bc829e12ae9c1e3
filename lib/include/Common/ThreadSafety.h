// Public header: which lock guards what, in the words of clang's analysis (-Wthread-safety), and
// locks that it understands. scripts/lint.sh has it look; other compilers see plain fields.
#pragma once

#include <mutex>

#ifdef __clang__
#define THREAD_WORD(word) __attribute__((word))
#else
#define THREAD_WORD(word)
#endif

#define IS_LOCK THREAD_WORD(capability("mutex"))
#define IS_LOCK_GUARD THREAD_WORD(scoped_lockable)
#define GUARDED_BY(lock) THREAD_WORD(guarded_by(lock))
#define NEEDS_LOCK(lock) THREAD_WORD(requires_capability(lock))
#define TAKES_LOCK(...) THREAD_WORD(acquire_capability(__VA_ARGS__))
#define FREES_LOCK(...) THREAD_WORD(release_capability(__VA_ARGS__))
// A lock's own functions, and where nobody else can be around: constructors, destructors.
#define LOCK_UNSEEN THREAD_WORD(no_thread_safety_analysis)

// A plain mutex. Thread: any.
class IS_LOCK Mutex {
  public:
    void lock() TAKES_LOCK() LOCK_UNSEEN { m_mutex.lock(); }
    void unlock() FREES_LOCK() LOCK_UNSEEN { m_mutex.unlock(); }

  private:
    friend class WaitLock;
    std::mutex m_mutex;
};

// Holds a mutex as long as it lives, but for the time in which it waits on a condition variable of
// the standard library, which takes it as it is. The condition is a function of its own to the
// analysis: a lambda that says NEEDS_LOCK.
class IS_LOCK_GUARD WaitLock {
  public:
    explicit WaitLock(Mutex& lock) TAKES_LOCK(lock) LOCK_UNSEEN : m_lock(lock.m_mutex) {}
    ~WaitLock() FREES_LOCK() LOCK_UNSEEN {}
    WaitLock(const WaitLock&) = delete;
    WaitLock& operator=(const WaitLock&) = delete;

    void lock() TAKES_LOCK() LOCK_UNSEEN { m_lock.lock(); }
    void unlock() FREES_LOCK() LOCK_UNSEEN { m_lock.unlock(); }
    operator std::unique_lock<std::mutex>&() { return m_lock; }

  private:
    std::unique_lock<std::mutex> m_lock;
};

// Holds a lock as long as it lives.
template <class Lock>
class IS_LOCK_GUARD LockGuard {
  public:
    explicit LockGuard(Lock& lock) TAKES_LOCK(lock) LOCK_UNSEEN : m_lock(lock) { m_lock.lock(); }
    ~LockGuard() FREES_LOCK() LOCK_UNSEEN { m_lock.unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lock& m_lock;
};

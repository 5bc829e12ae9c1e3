// Public header: recursive mutex, counting event and small detached threads.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <cstddef>

#include "Common/ThreadSafety.h"

// A recursive mutex: the owning thread may lock it again, each lock needs its own unlock.
// Usable with std::lock_guard. Thread: any.
class IS_LOCK CMutex {
  public:
    CMutex();
    virtual ~CMutex();
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    // Both return the POSIX result, 0 on success.
    int lock() TAKES_LOCK();
    int unlock() FREES_LOCK();

  private:
    pthread_mutex_t m_mutex;
};

// An event over a counting semaphore. Automatic events let one Wait through per Set, and Sets
// made while nobody waits accumulate. Thread: any; Init before any other use.
class CEvent {
  public:
    CEvent() = default;
    virtual ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    // Replaces any earlier semaphore; initialState true starts with one count. True on success.
    bool Init(bool manual, bool initialState);
    bool Set();
    // Drains every accumulated count; always 1.
    int Reset();
    // On a manual event both post before they wait, so they never block: manual events are
    // therefore not used for blocking.
    bool Wait();
    bool TryWait();

  private:
    bool m_bManual = false;
    bool m_bCreated = false;
    sem_t m_sem{};
};

// Despite its name a plain, non-recursive mutex; all arguments are ignored. The caller destroys
// and deletes it.
pthread_mutex_t* CreateEvent(void* attributes = nullptr, bool manual = false,
                             bool initialState = false, const char* name = nullptr);

// Stack of every thread made by CreateThread, in bytes (larger under sanitizers, whose frames
// would not fit). About 13 KiB of the 16 KiB are usable: keep large buffers off the stack.
#ifdef LOBBY_SANITIZED
inline constexpr size_t kThreadStackSize = 1024 * 1024;
#else
inline constexpr size_t kThreadStackSize = 16384;
#endif

using ThreadRoutine = void* (*)(void*);

// Starts a detached thread with a stack of kThreadStackSize. Only the routine and its argument
// are used; the owner stops the thread through flags it polls. True when the thread started.
bool CreateThread(void* attributes, size_t stackSize, ThreadRoutine routine, void* argument,
                  unsigned long flags = 0, unsigned long* threadId = nullptr);

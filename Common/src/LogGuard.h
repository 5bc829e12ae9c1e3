// Inside the base library: scoped lock of a mutex made by CreateEvent.
#pragma once

#include <pthread.h>

class LogGuard {
  public:
    explicit LogGuard(pthread_mutex_t* mutex) : m_mutex(mutex) { pthread_mutex_lock(m_mutex); }
    ~LogGuard() { pthread_mutex_unlock(m_mutex); }
    LogGuard(const LogGuard&) = delete;
    LogGuard& operator=(const LogGuard&) = delete;

  private:
    pthread_mutex_t* m_mutex;
};

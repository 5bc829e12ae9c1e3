#include "Common/Thread.h"

#include <cerrno>

CMutex::CMutex() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CMutex::~CMutex() {
    pthread_mutex_destroy(&m_mutex);
}

int CMutex::lock() {
    return pthread_mutex_lock(&m_mutex);
}

int CMutex::unlock() {
    return pthread_mutex_unlock(&m_mutex);
}

CEvent::~CEvent() {
    if (m_bCreated) sem_destroy(&m_sem);
}

bool CEvent::Init(bool manual, bool initialState) {
    if (m_bCreated) sem_destroy(&m_sem);
    m_bManual = manual;
    m_bCreated = sem_init(&m_sem, 0, initialState ? 1 : 0) == 0;
    return m_bCreated;
}

bool CEvent::Set() {
    return m_bCreated && sem_post(&m_sem) == 0;
}

int CEvent::Reset() {
    int count = 0;
    while (m_bCreated && sem_getvalue(&m_sem, &count) == 0 && count > 0)
        sem_trywait(&m_sem);
    return 1;
}

// A manual event posts before it waits, so that it is as it was afterwards, and nobody is held up.
bool CEvent::Wait() {
    if (!m_bCreated) return false;
    if (m_bManual) sem_post(&m_sem);
    int result = 0;
    do {
        result = sem_wait(&m_sem);
    } while (result != 0 && errno == EINTR);  // a signal is no event
    return result == 0;
}

bool CEvent::TryWait() {
    if (!m_bCreated) return false;
    if (m_bManual) sem_post(&m_sem);
    return sem_trywait(&m_sem) == 0;
}

pthread_mutex_t* CreateEvent(void*, bool, bool, const char*) {
    auto* mutex = new pthread_mutex_t;
    pthread_mutex_init(mutex, nullptr);
    return mutex;
}

// Detached from the start: nobody joins, and the stack goes back when the routine returns.
bool CreateThread(void*, size_t, ThreadRoutine routine, void* argument, unsigned long,
                  unsigned long*) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    sched_param priority{};
    priority.sched_priority = 50;  // without effect: scheduling is inherited from the creator
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setschedparam(&attributes, &priority);
    pthread_t thread;
    const bool started = pthread_attr_setstacksize(&attributes, kThreadStackSize) == 0 &&
                         pthread_create(&thread, &attributes, routine, argument) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

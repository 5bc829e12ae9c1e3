// Waking a thread without a system call per message.
#pragma once

#include <atomic>

// Wakes one thread that sleeps in epoll_wait, and costs next to nothing while that thread is
// awake. The sleeper looks for work between BeforeSleep and its wait, and ringers publish their
// work before they ring: no work is then slept over. Owns an eventfd.
// Thread: Ring on any, BeforeSleep and AfterSleep on the sleeper; Open and destruction while
// nobody else uses it.
class Doorbell {
  public:
    Doorbell() = default;
    ~Doorbell();
    Doorbell(const Doorbell&) = delete;
    Doorbell& operator=(const Doorbell&) = delete;

    // Registers with the epoll instance, with null as the event's data.
    bool Open(int epoll);
    void Ring();
    void BeforeSleep() { m_bAsleep.store(true); }
    void AfterSleep() { m_bAsleep.store(false); }

  private:
    int m_iEvent = -1;
    std::atomic<bool> m_bAsleep{false};
};

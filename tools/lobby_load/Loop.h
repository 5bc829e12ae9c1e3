// The event loop of the load generator.
#pragma once

#include <atomic>
#include <cstdint>
#include <queue>
#include <vector>

using Nanos = uint64_t;
inline constexpr Nanos kSecond = 1'000'000'000;
inline constexpr Nanos kMilli = 1'000'000;

// One epoll instance and a heap of timers, in one thread. Timers run between batches of events, so
// a descriptor closed by an event and opened anew by a timer never gets its predecessor's events.
class Loop {
  public:
    class Handler {
      public:
        virtual void OnReady(uint32_t events) = 0;

      protected:
        ~Handler() = default;
    };
    // due is when the timer should have run: the intended time of whatever it sends.
    class Timed {
      public:
        virtual void OnTimer(uint64_t token, Nanos due) = 0;

      protected:
        ~Timed() = default;
    };

    Loop();
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    static Nanos Now();

    // Level-triggered. False when the kernel refuses.
    bool Watch(int fd, uint32_t events, Handler* handler);
    void Change(int fd, uint32_t events, Handler* handler);
    // A timer cannot be taken back: its target ignores what it no longer needs.
    void At(Nanos when, Timed* target, uint64_t token) { m_timers.push({when, target, token}); }

    // Until Stop or Interrupt.
    void Run();
    void Stop() { m_stop = true; }
    // Ends every loop of the process; for signal handlers.
    static void Interrupt() { s_interrupted = true; }
    static bool Interrupted() { return s_interrupted; }

  private:
    struct Timer {
        Nanos when;
        Timed* target;
        uint64_t token;
        bool operator<(const Timer& other) const { return when > other.when; }
    };

    void RunTimers();
    int Wait();

    static inline std::atomic<bool> s_interrupted = false;

    int m_epoll;
    bool m_stop = false;
    bool m_coarseWait = false;  // the kernel has no wait in nanoseconds
    std::priority_queue<Timer> m_timers;
    std::vector<struct epoll_event> m_events;
};

// Public header: the one thread that an application's state belongs to.
#pragma once

#include <atomic>
#include <cstdio>
#include <cstdlib>

// Debug and sanitizer builds check it; a release build has none of it.
#ifdef NDEBUG
inline constexpr bool kThreadsChecked = false;
#else
inline constexpr bool kThreadsChecked = true;
#endif

// Says, while it lives, that its thread is a message worker: the framework's, or in tests the one
// that plays it. Thread: the worker.
class WorkerThread {
  public:
    WorkerThread() {
        if (t_depth++ == 0) ++g_count;
    }
    ~WorkerThread() {
        if (--t_depth == 0) --g_count;
    }
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // On a worker's thread, and everywhere while there is none: before the start, after the end.
    static bool IsHere() { return t_depth > 0 || g_count == 0; }

  private:
    static inline thread_local int t_depth = 0;
    static inline std::atomic<int> g_count{0};
};

// What a call from another thread comes to; a test may throw instead.
inline void (*g_OnForeignThread)(const char* function) = [](const char* function) {
    std::fprintf(stderr, "%s: called by another thread than the message worker\n", function);
    std::abort();
};

// For the entries that belong to the worker: ends the process when it is another thread that calls.
inline void AssertWorker(const char* function = __builtin_FUNCTION()) {
    if (kThreadsChecked && !WorkerThread::IsHere()) g_OnForeignThread(function);
}

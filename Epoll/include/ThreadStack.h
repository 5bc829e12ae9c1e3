// How much of their small stacks the framework's threads really use.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Marks the calling thread's stack as watched for the object's life: the part not in use yet is
// filled with a pattern, so that the deepest use can be read off later. Stands at the top of a
// thread's routine. Does nothing in sanitized builds, whose stacks are not comparable.
class ThreadStack {
  public:
    // name must live as long as the process.
    explicit ThreadStack(const char* name);
    ~ThreadStack();
    ThreadStack(const ThreadStack&) = delete;
    ThreadStack& operator=(const ThreadStack&) = delete;

    struct Mark {
        std::string name;
        size_t size;  // bytes of the whole stack
        size_t used;  // deepest use so far, thread-local storage included
    };
    // The marks of every watched thread, running or ended. Any thread.
    static std::vector<Mark> Report();

  private:
    size_t m_ulIndex = 0;
};

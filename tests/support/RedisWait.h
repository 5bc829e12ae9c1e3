// Timing helpers of the Redis tests.
#pragma once

#include <chrono>
#include <thread>

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

template <typename Action>
std::chrono::milliseconds Took(Action action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

// Tries until it succeeds; false after the limit.
template <typename Condition>
bool Within(std::chrono::milliseconds limit, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

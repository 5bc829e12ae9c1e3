// What most tests need.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <latch>
#include <memory>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "Common/Thread.h"
#include "Files.h"
#include "Waiting.h"

// What it prints on standard output, where the log goes, too.
template <class Work>
std::string LogOf(Work work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

// Runs it on framework threads, whose stack is small, at the same time.
template <class Work>
void OnThreads(int count, Work work) {
    struct Call {
        Work& work;
        std::latch done;
    } call{work, std::latch(count)};
    const auto routine = [](void* argument) -> void* {
        auto* self = static_cast<Call*>(argument);
        self->work();
        self->done.count_down();
        return nullptr;
    };
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(CreateThread(nullptr, 1 << 20, routine, &call));  // the size is ignored
    call.done.wait();
}

#include <atomic>
#include <mutex>
#include <thread>

#include "BaseTest.h"
#include "Common/Clock.h"

namespace {

TEST(Event, AutomaticSetsAccumulateAndTheThirdWaitBlocks) {
    CEvent event;
    EXPECT_FALSE(event.Set()) << "before Init";
    ASSERT_TRUE(event.Init(false, false));
    event.Set();
    event.Set();
    EXPECT_TRUE(event.Wait());
    EXPECT_TRUE(event.Wait());
    std::atomic<bool> through{false};
    std::thread waiter([&] {
        event.Wait();
        through = true;
    });
    EXPECT_FALSE(through);
    event.Set();
    waiter.join();
}

TEST(Event, ResetInitAndManual) {
    CEvent event;
    ASSERT_TRUE(event.Init(false, true));
    event.Set();
    event.Set();
    EXPECT_EQ(event.Reset(), 1);
    EXPECT_FALSE(event.TryWait());
    event.Set();
    ASSERT_TRUE(event.Init(false, false));
    EXPECT_FALSE(event.TryWait()) << "a new semaphore";
    ASSERT_TRUE(event.Init(true, false));
    EXPECT_TRUE(event.Wait()) << "manual events never block";
    EXPECT_TRUE(event.TryWait());
}

TEST(Mutex, IsRecursiveAndExcludesOthers) {
    CMutex mutex;
    EXPECT_EQ(mutex.lock(), 0);
    EXPECT_EQ(mutex.lock(), 0);
    EXPECT_EQ(mutex.unlock(), 0);
    int counter = 0;
    std::thread other([&] {
        const std::lock_guard<CMutex> guard(mutex);
        ++counter;
    });
    EXPECT_EQ(counter, 0);
    EXPECT_EQ(mutex.unlock(), 0);
    other.join();
    EXPECT_EQ(counter, 1);
}

TEST(Thread, IsDetachedWithTheSmallStack) {
    size_t stack = 0;
    int detached = -1;
    OnThreads(1, [&] {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &stack);
        pthread_attr_getdetachstate(&attributes, &detached);
        pthread_attr_destroy(&attributes);
    });
    EXPECT_EQ(stack, kThreadStackSize);
    EXPECT_EQ(detached, PTHREAD_CREATE_DETACHED);
}

TEST(Clock, MovesByHandAndBack) {
    SetClockSource({[]() -> time_t { return 1234; }, [] { return 56L; }});
    EXPECT_EQ(ClockNow(), 1234);
    EXPECT_EQ(ClockUptime(), 56);
    SetClockSource({});
    EXPECT_GE(ClockNow(), time(nullptr) - 1);
    EXPECT_GT(ClockUptime(), 0);
}

}  // namespace

#include "BaseTest.h"

namespace {

TEST(Event, SetsAccumulateUntilResetOrInit) {
    CEvent event;
    EXPECT_FALSE(event.Set() || event.Wait() || event.TryWait()) << "before Init";
    ASSERT_TRUE(event.Init(false, true));
    event.Set();
    EXPECT_TRUE(event.Wait() && event.Wait());
    event.Set();
    EXPECT_EQ(event.Reset(), 1);
    EXPECT_FALSE(event.TryWait());
    event.Set();
    ASSERT_TRUE(event.Init(false, false));
    EXPECT_FALSE(event.TryWait()) << "a new semaphore";
    ASSERT_TRUE(event.Init(true, false));
    EXPECT_TRUE(event.Wait() && event.TryWait()) << "manual events never block";
}

TEST(Thread, IsDetachedWithTheSmallStack) {
    OnThreads(1, [] {
        pthread_attr_t attributes;
        size_t stack = 0;
        int detached = -1;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &stack);
        pthread_attr_getdetachstate(&attributes, &detached);
        pthread_attr_destroy(&attributes);
        EXPECT_EQ(stack, kThreadStackSize);
        EXPECT_EQ(detached, PTHREAD_CREATE_DETACHED);
    });
}

}  // namespace

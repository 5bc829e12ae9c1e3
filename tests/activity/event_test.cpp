#include <gtest/gtest.h>

#include <vector>

#include "eventSystem/EventDispatcher.h"

TEST(EventTest, OnlyOpenListenersOfTheTypeAreCalledAndEachOnce) {
    EventDispatcher* const dispatcher = EventDispatcher::getInstance();
    std::vector<int> calls;
    bool open = true;
    const auto record = [&calls](void*, void*, int n) { calls.push_back(n); };
    EventListener a(EVENT_READY, record, [&open] { return open; });
    EventListener always(EVENT_GAME_START, record, {});
    EventListener mute(EVENT_READY, {}, {});
    for (EventListener* listener : {&a, &a, &always, &mute})
        dispatcher->addEventListener(listener);
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 5);
    dispatcher->dispatchEvent(EVENT_GAME_START, nullptr, nullptr, 6);
    dispatcher->dispatchEvent(EVENT_GAME_END, nullptr, nullptr, 7);
    open = false;
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 8);
    open = true;
    dispatcher->removeEventListener(&a);
    dispatcher->removeEventListener(&mute);
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 9);
    dispatcher->addEventListener(&a);
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 10);
    EXPECT_EQ(calls, (std::vector<int>{5, 6, 10}));
    EventDispatcher::destroyInstance();
}

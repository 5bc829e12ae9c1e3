#include <gtest/gtest.h>

#include <vector>

#include "eventSystem/EventDispatcher.h"

namespace {

class EventTest : public ::testing::Test {
  protected:
    ~EventTest() override { EventDispatcher::destroyInstance(); }

    EVENTFUNC Record(int id) {
        return [this, id](void*, void*, int n) { calls.push_back(id * 100 + n); };
    }
    EventDispatcher* dispatcher = EventDispatcher::getInstance();
    std::vector<int> calls;
    bool open = true;
};

TEST_F(EventTest, OnlyOpenListenersOfTheTypeAreCalledAndEachOnce) {
    const EVENISOPENFUNC isOpen = [this] { return open; };
    EventListener a(EVENT_READY, Record(1), isOpen);
    EventListener other(EVENT_SITDOWN, Record(2), {});
    EventListener mute(EVENT_READY, {}, {});
    for (EventListener* listener : {&a, &a, &other, &mute}) dispatcher->addEventListener(listener);

    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 5);
    dispatcher->dispatchEvent(EVENT_GAME_END, nullptr, nullptr, 6);
    EXPECT_EQ(calls, std::vector<int>{105});

    open = false;
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 7);
    open = true;
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 8);
    EXPECT_EQ(calls, (std::vector<int>{105, 108}));

    dispatcher->removeEventListener(&a);
    dispatcher->removeEventListener(&mute);
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 9);
    dispatcher->addEventListener(&a);
    dispatcher->dispatchEvent(EVENT_READY, nullptr, nullptr, 10);
    EXPECT_EQ(calls, (std::vector<int>{105, 108, 110}));
}

}  // namespace

// One callback for one type of player event.
#pragma once

#include <boost/function.hpp>

// The two pointers and the int are passed through from the dispatch unchanged.
using EVENTFUNC = boost::function<void(void*, void*, int)>;
using EVENISOPENFUNC = boost::function<bool()>;

// What happens to a player that activities may react to. The numbers are the contract between
// the sources of events and the handlers.
enum EventType : int {
    EVENT_INITIALIZE = 1,
    EVENT_SITDOWN = 5,
    EVENT_READY = 7,
    EVENT_GAME_START = 8,
    EVENT_GAME_END = 9,
    EVENT_REGAME = 10,
};

// Couples an event type with a callback and a test whether events are wanted now.
// Owned by the activity handler that made it. Thread: message worker, and main at start-up.
class EventListener {
  public:
    EventListener() = default;
    EventListener(int type, const EVENTFUNC& onEvent, const EVENISOPENFUNC& isOpenFunc) {
        init(type, onEvent, isOpenFunc);
    }
    virtual ~EventListener() = default;

    // A registered listener stays filed under the type it was added with: remove it first.
    void init(int type, const EVENTFUNC& onEvent, const EVENISOPENFUNC& isOpenFunc);

    int getType() const { return _type; }
    // False without a callback, true without a test, else what the test says.
    bool isOpen() const;
    void dispatchEvent(void* a, void* b, int n) { _onEvent(a, b, n); }

  private:
    EVENTFUNC _onEvent;
    EVENISOPENFUNC _isOpenFunc;
    int _type = 0;
};

// The process-wide registry of event listeners.
#pragma once

#include <map>
#include <set>

#include "eventSystem/EventListener.h"

using MAP_EVENTLISTENER = std::map<int, std::set<EventListener*>>;

// Maps event types to the listeners for them, so that whoever detects an event need not know
// which activities exist. Does not own the listeners.
// Thread: the message worker, and main before the worker delivers anything and after it ended;
// no lock. A callback must not add or remove listeners of the type being dispatched.
class EventDispatcher {
  public:
    // The one instance, created on first use (at start-up) and destroyed by destroyInstance.
    static EventDispatcher* getInstance();
    static void destroyInstance();

    // Files the listener under its present type; adding it twice has no effect.
    void addEventListener(EventListener* listener);
    // Removes it from the set of its type; a set that becomes empty goes too.
    void removeEventListener(EventListener* listener);
    // Calls every open listener of the type before it returns, in no order a listener may rely on.
    void dispatchEvent(int type, void* a, void* b, int n);

  private:
    MAP_EVENTLISTENER _listenerMap;
    static EventDispatcher* s_pEventDispatcher;
};

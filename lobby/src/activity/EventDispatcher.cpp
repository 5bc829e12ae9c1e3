#include "eventSystem/EventDispatcher.h"

void EventListener::init(int type, const EVENTFUNC& onEvent, const EVENISOPENFUNC& isOpenFunc) {
    _type = type;
    _onEvent = onEvent;
    _isOpenFunc = isOpenFunc;
}

bool EventListener::isOpen() const {
    if (_onEvent.empty()) return false;
    return _isOpenFunc.empty() || _isOpenFunc();
}

EventDispatcher* EventDispatcher::s_pEventDispatcher = nullptr;

EventDispatcher* EventDispatcher::getInstance() {
    if (s_pEventDispatcher == nullptr) s_pEventDispatcher = new EventDispatcher;
    return s_pEventDispatcher;
}

void EventDispatcher::destroyInstance() {
    delete s_pEventDispatcher;
    s_pEventDispatcher = nullptr;
}

void EventDispatcher::addEventListener(EventListener* listener) {
    if (listener != nullptr) _listenerMap[listener->getType()].insert(listener);
}

void EventDispatcher::removeEventListener(EventListener* listener) {
    if (listener == nullptr) return;
    const auto listeners = _listenerMap.find(listener->getType());
    if (listeners == _listenerMap.end()) return;
    listeners->second.erase(listener);
    if (listeners->second.empty()) _listenerMap.erase(listeners);
}

void EventDispatcher::dispatchEvent(int type, void* a, void* b, int n) {
    const auto listeners = _listenerMap.find(type);
    if (listeners == _listenerMap.end()) return;
    for (EventListener* listener : listeners->second) {
        if (listener->isOpen()) listener->dispatchEvent(a, b, n);
    }
}

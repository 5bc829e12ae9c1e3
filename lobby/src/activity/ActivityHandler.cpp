// The base of every activity.
//
// A handler is made by the lobby at its start and subscribes to the player events at once, closed
// and without a row. The data server's row opens it; isOpen() is asked at every event and message,
// so that the window of days and hours closes it by itself, and a row that closes it tells every
// client. Its listeners belong to it and leave the dispatcher before it goes.
#include "activitySystem/ActivityHandler.h"

#include <algorithm>
#include <boost/bind/bind.hpp>

#include "Common/Clock.h"
#include "LobbyPlayer.h"
#include "MsgView.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "eventSystem/EventDispatcher.h"

using boost::placeholders::_1;
using boost::placeholders::_2;
using boost::placeholders::_3;

namespace {

auto Find(auto& listeners, const EventListener* wanted) {
    return std::find_if(listeners.begin(), listeners.end(),
                        [wanted](const auto& listener) { return listener.get() == wanted; });
}

}  // namespace

IActivityHandler::IActivityHandler(int activityId, GameProvider* provider)
    : m_pGameProvider(provider), m_iActivityId(activityId) {
    init();
    IActivityHandler::Initialization();
}

void IActivityHandler::init() {
    struct Row {
        EventType type;
        void (IActivityHandler::*callback)(void*, void*, int);
    };
    static constexpr Row kRows[] = {
        {EVENT_INITIALIZE, &IActivityHandler::callbackInitialize},
        {EVENT_SITDOWN, &IActivityHandler::callbackSitdown},
        {EVENT_READY, &IActivityHandler::callbackReady},
        {EVENT_GAME_START, &IActivityHandler::callbackGameStart},
        {EVENT_GAME_END, &IActivityHandler::callbackGameEnd},
        {EVENT_REGAME, &IActivityHandler::callbackReGame},
    };
    for (const Row& row : kRows) {
        addEventListener(new EventListener(row.type, boost::bind(row.callback, this, _1, _2, _3),
                                           boost::bind(&IActivityHandler::isOpen, this)));
    }
}

void IActivityHandler::addEventListener(EventListener* listener) {
    if (Find(m_vecEventListener, listener) != m_vecEventListener.end()) return;
    EventDispatcher::getInstance()->addEventListener(listener);
    m_vecEventListener.emplace_back(listener);
}

void IActivityHandler::removeEventListener(EventListener* listener) {
    const auto at = Find(m_vecEventListener, listener);
    if (at == m_vecEventListener.end()) return;
    EventDispatcher::getInstance()->removeEventListener(at->release());
    m_vecEventListener.erase(at);
}

void IActivityHandler::removeAllEventListener() {
    for (const auto& listener : m_vecEventListener)
        EventDispatcher::getInstance()->removeEventListener(listener.get());
    m_vecEventListener.clear();
}

bool IActivityHandler::isWithinWindow() const {
    const DBSiteActivityConfig& row = m_sActivityConfig;
    if (row.isOpen == 0) return false;
    const time_t now = ClockNow();
    const auto seconds = static_cast<uint64_t>(now);
    if (row.ulTimeBegin != 0 && row.ulTimeBegin > seconds) return false;
    if (row.ulTimeEnd != 0 && row.ulTimeEnd <= seconds) return false;
    tm local{};
    localtime_r(&now, &local);
    const bool withinDay = row.iDayBegin <= local.tm_hour && local.tm_hour < row.iDayEnd;
    return withinDay || row.iDayBegin == row.iDayEnd;
}

void IActivityHandler::updateIsOpen() {
    m_isOpen = isWithinWindow();
}

bool IActivityHandler::isOpen() {
    return m_isOpen && checkIsOpen();
}

void IActivityHandler::setActivityConfig(DBSiteActivityConfig config) {
    const bool wasOpen = isOpen();
    m_sActivityConfig = config;
    updateIsOpen();
    if (wasOpen && !isOpen()) onActicityClosed();
    onSetActivityConfig();
}

void IActivityHandler::onActicityClosed() {
    Zeroed<ActivityCloseNotice> notice;
    notice.iActivity = m_iActivityId;
    ActivitySystem::getInstance()->SendMessageToAllClient(CLIENT_ACTIVITY_CLOSE_NOTICE, &notice,
                                                          sizeof(notice), ENCODE_NONE);
}

void IActivityHandler::forwardEvent(Hook hook, void* player, void* argument, int number) {
    // The first pointer of every dispatch is the player's node.
    auto* const node = static_cast<LobbyPlayer*>(static_cast<IPlayerNode*>(player));
    if (node == nullptr) return;
    tagDBUserActivityProgressData* progress = nullptr;
    if (!ActivitySystem::getInstance()->FindProgressByUserID(node->m_iUserID, m_iActivityId,
                                                             &progress)) {
        return;
    }
    (this->*hook)(node, progress, argument, nullptr, number);
}

// The base class of every activity.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "Game/NetGame.h"
#include "activitySystem/Activity_Data_Msg.h"
#include "eventSystem/EventListener.h"

using ActivityProgressMap = std::multimap<int, tagDBUserActivityProgressData>;

// Holds an activity's configuration row, decides whether it is open now, and forwards the player
// events, together with the player's progress record, to hooks that an activity overrides.
// Owns its listeners. Handlers live for the whole process; wherever one is destroyed earlier,
// call removeAllEventListener and ActivitySystem::RemoveActivityHandler first.
// Records handed to hooks point into the registry: they stay valid until the player disconnects,
// whatever other records come and go. Change them in place and set isUpdate to have them written
// back.
// Thread: message worker; constructed on main at start-up.
class IActivityHandler {
  public:
    IActivityHandler(int activityId, GameProvider* provider);
    // Does not tell the dispatcher: by the time the last handlers go, that may be gone.
    virtual ~IActivityHandler() = default;
    IActivityHandler(const IActivityHandler&) = delete;
    IActivityHandler& operator=(const IActivityHandler&) = delete;

    // Runs as the base's version when called by the base constructor.
    virtual void Initialization() {}
    // The player's record is there: `fresh` when the data server had none and it was made zeroed.
    virtual void startInit(IPlayerNode* /*player*/, tagDBUserActivityProgressData* /*progress*/,
                           bool /*fresh*/) {}
    // A new configuration row closed the open activity. The base tells every client.
    virtual void onActicityClosed();
    // The player events: after the record come the event's own pointer, a null one and its number.
    virtual void onInitialize(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) {}
    virtual void onSitdown(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) {}
    virtual void onReady(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) {}
    virtual void onGameStart(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) {}
    virtual void onGameEnd(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) {}
    virtual void onReGame(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) {}
    // An activity message other than the progress request, or the data server's answer to a
    // progress update. data is the whole received message, of length bytes.
    virtual void OnActivityMessage(long /*type*/, void* /*data*/, long /*length*/,
                                   IPlayerNode* /*player*/, void* /*context*/,
                                   tagDBUserActivityProgressData* /*progress*/) {}
    virtual void OnGlobalActivityMessage(long /*type*/, void* /*data*/, long /*length*/,
                                         ActivityProgressMap& /*progress*/) {}
    // A client's progress request (UserProgressReq), checked for its length.
    virtual void HandlerUserProgressReq(long /*type*/, void* /*data*/, long /*length*/,
                                        IPlayerNode* /*player*/, void* /*context*/,
                                        tagDBUserActivityProgressData* /*progress*/) {}
    // The activity's own test, asked at every event beside the window of the row.
    virtual bool checkIsOpen() { return true; }
    virtual void onSetActivityConfig() {}

    int getActivityId() const { return m_iActivityId; }
    int getSiteId() const { return m_sActivityConfig.iSiteId; }
    const DBSiteActivityConfig& getConfig() const { return m_sActivityConfig; }
    void update(long) {}

    // Makes the six listeners, once: the constructor calls it.
    void init();
    // Stores the row, evaluates the window and reports a change from open to closed.
    void setActivityConfig(DBSiteActivityConfig config);
    // Evaluates the row's window with the local time now. Between rows the result stays.
    void updateIsOpen();
    bool isOpen();

    // Takes the listener over and files it with the dispatcher; one that is there already stays.
    void addEventListener(EventListener* listener);
    // Gives the listener back to the caller, who deletes it.
    void removeEventListener(EventListener* listener);
    // Takes all listeners out of the dispatcher and deletes them.
    void removeAllEventListener();

  protected:
    GameProvider* provider() const { return m_pGameProvider; }

    DBSiteActivityConfig m_sActivityConfig{};  // all zero until configured
    GameProvider* m_pGameProvider;             // not owned

  private:
    using Self = IActivityHandler;
    using Hook = void (IActivityHandler::*)(IPlayerNode*, tagDBUserActivityProgressData*, void*,
                                            void*, int);

    bool isWithinWindow() const;
    void forwardEvent(Hook hook, void* player, void* argument, int number);
    // What the listeners call: the player, the event's own pointer and its number.
    void callbackInitialize(void* p, void* a, int n) { forwardEvent(&Self::onInitialize, p, a, n); }
    void callbackSitdown(void* p, void* a, int n) { forwardEvent(&Self::onSitdown, p, a, n); }
    void callbackReady(void* p, void* a, int n) { forwardEvent(&Self::onReady, p, a, n); }
    void callbackGameStart(void* p, void* a, int n) { forwardEvent(&Self::onGameStart, p, a, n); }
    void callbackGameEnd(void* p, void* a, int n) { forwardEvent(&Self::onGameEnd, p, a, n); }
    void callbackReGame(void* p, void* a, int n) { forwardEvent(&Self::onReGame, p, a, n); }

    int m_iActivityId;
    std::vector<std::unique_ptr<EventListener>> m_vecEventListener;
    bool m_isOpen = false;
};

// The lobby: one object that holds the whole state of the process.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CompeteConfig.h"
#include "Game/NetGame.h"
#include "LinkList.h"
#include "LobbyHandlers.h"
#include "LobbyPlayer.h"
#include "LobbyRedisServer.h"
#include "LobbyTables.h"
#include "Mailbox.h"
#include "OnlineRegistry.h"
#include "Period.h"
#include "ReconnectService.h"
#include "RelayGuard.h"

class ActivitySystem;
class IActivityHandler;
class MetricsEndpoint;

// Routes every message to the handler of its peer and runs the periodic jobs. Owns the seven
// handlers (but the data server's, which lives until the process ends) and the activities.
// Thread: constructor, Start and destructor on main; the On... callbacks and everything they
// reach on the message worker; ConnectServer on main or the reconnect keeper.
class LobbyServer : public GameProvider, public LobbyHandlers, public LobbyTables {
  public:
    // parts replaces the network with one in memory (tests).
    explicit LobbyServer(NetParts parts = {});
    // The shutdown: keeper, framework, handlers.
    ~LobbyServer() override;
    // 0 when the lobby is serving, -1 when a link or the listener could not be set up.
    long Start() override;
    // Peers are told apart by their node alone: what no link takes is a client's.
    void OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length) override;
    void OnClosed(IPlayerNode* node, bool bClosed) override;
    // now in epoch seconds. Does nothing before Start has registered the activities.
    void OnTimer(long now) override;
    IPlayerNode* OnCreatePlayer() override;  // poll thread or the creating thread
    // Makes connects that are under way fail, Redis' too. Any thread.
    void CancelConnects();

    // Reads forbidden names, disabled accounts, the tournament, the limits and the log level again.
    // One line each says whether it was taken; what is wrong leaves the old as it was. The message
    // worker puts it to use. Thread: the one of signals.
    void Reload();

    // An upgrade: new clients go to the lobby that shares the port, the ones inside stay.
    // EndListening follows a moment later, so that no connect is lost. Thread: as Reload, once
    // Start has succeeded.
    void BeginDrain();
    void EndListening();

    // Opens the outbound link whose address is [connect] name, stores its node and, before the
    // link can be reported closed, runs onUp. 0 on success and when the link is up already, -1 on
    // failure. Main or reconnect keeper.
    int64_t ConnectServer(const char* name, LinkNode& node,
                          const std::function<void()>& onUp = nullptr);
    int64_t ConnectServer(const char* name, IPlayerNode*& node);  // its owner takes it down himself
    // Opens the link of the keeper's number again; true when it is up. Keeper.
    bool ReconnectLink(int id) { return m_Links.Reconnect(id); }
    // Takes the closed link of that row down and has the keeper open it again; false when node is
    // not the link.
    bool CloseLink(LinkNode& link, IPlayerNode* node, bool bClosed, size_t row);
    // Sends on a link what a client caused, unless RelayGuard refuses it. Message worker.
    bool Relay(const LobbyPlayer& asker, IPlayerNode* link, uint16_t type, void* data, long length,
               bool login = false);
    // Opens the listener, then connects Redis, whose failure does not matter. 0 or -1. Main.
    int64_t StartLobbyService();
    // Always true: the registry starts without Redis and finds it later. Main.
    bool ConnectRedis();
    // Who is online in any lobby. Message worker.
    OnlineRegistry& Registry() { return m_OnlineRegistry; }

    // Login and sessions.
    void OnLobbyClientConnectNotice(IPlayerNode* node, void* data, long length);
    // Answers the login: result 0 is success.
    void CheckforClientIsReady(IPlayerNode* node, unsigned char result);
    // Closes the newest session of the user that is not `except`, leaving the online mark to the
    // session that took over; 1 when there was one, else 0.
    int KickOutLobbyPlayer(int userID, LobbyPlayer* except);
    void KickOutSession(LobbyPlayer* player, bool bStopSwitch = false);  // one that is known
    void KickOutAllLobbyPlayer();                // maintenance: closes every session
    void SendKickOutNoticeToCenter(int userID);  // has the other lobbies drop the user

    // Sending. 0 without a link; a send to the data server counts as done whatever it gave.
    int SendMsgToDataServer(int type, void* data, long length);
    int SendMsgToConfigServer(int type, unsigned char* data, long length);
    void SendRoomInfoToClient(IPlayerNode* node);
    // Farm messages.
    void publish(const std::string& key, const LobbyTransferFarmNotice& notice);
    void RequestSubscribeKeyCfg();
    void SendFarmTransferLog(const BulletinTransferFarmNotice* message);
    // Books an activity's reward with the queue server.
    void UpdateActivityUserPropInfo(LobbyPlayer* player, int activityId, int sourceId, int value,
                                    int type);
    void UpdateActivityUserPropInfo(int userId, int siteId, int activityId, int sourceId, int value,
                                    int type, int clientSiteType);
    void BookReward(const RewardAccount& account, int activityId, int sourceId, int value,
                    int type);  // for a session that is gone

    ReconnectService m_Reconnect;
    // Message worker only, from here on.
    CompeteConfig m_competeConfig;
    LobbyRedisServer m_LobbyRedisServer;
    int32_t m_iLobbyStopSwitch = 0;    // maintenance: 1 and more refuse logins and empty the lobby
    int32_t m_iSendBulletinTime = 30;  // seconds
    static constexpr int64_t kKeepAliveSeconds = 25;
    std::atomic<int64_t> m_lTimer{0};  // epoch seconds of the next keep-alive; main sets it too
    ActivitySystem* m_pActivitySystem = nullptr;  // the registry; not owned
    std::atomic<int32_t> m_iPort{0};              // of the listener; set by Start
    LinkNode m_lpLobbyServer;                     // the listening node; null until it listens
    char m_sendBuffer[4096] = {};                 // scratch for a message to be sent

  private:
    void CreateHandlers();
    void InitializeNetwork();
    void CloseClient(LobbyPlayer* player, bool bClosed);
    void RunPeriodicJobs(long now);
    // Counts a client's message; true when it is beyond its limit and must not be handled.
    bool IsOverLimit(IPlayerNode* node, unsigned short type);

    LinkList m_Links;
    std::unique_ptr<LobbyClientHandler> m_Clients;
    std::vector<std::unique_ptr<IActivityHandler>> m_vecActivity;
    std::unique_ptr<MetricsEndpoint> m_lpMetrics;  // null unless configured
    OnlineRegistry m_OnlineRegistry{*this};
    struct Reloaded;
    void PutToUse(Reloaded& fresh);
    Mailbox<Reloaded> m_Reloaded;  // what Reload read, until the worker takes it
    std::atomic<bool> m_bDraining{false};
    MessageLimits m_Limits;  // message worker, once constructed
    RelayGuard m_Relays;     // message worker, once constructed

    // The worker ticks before Start has run; it must not meet the registry half filled.
    std::atomic<bool> m_bTicking{false};
    Period m_ShowList, m_StopSwitch, m_KickOut, m_SubscribeKeys;  // message worker
    // A link is stored, registered and greeted under this lock, and taken down under it, so that
    // a greeting never goes to a node that was recycled meanwhile.
    std::recursive_mutex m_lockLink;
};

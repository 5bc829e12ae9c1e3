// The lobby: one object that holds the whole state of the process.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Common/IniFile.h"
#include "CompeteConfig.h"
#include "DisabledUsers.h"
#include "ForbiddenNames.h"
#include "Game/NetGame.h"
#include "LinkList.h"
#include "LobbyPlayer.h"
#include "LobbyRedisServer.h"
#include "MessageLimits.h"
#include "PublisherMsg.h"
#include "ReconnectService.h"
#include "RewardAccount.h"
#include "config_server_msg.h"

class ActivitySystem;
class CenterServerHandler;
class ConfigServerHandler;
class DataServerHandler;
class IActivityHandler;
struct Endpoint;
class LobbyClientHandler;
class LogServerHandler;
class MetricsEndpoint;
class QueueServerHandler;
class WebServerHandler;

// The configuration files, shared by every handler. Loaded by LobbyServer's constructor; the
// last two again every 30 minutes on the message worker.
extern CIniFile m_ConfigFile;              // LobbyServer.cfg
extern CIniFile m_ConfigSensitiveNameCfg;  // SensitiveName.cfg
extern CIniFile m_ConfigFileDiscUserID;    // disconnectuserid.cfg

// Routes every message to the handler of its peer and runs the periodic jobs. Owns the seven
// handlers (but the data server's, which lives until the process ends) and the activities.
// Thread: constructor, Start and destructor on main; the On... callbacks and everything they
// reach on the message worker; ConnectServer on main or the reconnect keeper.
class LobbyServer : public GameProvider {
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
    // Poll thread or the creating thread.
    IPlayerNode* OnCreatePlayer() override;

    // As the base's, and the connect to Redis too. Any thread.
    void CancelConnects() {
        GameProvider::CancelConnects();
        m_LobbyRedisServer.CancelConnects();
    }

    // Opens the outbound link whose address is [connect] name, stores its node and, before the
    // link can be reported closed, runs onUp. 0 on success and when the link is up already, -1 on
    // failure. Main or reconnect keeper.
    int64_t ConnectServer(const char* name, LinkNode& node,
                          const std::function<void()>& onUp = nullptr);
    // Takes a closed link, of that row, down and has the keeper re-open it; false when node is not
    // the link. Message worker.
    bool CloseLink(LinkNode& link, IPlayerNode* node, bool bClosed, size_t row);
    // Opens the link of the keeper's number again; true when it is up. Keeper.
    bool ReconnectLink(int id) { return m_Links.Reconnect(id); }

    // Opens the listener, then connects Redis, whose failure does not matter. 0 or -1. Main.
    int64_t StartLobbyService();
    // Always true: the registry starts without Redis and finds it later. Main.
    bool ConnectRedis();

    // The session a peer's handle stands for, or null unless it is a node of this lobby that
    // still has this id; an id of 0 never matches.
    LobbyPlayer* FindPlayerByHandle(uint64_t handle, uint64_t nodeId);
    // A node of this lobby at that address, whatever its id (it may be closed or another
    // player's by now: only its id may be read); null for any other value.
    LobbyPlayer* FindNodeByHandle(uint64_t handle);

    // Login and sessions.
    void OnLobbyClientConnectNotice(IPlayerNode* node, void* data, long length);
    // Answers the login: result 0 is success.
    void CheckforClientIsReady(IPlayerNode* node, unsigned char result);
    // The newest session of the user, or null.
    LobbyPlayer* GetPlayerByUserID(int userID);
    // Head of the session list.
    LobbyPlayer* GetClientLobbyPlayer();
    // Closes the newest session of the user that is not `except`, leaving the online mark to the
    // session that took over; 1 when there was one, else 0.
    int KickOutLobbyPlayer(int userID, LobbyPlayer* except);
    // Maintenance: closes every session.
    void KickOutAllLobbyPlayer();
    // Has the other lobbies drop the user.
    void SendKickOutNoticeToCenter(int userID);
    // Reads the forbidden name fragments anew and appends the disabled user ids: the latter are
    // cleared only at construction, so every reload lists them once more.
    void loadSensitiveNameCfg();
    // 1 when a forbidden fragment lies anywhere in the name, else 0.
    int isContainSensitiveName(const char* name);
    // The VIP level of a recharge amount. At or above the last threshold it is 0, not the top
    // level; reading adds missing levels with threshold 0.
    int GetVipLevel(int value);

    // Sending. 0 without a link; a send to the data server counts as done whatever it gave.
    int SendMsgToDataServer(int type, void* data, long length);
    int SendMsgToConfigServer(int type, unsigned char* data, long length);
    void SendMsgToPlayerByID(int userID, unsigned short type, char* data, long length);
    void SendMsgToAllLobbyClent(unsigned short type, void* data, long length);
    void SendRoomInfoToClient(IPlayerNode* node);

    // Notices of the web server, passed on to the client handler.
    void HandleRechargeSucessNotice(void* data, long length);
    void HandleConsumeSucessNotice(void* data, long length);
    void HandleSychUserDataMsg(void* data, long length);
    void HandleSychUserDataMsg(IPlayerNode* node, void* data, long length);

    // Farm messages.
    bool IsExistSubscribeKey(const std::string& key);
    void publish(const std::string& key, const LobbyTransferFarmNotice& notice);
    void RequestSubscribeKeyCfg();
    void SendFarmTransferLog(const BulletinTransferFarmNotice* message);

    // Books an activity's reward with the queue server.
    void UpdateActivityUserPropInfo(LobbyPlayer* player, int activityId, int sourceId, int value,
                                    int type);
    void UpdateActivityUserPropInfo(int userId, int siteId, int activityId, int sourceId, int value,
                                    int type, int clientSiteType);
    // The same for a session that is gone.
    void BookReward(const RewardAccount& account, int activityId, int sourceId, int value,
                    int type);

    CenterServerHandler* GetCenterServerHandler() { return m_lpCenterServerHandler; }
    LobbyClientHandler* GetLobbyClientHandler() { return m_lpLobbyClientHandler.get(); }
    WebServerHandler* GetWebServerHandler() { return m_lpWebServerHandler; }
    LogServerHandler* GetLogServerHandler() { return m_lpLogServerHandler; }
    QueueServerHandler* GetQueueServerHandler() { return m_lpQueueServerHandler; }
    DataServerHandler* GetDataServerHandler() { return m_lpDataServerHandler; }
    ConfigServerHandler* GetConfigServerHandler() { return m_lpConfigServerHandler; }

    ReconnectService m_Reconnect;

    // Message worker only, from here on. The tables with suffix 1 are filled while a transfer
    // runs and swapped in when it is finished.
    std::map<int, int> m_mapConfigVipLevel, m_mapConfigVipLevel1;
    std::map<int, tagVipPhotoItem> m_mapConfigVipPhoto, m_mapConfigVipPhoto1;
    std::map<int, tagVipFrameItem> m_mapConfigVipFrame, m_mapConfigVipFrame1;
    CompeteConfig m_competeConfig;
    LobbyRedisServer m_LobbyRedisServer;
    int32_t m_iLobbyStopSwitch = 0;    // maintenance: 1 and more refuse logins and empty the lobby
    int32_t m_iSendBulletinTime = 30;  // seconds
    std::atomic<int64_t> m_lTimer{0};  // epoch seconds of the next keep-alive; main sets it too
    ForbiddenNames m_ForbiddenNames;
    const std::vector<std::string>& m_vecStrSensitiveName = m_ForbiddenNames.Fragments();
    ActivitySystem* m_pActivitySystem = nullptr;  // the registry; not owned
    DisabledUsers m_DisabledUsers;
    const std::vector<int32_t>& m_vcDisconnnetUserID = m_DisabledUsers.List();
    std::atomic<int32_t> m_iPort{0};  // of the listener; set by Start
    std::map<std::string, std::vector<PublishPlayer>> m_mapStrKeyToPlayer;
    std::map<int32_t, std::vector<std::string>> m_mapPlayerToStrKey;
    std::list<WebFarmSubscribeKeyInfo> m_lSubscribeKeyInfo;
    ClosedAccounts m_closedAccounts;

  private:
    void CreateHandlers();
    // Does nothing unless [metrics] addr is set.
    void OpenMetrics();
    void InitializeNetwork();
    void RegisterActivities();
    void UnregisterActivities();
    // Stores a freshly opened link and starts receiving on it. Under m_lockLink.
    bool BringUp(const char* name, const Endpoint& endpoint, LinkNode& link, IPlayerNode* node);
    void ReportCreateFailure(const char* name, const Endpoint& endpoint, int error) const;
    void CloseClient(LobbyPlayer* player, bool bClosed);
    void RunPeriodicJobs(long now);
    void RequestKeysWhenDue(long now);
    // Counts a client's message; true when it is beyond its limit and must not be handled. The
    // back-end links have no limits.
    bool IsOverLimit(IPlayerNode* node, unsigned short type);
    void ReadLimits();
    void ReadProxies();
    void WarnOfSweepGuard(int maxConnection) const;
    void SendKickOut(LobbyPlayer* player, bool bStopSwitch);

    LinkNode m_lpLobbyServer;  // the listening node; null until the lobby listens
    LinkList m_Links;
    CenterServerHandler* m_lpCenterServerHandler = nullptr;
    std::unique_ptr<LobbyClientHandler> m_lpLobbyClientHandler;
    WebServerHandler* m_lpWebServerHandler = nullptr;
    LogServerHandler* m_lpLogServerHandler = nullptr;
    QueueServerHandler* m_lpQueueServerHandler = nullptr;
    DataServerHandler* m_lpDataServerHandler = nullptr;  // deliberately never deleted
    ConfigServerHandler* m_lpConfigServerHandler = nullptr;
    std::vector<std::unique_ptr<IActivityHandler>> m_vecActivity;
    std::unique_ptr<MetricsEndpoint> m_lpMetrics;  // null unless configured

    MessageLimits m_Limits;  // constant once constructed

    // The worker ticks before Start has run; it must not meet the registry half filled.
    std::atomic<bool> m_bTicking{false};
    // When each periodic job last ran; message worker only. All but the keys' start at the first
    // tick, so that nothing runs at once.
    std::optional<long> m_lShowListTime, m_lStopSwitchTime, m_lKickOutTime;
    long m_lSubscribeKeyTime = 0;

    // A link is stored, registered and greeted under this lock, and taken down under it, so that
    // a greeting never goes to a node that was recycled meanwhile.
    std::recursive_mutex m_lockLink;
    std::mutex m_lockNodes;  // guards m_setNodes: poll threads add, the worker looks up
    std::unordered_set<uint64_t> m_setNodes;  // every node ever created
};

#include "LobbyServer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "CenterServerHandler.h"
#include "Common/Clock.h"
#include "Common/Log.h"
#include "ConfigKeys.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "LobbyClientHandler.h"
#include "LogServerHandler.h"
#include "MetricsEndpoint.h"
#include "QueueServerHandler.h"
#include "Settings.h"
#include "WebServerHandler.h"
#include "activityHandler/Activity20171211.h"
#include "activityHandler/Activity20180901.h"
#include "activitySystem/ActivitySystem.h"
#include "eventSystem/EventDispatcher.h"

namespace {

constexpr unsigned long kBuffersPerMiB = 256;

// Holds what is to live until the process ends, reachable and never destroyed.
std::shared_ptr<DataServerHandler> KeepUntilExit(std::shared_ptr<DataServerHandler> handler) {
    static auto* kept = new std::vector<std::shared_ptr<DataServerHandler>>;
    kept->push_back(handler);
    return handler;
}

// Before the network's threads; null unless [metrics] addr is set. A lobby whose figures cannot be
// read serves all the same.
std::unique_ptr<MetricsEndpoint> OpenMetrics() {
    constexpr const char* tag = "LobbyServer::OpenMetrics";
    constexpr const ConfigKey& key = KeyOf("metrics", "addr");
    // Its length and one more; 0 without the key.
    if (m_ConfigFile.GetValueStr(key.section, key.name, nullptr, 0) <= 1) return nullptr;
    Endpoint endpoint;
    if (!ReadEndpoint(key.section, key.name, endpoint)) {
        __log(_ERROR, tag, "metrics 'addr' error, no metrics !");
        return nullptr;
    }
    std::string error;
    auto metrics = MetricsEndpoint::Open(endpoint.host, endpoint.port, error);
    if (error.empty()) {
        __log(_DEBUG, tag, "metrics success, host[%s], port[%d] !", endpoint.host, metrics->Port());
    } else {
        __log(_ERROR, tag, "metrics error, host[%s], port[%d], info[%s], no metrics !",
              endpoint.host, endpoint.port, error.c_str());
        ComplainConfig(key.section, key.name, error.c_str());
    }
    return metrics;
}

// A number below 0 counts as 0.
unsigned long ReadCount(const ConfigKey& key) {
    return static_cast<unsigned long>(std::max(ReadInt(m_ConfigFile, key), 0));
}

// A reserve never takes more than three quarters of the places.
long ReadReserve(int sendCount) {
    const auto reserve = static_cast<long>(ReadCount(KeyOf("network", "link_reserve")));
    return std::min(reserve, (sendCount > 0 ? sendCount : 100) * 3L / 4);
}

NetLimits ReadNetLimits(bool keepFullLinks) {
    return {.clientRecvCount = ReadCount(KeyOf("network", "CLIENT_RECV_COUNT")),
            .clientSendCount = ReadCount(KeyOf("network", "CLIENT_SEND_COUNT")),
            .keepFullLinks = keepFullLinks,
            .buffers = ReadCount(KeyOf("network", "buffer_budget")) * kBuffersPerMiB};
}

}  // namespace

LobbyServer::LobbyServer(NetParts parts) : GameProvider(std::move(parts)) {
    EventDispatcher::getInstance()->dispatchEvent(EVENT_GAME_START, nullptr, nullptr, 0);
    srandom(static_cast<unsigned>(ClockNow()));
    m_lTimer = ClockNow() + kKeepAliveSeconds;
    CreateHandlers();
    if (m_ConfigFile.InitFile("LobbyServer.cfg") == 0) {
        std::fprintf(stderr, "LobbyServer.cfg: cannot be read, or is empty\n");
    }
    loadSensitiveNameCfg();
    m_Limits = ReadLimits();
    SetProxyTrust(ReadProxies());
    m_lpMetrics = OpenMetrics();
    InitializeNetwork();
}

LobbyServer::~LobbyServer() {
    // A connect under way would hold the keeper, and with it the shutdown, for its whole time-out.
    CancelConnects();
    m_OnlineRegistry.BeginStop();
    m_Reconnect.Stop();
    Shutdown();
    m_OnlineRegistry.Stop();
    for (auto& activity : m_vecActivity) {
        activity->removeAllEventListener();
        m_pActivitySystem->RemoveActivityHandler(activity.get());
    }
    if (m_pActivitySystem != nullptr) m_pActivitySystem->SetGameProvider(nullptr);
    m_Links.Clear();
    m_Clients.reset();
    // The data server's handler stays, on purpose.
}

// The links in the order of the start.
void LobbyServer::CreateHandlers() {
    m_Clients = std::make_unique<LobbyClientHandler>(this);
    m_lpLobbyClientHandler = m_Clients.get();
    m_lpCenterServerHandler = m_Links.Add(std::make_shared<CenterServerHandler>(this));
    m_lpWebServerHandler = m_Links.Add(std::make_shared<WebServerHandler>(this));
    m_lpQueueServerHandler = m_Links.Add(std::make_shared<QueueServerHandler>(this));
    m_lpDataServerHandler = m_Links.Add(KeepUntilExit(std::make_shared<DataServerHandler>(this)));
    m_lpConfigServerHandler = m_Links.Add(std::make_shared<ConfigServerHandler>(this));
    m_lpLogServerHandler = m_Links.Add(std::make_shared<LogServerHandler>(this));
}

void LobbyServer::InitializeNetwork() {
    const int interval = ReadInt(m_ConfigFile, KeyOf("network", "interval"));
    const int timeout = ReadInt(m_ConfigFile, KeyOf("network", "timeout"));
    const int sendCount = ReadInt(m_ConfigFile, KeyOf("network", "MAX_SEND_COUNT"));
    const int recvCount = ReadInt(m_ConfigFile, KeyOf("network", "MAX_RECV_COUNT"));
    SetWakeup(ReadInt(m_ConfigFile, KeyOf("network", "wakeup")) != 0);
    SetReceiveBuffer(ReadInt(m_ConfigFile, KeyOf("network", "receive_buffer")));
    SetReusePort(ReadInt(m_ConfigFile, KeyOf("listen", "reuse_port")) != 0);
    SetWebSocket(ReadInt(m_ConfigFile, KeyOf("listen", "websocket")) != 0);
    const long reserve = ReadReserve(sendCount);
    m_Relays.SetReserve(reserve);
    m_Relays.SetStrangerRate(ReadCount(KeyOf("network", "stranger_rate")));
    SetLimits(ReadNetLimits(reserve > 0));
    m_iSendBulletinTime = ReadInt(m_ConfigFile, KeyOf("init", "sendbulletintime"));
    if (Initialize(recvCount, sendCount, interval, timeout, 0, 0, 0)) {
        __log(_DEBUG, "LobbyServer::LobbyServer",
              "interval[%d], timeout[%d], sendthreadcount[%d], recvthreadcount[%d]", interval,
              timeout, sendCount, recvCount);
        m_Reconnect.Start();
    } else {
        __log(_ERROR, "LobbyServer::LobbyServer",
              "GameProvider::Initialize() error ! interval[%d], timeout[%d], sendthreadcount[%d], "
              "recvthreadcount[%d]",
              interval, timeout, sendCount, recvCount);
    }
}

void LobbyServer::CancelConnects() {
    GameProvider::CancelConnects();
    m_LobbyRedisServer.CancelConnects();
}

long LobbyServer::Start() {
    m_pActivitySystem = ActivitySystem::getInstance();
    m_pActivitySystem->SetGameProvider(this);
    m_vecActivity.push_back(std::make_unique<Activity20171211>(this));
    m_vecActivity.push_back(std::make_unique<Activity20180901>(this));
    for (auto& activity : m_vecActivity)
        m_pActivitySystem->AddActivityHandler(activity.get());
    m_bTicking.store(true, std::memory_order_release);
    if (!m_Links.Connect()) return -1;
    m_lTimer = ClockNow() + kKeepAliveSeconds;
    return StartLobbyService();
}

IPlayerNode* LobbyServer::OnCreatePlayer() {
    auto* player = new LobbyPlayer;
    m_Nodes.Add(player);
    return player;
}

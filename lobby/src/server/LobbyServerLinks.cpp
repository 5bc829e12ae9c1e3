// Back-end links, the listener and Redis.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Common/Descriptors.h"
#include "Common/Log.h"
#include "ConfigKeys.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "Settings.h"

namespace {

// Descriptors beside the clients': links, Redis, log, reactors, and connections that are being
// closed while their successors are accepted.
constexpr rlim_t kSpareDescriptors = 512;

// Makes room for the configured number of clients; says so when the system does not allow it.
void AllowClients(int maxConnection) {
    const rlim_t needed = static_cast<rlim_t>(std::max(maxConnection, 0)) + kSpareDescriptors;
    const rlim_t allowed = RaiseDescriptorLimit(needed);
    if (allowed >= needed) return;
    __log(_ERROR, "LobbyServer::StartLobbyService",
          "descriptor limit [%lld] is below the [%lld] that maxconnection[%d] needs",
          static_cast<long long>(allowed), static_cast<long long>(needed), maxConnection);
    char what[160];
    std::snprintf(what, sizeof(what),
                  "%d clients need %lld descriptors, but the system allows only %lld",
                  maxConnection, static_cast<long long>(needed), static_cast<long long>(allowed));
    ComplainConfig("listen", "maxconnection", what);
}

const char* ErrorText(int error) {
    return error == NET_UNRESOLVED ? "the name cannot be resolved" : strerror(error);
}

void WarnOfSweepGuard(int maxConnection) {
    if (ReadInt(m_ConfigFile, KeyOf("log", "warnings")) == 0) return;
    const int interval = ReadInt(m_ConfigFile, KeyOf("network", "interval"));
    // The listener admits one client more than its limit; without sweeps nothing is visited.
    if (interval == -1 || maxConnection + 1L < SWEEP_GUARD) return;
    __log(_WARN, "LobbyServer::StartLobbyService",
          "maxconnection[%d] reaches the guard of the sweep: with [%ld] clients it suspends the "
          "message worker, nobody is served until a signal comes",
          maxConnection, SWEEP_GUARD);
}

constexpr int kIPv4 = 2, kStream = 1, kTcp = 6;
constexpr unsigned long kConnectTimeoutMs = 5000, kLinkConnections = 2000;

void ReportCreateFailure(const char* name, const Endpoint& endpoint, int error) {
    __log(_ERROR, "LobbyServer::ConnectServer",
          "Create() error, '%s', host[%s], port[%d], errno[%d], info[%s] !", name, endpoint.host,
          endpoint.port, error, ErrorText(error));
    if (error == ECANCELED) return;  // the process is ending
    char what[160];
    std::snprintf(what, sizeof(what), "cannot connect to %s:%d (%s)", endpoint.host, endpoint.port,
                  ErrorText(error));
    ComplainConfig("connect", name, what);
}

// The node is stored before anything can be reported on it. It stays stored when receiving fails:
// its close is then recognised as the link's and re-opens it.
bool BringUp(LobbyServer& server, const char* name, const Endpoint& endpoint, LinkNode& link,
             IPlayerNode* node) {
    link = node;
    if (!server.RecvData(node)) {
        __log(_ERROR, "LobbyServer::ConnectServer",
              "connect '%s', host[%s], port[%d], RecvData() error !, node = %08x", name,
              endpoint.host, endpoint.port, PtrTag(node));
        server.Close(node);
        return false;
    }
    __log(_DEBUG, "LobbyServer::ConnectServer",
          "connect '%s' success, host[%s], port[%d], node = %08x !", name, endpoint.host,
          endpoint.port, PtrTag(node));
    if (auto* metrics = LinkMetricsOf(name)) {
        metrics->connects.Add();
        metrics->up = true;
    }
    return true;
}

}  // namespace

LinkMetrics* LinkMetricsOf(const char* key) {
    auto* metrics = g_LobbyMetrics.Get();
    if (metrics == nullptr) return nullptr;
    const size_t row =
        FindLinkRow([key](const LinkRow& link) { return std::strcmp(link.key, key) == 0; });
    return row == LINKS ? nullptr : &metrics->links[row];
}

int64_t LobbyServer::ConnectServer(const char* name, LinkNode& node,
                                   const std::function<void()>& onUp) {
    if (node != nullptr) return 0;
    // Who accepts and hangs up would be dialled hundreds of times a second.
    if (node.WasUpJustNow()) return -1;
    Endpoint endpoint;
    if (!ReadEndpoint("connect", name, endpoint)) {
        __log(_ERROR, "LobbyServer::ConnectServer", "m_ConfigFile.GetValueStr() '%s' error !",
              name);
        return -1;
    }
    // Blocks up to the time-out, therefore without the lock.
    IPlayerNode* created = Create(false, endpoint.host, static_cast<unsigned short>(endpoint.port),
                                  kConnectTimeoutMs, kLinkConnections, kIPv4, kStream, kTcp);
    if (created == nullptr) {
        // Silent once the lobby listens: the keeper tries every second while a peer is away.
        if (m_lpLobbyServer == nullptr && !m_bDraining) ReportCreateFailure(name, endpoint, errno);
        if (auto* metrics = LinkMetricsOf(name)) metrics->failures.Add();
        return -1;
    }
    std::lock_guard lock(m_lockLink);
    if (node != nullptr) {  // somebody else was faster
        Close(created);
        return 0;
    }
    if (!BringUp(*this, name, endpoint, node, created)) return -1;
    if (onUp) onUp();
    return 0;
}

int64_t LobbyServer::ConnectServer(const char* name, IPlayerNode*& node) {
    LinkNode link;
    const int64_t result = ConnectServer(name, link);
    node = link;
    return result;
}

// Called for every close of a node that might be a link; says whether it was this one.
bool LobbyServer::CloseLink(LinkNode& link, IPlayerNode* node, bool bClosed, size_t row) {
    std::lock_guard lock(m_lockLink);
    if (node == nullptr || link != node) return false;
    __log(_ERROR, LINK_ROWS[row].tag, "%s has been closed ! bClosed[%d], node[0x%08x]",
          LINK_ROWS[row].peer, bClosed, PtrTag(node));
    // Down before the keeper hears of it, so that nobody sends on the closed node meanwhile.
    link = nullptr;
    if (auto* metrics = g_LobbyMetrics.Get()) {
        metrics->links[row].up = false;
        metrics->links[row].drops.Add();
    }
    m_Reconnect.SetParameter(this, LINK_ROWS[row].id);
    return true;
}

bool LobbyServer::Relay(const LobbyPlayer& asker, IPlayerNode* link, uint16_t type, void* data,
                        long length, bool login) {
    if (!m_Relays.MayAsk(asker, login)) {
        return m_Relays.Refuse(link, type, "clients without a login ask for too much");
    }
    const long reserve = m_Relays.Reserve(login);
    if (SendIfRoom(link, type, data, length, ENCODE_NONE, reserve)) return true;
    return reserve > 0 && m_Relays.Refuse(link, type, "the link does not keep up");
}

// The listener first: a lobby without Redis serves, a Redis without a listener is of no use.
int64_t LobbyServer::StartLobbyService() {
    Endpoint endpoint;
    // The borrowed tag is what log readers filter by.
    if (!ReadEndpoint("listen", "addr", endpoint)) {
        __log(_ERROR, "LobbyServer::StartLoginService",
              "m_ConfigFile.GetValueStr() 'addr' error !");
        return -1;
    }
    const int maxConnection = ReadInt(m_ConfigFile, KeyOf("listen", "maxconnection"));
    m_iPort = endpoint.port;
    AllowClients(maxConnection);
    WarnOfSweepGuard(maxConnection);
    m_lpLobbyServer = Create(true, endpoint.host, static_cast<unsigned short>(endpoint.port), 0,
                             maxConnection, kIPv4, kStream, kTcp);
    IPlayerNode* node = m_lpLobbyServer;
    if (node == nullptr) {
        const int error = errno;
        __log(_ERROR, "LobbyServer::StartLoginService",
              "GameProvider::Create() error, host[%s], port[%d], errno[%d], info[%s] !",
              endpoint.host, endpoint.port, error, ErrorText(error));
        ComplainConfig("listen", "addr", ErrorText(error));
        return -1;
    }
    int64_t result = -1;
    if (RecvData(node)) {
        __log(_DEBUG, "LobbyServer::StartLobbyService",
              "listen and start service success, host[%s], port[%d], node[0x%08x] !", endpoint.host,
              endpoint.port, PtrTag(node));
        result = 0;
    } else {
        __log(_ERROR, "LobbyServer::StartLobbyService",
              "GameProvider::RecvData() error !, node[0x%08x]", PtrTag(node));
        Close(node);
    }
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->serving = result == 0;
    if (!ConnectRedis()) __log(_ERROR, "StartLobbyService", "redis connect fail!");
    return result;
}

bool LobbyServer::ConnectRedis() {
    Endpoint endpoint;
    ReadEndpoint("Redis", "redis_server", endpoint);
    char szPasswd[KeyOf("Redis", "szPasswd").most + 1] = {};
    if (m_ConfigFile.GetValueStr("Redis", "szPasswd", szPasswd, sizeof(szPasswd)) >
        static_cast<int>(sizeof(szPasswd))) {
        ComplainConfig("Redis", "szPasswd", "longer than the 31 characters allowed");
    }
    const int timeout = ReadInt(m_ConfigFile, KeyOf("Redis", "timeout"));
    const int queueSize = ReadInt(m_ConfigFile, KeyOf("Redis", "msgque_size"));
    // First, lest the worker wait for connections that are up while others are being opened.
    if (endpoint.host[0] != '\0') m_OnlineRegistry.Start();
    const bool result =
        m_LobbyRedisServer.StartRedisServer(endpoint.host, endpoint.port, szPasswd, timeout);
    const RedisConnectError& error = m_LobbyRedisServer.StartError();
    if (!error.text.empty()) {
        ComplainConfig("Redis", error.password ? "szPasswd" : "redis_server", error.text.c_str());
    }
    __log(_DEBUG, "LobbyServer::ConnectRedis",
          "Create RedisThread Success que_size[%d], ip[%s], port[%d], passwd[%s], timeout[%d] "
          "result[%d]",
          queueSize, endpoint.host, endpoint.port, szPasswd, timeout, result);
    return result;
}

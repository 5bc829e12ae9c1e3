#include "LobbyRedisServer.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>

#include "Common/Log.h"

namespace {

constexpr unsigned int kCacheTypes = 2;
constexpr unsigned int kCacheType = 0;
constexpr unsigned int kPoolSize = 8;
constexpr int kMarkSeconds = 3 * 24 * 3600;
constexpr std::chrono::seconds kKeepalivePeriod{2};

// The key of a user, and where it lies.
struct UserMark {
    UserMark(xRedisClient& redis, int userId) : index(&redis) {
        std::snprintf(key, sizeof(key), "Lobby:OnLine:UserID:%d", userId);
        // Unplaced before StartRedisServer: the commands then fail, which is logged there.
        index.CreateDBIndex(key, APHashRedis, kCacheType);
    }

    char key[248] = {};
    RedisDBIdx index;
};

}  // namespace

unsigned int APHashRedis(const char* key) {
    uint32_t hash = 0;
    for (size_t i = 0; key[i] != '\0'; ++i) {
        // Sign-extended: that is the hash that all lobbies share.
        // NOLINTNEXTLINE(bugprone-signed-char-misuse)
        const auto c = static_cast<uint32_t>(static_cast<signed char>(key[i]));
        hash ^= i % 2 == 0 ? (hash << 7) ^ c ^ (hash >> 3) : ~((hash << 11) ^ c ^ (hash >> 5));
    }
    return hash & 0x7FFFFFFF;
}

LobbyRedisServer::~LobbyRedisServer() {
    {
        const std::lock_guard lock(m_lockStop);
        m_bStop = true;
    }
    m_condStop.notify_all();
    if (m_threadKeepalive.joinable()) m_threadKeepalive.join();
}

bool LobbyRedisServer::StartRedisServer(char* host, unsigned int port, char* passwd, int timeout) {
    const char* tag = "LobbyRedisServer::StartRedisServer";
    xRedis.Init(kCacheTypes);
    const RedisNode node{.dbindex = 0,
                         .host = host,
                         .port = port,
                         .passwd = passwd,
                         .poolsize = kPoolSize,
                         .timeout = static_cast<unsigned int>(std::max(timeout, 0)),
                         .role = 0};
    __log(_DEBUG, tag, "Start RedisList1 %d, %s, %d, %s, %d, %ld, %d",
          static_cast<int>(node.dbindex), host, static_cast<int>(port), passwd,
          static_cast<int>(node.poolsize), static_cast<long>(timeout), static_cast<int>(node.role));

    if (!xRedis.ConnectRedisCache(&node, 1, kCacheType)) {
        __log(_ERROR, tag, "GameRedis::Start ip:port[%s:%d] failed", host, static_cast<int>(port));
    }
    __log(_DEBUG, tag, "GameRedis::Start ip:port[%s:%d]", host, static_cast<int>(port));
    StartKeepalive();
    return true;  // without Redis too: the lobby starts, the keep-alive thread finds it later
}

// The thread takes no signals: SIGTERM must wake the main thread.
void LobbyRedisServer::StartKeepalive() {
    if (m_threadKeepalive.joinable()) return;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_threadKeepalive = std::thread(&LobbyRedisServer::KeepaliveLoop, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void LobbyRedisServer::KeepaliveLoop() {
    std::unique_lock lock(m_lockStop);
    while (!m_condStop.wait_for(lock, kKeepalivePeriod, [this] { return m_bStop; })) {
        lock.unlock();
        xRedis.Keepalive();
        lock.lock();
    }
}

int32_t LobbyRedisServer::IsLobbyOnline(int userId) {
    UserMark mark(xRedis, userId);
    const bool online = xRedis.exists(mark.index, mark.key);
    if (online) {
        __log(_DEBUG, "LobbyRedisServer::IsLobbyOnline", "userid[%d] lobby online", userId);
    }
    return online ? 1 : 0;
}

int32_t LobbyRedisServer::InsertLobbyOnline(int userId) {
    const char* tag = "LobbyRedisServer::InsertLobbyOnline";
    UserMark mark(xRedis, userId);
    const bool stored = xRedis.setex(mark.index, mark.key, kMarkSeconds, "1");
    if (stored) {
        __log(_DEBUG, tag, "insert lobby online info userid[%d] success!", userId);
    } else {
        __log(_ERROR, tag, "insert lobby online info userid[%d] failed!", userId);
    }
    return stored ? 1 : 0;
}

int32_t LobbyRedisServer::DelLobbyOnline(int userId) {
    const char* tag = "LobbyRedisServer::DelLobbyOnline";
    UserMark mark(xRedis, userId);
    if (!xRedis.exists(mark.index, mark.key)) {
        __log(_ERROR, tag, "key: %s 不存在", mark.key);
        return 0;
    }
    // Before the deletion, as the line has always stood.
    __log(_DEBUG, tag, "userid: %d del lobby onlineinfo sucess!", userId);
    if (!xRedis.del(mark.index, mark.key)) {
        __log(_ERROR, tag, "userid: %d del lobby onlineinfo failed!", userId);
        return 0;
    }
    return 1;
}

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

// Between two passes, at least.
constexpr std::chrono::milliseconds kKeepalivePause{100};
constexpr const char* kMark = "1";

void FormatKey(char* key, size_t size, int userId) {
    std::snprintf(key, size, "Lobby:OnLine:UserID:%d", userId);
}

void LogOnline(int userId) {
    __log(_DEBUG, "LobbyRedisServer::IsLobbyOnline", "userid[%d] lobby online", userId);
}

void LogStored(int userId, bool stored) {
    const char* tag = "LobbyRedisServer::InsertLobbyOnline";
    if (stored) {
        __log(_DEBUG, tag, "insert lobby online info userid[%d] success!", userId);
    } else {
        __log(_ERROR, tag, "insert lobby online info userid[%d] failed!", userId);
    }
}

// Of a user who leaves; before the deletion, as the line has always stood.
void LogFound(int userId, const char* key, bool found) {
    const char* tag = "LobbyRedisServer::DelLobbyOnline";
    if (found) {
        __log(_DEBUG, tag, "userid: %d del lobby onlineinfo sucess!", userId);
    } else {
        __log(_ERROR, tag, "key: %s 不存在", key);
    }
}

void LogNotDeleted(int userId) {
    __log(_ERROR, "LobbyRedisServer::DelLobbyOnline", "userid: %d del lobby onlineinfo failed!",
          userId);
}

// The key of a user, and where it lies.
struct UserMark {
    UserMark(xRedisClient& redis, int userId) : index(&redis) {
        FormatKey(key, sizeof(key), userId);
        // Unplaced before StartRedisServer: the commands then fail, which is logged there.
        index.CreateDBIndex(key, APHashRedis, kCacheType);
    }

    char key[248] = {};
    RedisDBIdx index;
};

}  // namespace

std::thread ThreadWithoutSignals(std::function<void()> run) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(std::move(run));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

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
        const LockGuard lock(m_lockStop);
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

void LobbyRedisServer::StartKeepalive() {
    if (m_threadKeepalive.joinable()) return;
    m_threadKeepalive = ThreadWithoutSignals([this] { KeepaliveLoop(); });
}

void LobbyRedisServer::KeepaliveLoop() {
    WaitLock lock(m_lockStop);
    const auto due = [this]() NEEDS_LOCK(m_lockStop) { return m_bStop || m_bHurry; };
    const auto stopped = [this]() NEEDS_LOCK(m_lockStop) { return m_bStop; };
    while (!m_condStop.wait_for(lock, kKeepalivePeriod, due) || !m_bStop) {
        m_bHurry = false;
        lock.unlock();
        xRedis.Keepalive();
        lock.lock();
        // However many operations ask for the next.
        if (m_condStop.wait_for(lock, kKeepalivePause, stopped)) return;
    }
}

// Rather than leave what was lost out of use for a whole period.
void LobbyRedisServer::HurryKeepalive() {
    if (!xRedis.WantsKeepalive()) return;
    {
        const LockGuard lock(m_lockStop);
        m_bHurry = true;
    }
    m_condStop.notify_all();
}

int32_t LobbyRedisServer::IsLobbyOnline(int userId) {
    UserMark mark(xRedis, userId);
    const bool online = xRedis.exists(mark.index, mark.key);
    if (online) LogOnline(userId);
    HurryKeepalive();
    return online ? 1 : 0;
}

int32_t LobbyRedisServer::InsertLobbyOnline(int userId) {
    UserMark mark(xRedis, userId);
    const bool stored = xRedis.setex(mark.index, mark.key, kMarkSeconds, kMark);
    LogStored(userId, stored);
    HurryKeepalive();
    return stored ? 1 : 0;
}

int32_t LobbyRedisServer::DelLobbyOnline(int userId) {
    UserMark mark(xRedis, userId);
    const bool found = xRedis.exists(mark.index, mark.key);
    LogFound(userId, mark.key, found);
    const bool deleted = found && xRedis.del(mark.index, mark.key);
    if (found && !deleted) LogNotDeleted(userId);
    HurryKeepalive();
    return deleted ? 1 : 0;
}

// All keys lie in the one slice there is.
void LobbyRedisServer::RunRequests(MarkRequests& work) {
    if (work.requests.empty()) return;
    RedisDBIdx index(&xRedis);
    index.CreateDBIndex(work.requests.front().key.data(), APHashRedis, kCacheType);
    xRedis.Run(index, work.requests.data(), work.requests.size());
}

// First every task's test in one round trip, then in a second what the answers call for.
void LobbyRedisServer::Run(MarkTask* const* tasks, size_t count, MarkRequests& work) {
    using Verb = RedisRequest::Verb;
    work.keys.resize(count);
    work.requests.clear();
    for (size_t i = 0; i < count; ++i) {
        auto& key = work.keys[i];
        FormatKey(key.data(), key.size(), tasks[i]->userId);
        work.requests.push_back({.verb = Verb::Exists, .key = key.data()});
    }
    RunRequests(work);
    for (size_t i = 0; i < count; ++i) {
        tasks[i]->online = work.requests[i].done;
        tasks[i]->stays = !tasks[i]->enters && !work.requests[i].answered;
    }

    work.requests.clear();
    work.tasks.clear();
    for (size_t i = 0; i < count; ++i) {
        MarkTask& task = *tasks[i];
        const char* key = work.keys[i].data();
        if (!task.enters) LogFound(task.userId, key, task.online);
        if (task.enters && task.online) LogOnline(task.userId);
        if (task.enters == task.online) continue;
        work.tasks.push_back(&task);
        work.requests.push_back({.verb = task.enters ? Verb::Setex : Verb::Del,
                                 .key = key,
                                 .seconds = kMarkSeconds,
                                 .value = kMark});
    }
    RunRequests(work);
    for (size_t i = 0; i < work.tasks.size(); ++i)
        FinishTask(*work.tasks[i], work.requests[i]);
    HurryKeepalive();
}

void LobbyRedisServer::FinishTask(MarkTask& task, const RedisRequest& request) {
    if (task.enters) {
        task.stored = request.done;
        LogStored(task.userId, request.done);
        return;
    }
    task.stays = !request.answered || request.refused;
    if (!request.done) LogNotDeleted(task.userId);
}

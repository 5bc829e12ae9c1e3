// The lobby's entry in the platform-wide registry of online players, kept in Redis.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

#include "Common/ThreadSafety.h"
#include "xredis/xRedisClient.h"

// AP hash with a zero seed, cut to 31 bits. Other services place keys by it, so it is frozen.
unsigned int APHashRedis(const char* key);

// A thread that takes no signals: SIGTERM must wake the main thread.
std::thread ThreadWithoutSignals(std::function<void()> run);

// A user who enters a lobby or leaves it, for LobbyRedisServer::Run, and what came of it.
struct MarkTask {
    int userId = 0;
    bool enters = false;
    bool online = false;  // there was a mark before
    bool stored = false;  // entering: the mark was set
    bool stays = false;   // leaving: Redis did not say that the mark is gone
};

// What Run works with, kept from one to the next so that it need not be allocated.
struct MarkRequests {
    std::vector<std::array<char, 48>> keys;
    std::vector<RedisRequest> requests;
    std::vector<MarkTask*> tasks;  // of the requests, in the second round trip
};

// Sets, tests and clears the mark "Lobby:OnLine:UserID:<id>" of a user who is in a lobby.
//
// Owns the client pool and the thread that keeps its connections alive. Held by value in
// LobbyServer. Without Redis every operation reports 0 and logs; it takes at most
// 2 * kRedisCommandTimeoutMs once, then fails at once until Redis is back, which the keep-alive
// thread notices within its period, also when Redis was not there at the start; at once, when an
// operation met a lost connection or a Redis that is away.
//
// Thread: any, except where said. The operations fit a stack of 16 KiB.
class LobbyRedisServer {
  public:
    LobbyRedisServer() = default;
    // Ends and joins the keep-alive thread, within about a second when Redis hangs. Main thread;
    // no operation may be under way.
    virtual ~LobbyRedisServer();
    LobbyRedisServer(const LobbyRedisServer&) = delete;
    LobbyRedisServer& operator=(const LobbyRedisServer&) = delete;

    // Connects the pool and starts the keep-alive thread. Always true, also when Redis could not
    // be reached: the lobby starts without it. The host may be a name. Blocks up to `timeout`
    // seconds where the host swallows connects. Main thread; others may already call the
    // operations, which fail until a connection is up.
    bool StartRedisServer(char* host, unsigned int port, char* passwd, int timeout);

    // Why StartRedisServer found no Redis; without text when it did, or nothing is configured. Main
    // thread.
    const RedisConnectError& StartError() const { return xRedis.ConnectError(); }

    // 1 when the user has a mark, set by this or another lobby; else 0.
    int32_t IsLobbyOnline(int userId);

    // Sets the mark for three days, or renews it: a lobby that dies leaves no mark for longer.
    // 1 when stored, else 0.
    int32_t InsertLobbyOnline(int userId);

    // 1 when the mark was there and is gone, else 0.
    int32_t DelLobbyOnline(int userId);

    // For each task what the operations do one after the other, with the same log lines: who enters
    // is tested, and marked unless there is a mark; who leaves is tested, and his mark deleted. In
    // two round trips for all; no positive id may be there twice. One thread with one MarkRequests.
    void Run(MarkTask* const* tasks, size_t count, MarkRequests& work);

    // Ends a StartRedisServer that waits for a host which swallows connects. Any thread.
    void CancelConnects() { xRedis.CancelConnects(); }

  private:
    void StartKeepalive();
    void KeepaliveLoop();
    void HurryKeepalive();
    void RunRequests(MarkRequests& work);
    void FinishTask(MarkTask& task, const RedisRequest& request);

    xRedisClient xRedis;

    std::thread m_threadKeepalive;  // main thread only
    Mutex m_lockStop;
    std::condition_variable m_condStop;
    bool m_bStop GUARDED_BY(m_lockStop) = false;
    bool m_bHurry GUARDED_BY(m_lockStop) = false;  // a pass is due before its time
};

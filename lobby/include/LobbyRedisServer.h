// The lobby's entry in the platform-wide registry of online players, kept in Redis.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "xredis/xRedisClient.h"

// AP hash with a zero seed, cut to 31 bits. Other services place keys by it, so it is frozen.
unsigned int APHashRedis(const char* key);

// Sets, tests and clears the mark "Lobby:OnLine:UserID:<id>" of a user who is in a lobby.
//
// Owns the client pool and the thread that keeps its connections alive. Held by value in
// LobbyServer. Without Redis every operation reports 0 and logs; it takes at most
// 2 * kRedisCommandTimeoutMs once, then fails at once until Redis is back, which the keep-alive
// thread notices within its period, also when Redis was not there at the start.
//
// Thread: the message worker, except where said. The operations fit its 16 KiB stack.
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
    // seconds where the host swallows connects. Main thread; the worker may already call the
    // operations, which fail until a connection is up.
    bool StartRedisServer(char* host, unsigned int port, char* passwd, int timeout);

    // 1 when the user has a mark, set by this or another lobby; else 0.
    int32_t IsLobbyOnline(int userId);

    // Sets the mark for three days, or renews it: a lobby that dies leaves no mark for longer.
    // 1 when stored, else 0.
    int32_t InsertLobbyOnline(int userId);

    // 1 when the mark was there and is gone, else 0.
    int32_t DelLobbyOnline(int userId);

    // Ends a StartRedisServer that waits for a host which swallows connects. Any thread.
    void CancelConnects() { xRedis.CancelConnects(); }

  private:
    void StartKeepalive();
    void KeepaliveLoop();

    xRedisClient xRedis;

    std::thread m_threadKeepalive;  // main thread only
    std::mutex m_lockStop;
    std::condition_variable m_condStop;
    bool m_bStop = false;  // guarded by m_lockStop
};

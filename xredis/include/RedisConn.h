// One connection to a Redis server.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "RedisExchange.h"
#include "xredis/xRedisClient.h"

// Owns its hiredis context and a copy of all it takes to connect anew, so that a connection that
// could not be opened stays in its list until the server is there.
// Thread: whoever has taken it out of its list; never two at once.
class RedisConn {
  public:
    RedisConn(const RedisNode& node, unsigned int type, unsigned int slaveIdx);

    // Connects and authenticates, within the node's own time-out, or half a second after
    // `cancelled` was set. The outcome is Usable().
    bool Connect(const std::atomic<bool>& cancelled);

    // Pings; without a reply connects anew, in bounded time, and keeps the old context until the
    // new one has answered a ping: a hung server still accepts. False when the server is away.
    bool Refresh();

    // Sends all the requests, then notes each reply in its request. They are answered in their
    // order; unless all were, the connection is unusable until Refresh.
    RedisOutcome Run(RedisRequest* requests, size_t count);

    // False, and unusable, once the server has ended the connection while it was idle.
    bool StillOpen();

    // The last connect, ping or command was answered. Also read under the lock of the list.
    bool Usable() const { return mConnStatus; }

    // Of the last connect that failed.
    const RedisConnectError& Error() const { return mError; }

    bool IsSlave() const { return mRole != 0; }
    unsigned int SlaveIdx() const { return mSlaveIdx; }
    const char* Host() const { return mHost.c_str(); }
    unsigned int Port() const { return mPort; }

  private:
    // Null, and the reason noted, when the server cannot be reached or rejects the password.
    RedisContextPtr Open(std::chrono::milliseconds timeout);

    RedisContextPtr mCtx;
    std::string mBytes;  // of the commands under way; keeps its room
    const std::string mHost;
    const unsigned int mPort;
    const std::string mPass;
    const unsigned int mTimeout;  // seconds
    const unsigned int mPoolsize;
    const unsigned int mType;
    const unsigned int mDbindex;
    const unsigned int mRole;
    const unsigned int mSlaveIdx;
    bool mConnStatus = false;
    RedisConnectError mError;
};

using RedisConnPtr = std::unique_ptr<RedisConn>;

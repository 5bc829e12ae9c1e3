// One slice of a cache: the connections to the server that holds its keys, and to its slaves.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <vector>

#include "RedisConn.h"

// The idle connections to one server. All of it is guarded by the lock of the list's owner.
struct RedisConnList {
    std::vector<RedisConnPtr> idle;  // lent from the front, returned to the end
    bool alive = false;              // else nothing is lent: the server does not answer
    unsigned int pinged = 0;         // connections that Keepalive holds at the moment
    unsigned int lent = 0;           // connections that commands hold
    std::condition_variable returned;

    size_t Count(bool usable) const;
    // The first connection of that state, null if none.
    RedisConnPtr Take(bool usable);
    // No connection is usable, none that is away at the moment either.
    bool AllLost() const { return pinged == 0 && lent == 0 && Count(true) == 0; }
};

// The lists of a slice with their locks.
struct RedisSliceConn {
    std::mutex MasterLock;
    RedisConnList RedisMasterConn;
    std::mutex SlaveLock;  // guards the deque too; it only grows, so lists keep their address
    std::deque<RedisConnList> RedisSlaveConn;
};

// Owns its connections, also through the time they are lent. One on which nothing comes in time, or
// the loss of the last, takes its list out of use until Keepalive has an answer from the server, so
// that callers do not wait for a time-out each. One that is lost is left out alone. Locks are held
// for list work only, never over network traffic.
// Thread: any.
class RedisDBSlice {
  public:
    RedisDBSlice(unsigned int type, unsigned int dbindex) : mType(type), mDbindex(dbindex) {}

    // Adds the node's connections. `connect` opens them, up to the first that fails; Keepalive
    // opens the others later. True when at least one is open; otherwise `error` says why.
    bool AddNode(const RedisNode& node, bool connect, const std::atomic<bool>& cancelled,
                 RedisConnectError* error = nullptr);

    // Lends a connection: I/O type 0, or no slaves: of the master; 1: of a random slave. Null if
    // none is free or the server does not answer. Waits only for one that is just being pinged,
    // at most kRedisCommandTimeoutMs. Those that the server has ended meanwhile are passed over.
    RedisConnPtr GetConn(unsigned int ioType);

    // Takes a lent connection back, with what became of it.
    void FreeConn(RedisConnPtr conn, RedisOutcome outcome);

    // Pings the idle connections one after the other, then reconnects the broken ones. Ends at
    // the first that cannot be revived: the next would only cost the same time-outs.
    void Keepalive();

    // 1 once a connection was opened, 2 after a request found no free master connection.
    unsigned int Status() const { return mStatus; }

    // True once after a connection became unusable: Keepalive would not come too early.
    bool TakeAiling() { return mAiling.load() && mAiling.exchange(false); }

  private:
    RedisConnPtr TakeFrom(RedisConnList& list, std::unique_lock<std::mutex>& lock);
    void Add(RedisConnList& list, std::mutex& mutex, RedisConnPtr conn);
    void KeepaliveList(RedisConnList& list, std::mutex& mutex);
    bool RefreshOne(RedisConnList& list, std::mutex& mutex, bool usable, bool& answered);
    void LogAlive(const RedisConn& conn, bool alive) const;

    RedisSliceConn mSliceConn;
    std::atomic<bool> mHaveSlave{false};
    std::atomic<bool> mAiling{false};
    const unsigned int mType;
    const unsigned int mDbindex;
    std::atomic<unsigned int> mStatus{0};
};

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
    std::condition_variable returned;

    size_t Count(bool usable) const;
    // The first connection of that state, null if none.
    RedisConnPtr Take(bool usable);
};

// The lists of a slice with their locks.
struct RedisSliceConn {
    std::mutex MasterLock;
    RedisConnList RedisMasterConn;
    std::mutex SlaveLock;  // guards the deque too; it only grows, so lists keep their address
    std::deque<RedisConnList> RedisSlaveConn;
};

// Owns its connections, also through the time they are lent. One that fails a command takes its
// list out of use until Keepalive has an answer from the server, so that callers do not wait for
// a time-out each. Locks are held for list work only, never over network traffic.
// Thread: any.
class RedisDBSlice {
  public:
    RedisDBSlice(unsigned int type, unsigned int dbindex) : mType(type), mDbindex(dbindex) {}

    // Adds the node's connections. `connect` opens them, up to the first that fails; Keepalive
    // opens the others later. True when at least one is open.
    bool AddNode(const RedisNode& node, bool connect, const std::atomic<bool>& cancelled);

    // Lends a connection: I/O type 0, or no slaves: of the master; 1: of a random slave. Null if
    // none is free or the server does not answer. Waits only for one that is just being pinged,
    // at most kRedisCommandTimeoutMs.
    RedisConnPtr GetConn(unsigned int ioType);

    // Takes a lent connection back; `replied` tells whether its command got a reply.
    void FreeConn(RedisConnPtr conn, bool replied);

    // Pings the idle connections one after the other, then reconnects the broken ones. Ends at
    // the first that cannot be revived: the next would only cost the same time-outs.
    void Keepalive();

    // 1 once a connection was opened, 2 after a request found no free master connection.
    unsigned int Status() const { return mStatus; }

  private:
    RedisConnPtr TakeFrom(RedisConnList& list, std::unique_lock<std::mutex>& lock);
    void Add(RedisConnList& list, std::mutex& mutex, RedisConnPtr conn);
    void KeepaliveList(RedisConnList& list, std::mutex& mutex);
    bool RefreshOne(RedisConnList& list, std::mutex& mutex, bool usable, bool& answered);
    void LogAlive(const RedisConn& conn, bool alive) const;

    RedisSliceConn mSliceConn;
    std::atomic<bool> mHaveSlave{false};
    const unsigned int mType;
    const unsigned int mDbindex;
    std::atomic<unsigned int> mStatus{0};
};

// One slice of a cache: the connections to the server that holds its keys, and to its slaves.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <vector>

#include "Common/ThreadSafety.h"
#include "RedisConn.h"

// The idle connections to one server, under its owner's lock.
struct RedisConnList {
    explicit RedisConnList(Mutex& owners) : lock(owners) {}

    Mutex& lock;
    std::vector<RedisConnPtr> idle GUARDED_BY(lock);  // lent from the front, returned to the end
    bool alive GUARDED_BY(lock) = false;       // else nothing is lent: the server does not answer
    unsigned int pinged GUARDED_BY(lock) = 0;  // connections that Keepalive holds at the moment
    unsigned int lent GUARDED_BY(lock) = 0;    // connections that commands hold
    std::condition_variable returned;

    size_t Count(bool usable) const NEEDS_LOCK(lock);
    // The first connection of that state, null if none.
    RedisConnPtr Take(bool usable) NEEDS_LOCK(lock);
    // No connection is usable, none that is away at the moment either.
    bool AllLost() const NEEDS_LOCK(lock) { return pinged == 0 && lent == 0 && Count(true) == 0; }
};

// The lists of a slice with their locks: the master's, and one for all slaves. The deque only
// grows, so that a list keeps its address once it was looked up.
struct RedisSliceConn {
    Mutex MasterLock;
    RedisConnList RedisMasterConn{MasterLock};
    Mutex SlaveLock;
    std::deque<RedisConnList> RedisSlaveConn GUARDED_BY(SlaveLock);
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
    // A slave's list, by a number that counts on from the last; null where there are none.
    RedisConnList* SlaveAt(size_t number);
    RedisConnPtr TakeFrom(RedisConnList& list);
    void Add(RedisConnList& list, RedisConnPtr conn);
    void KeepaliveList(RedisConnList& list);
    bool RefreshOne(RedisConnList& list, bool usable, bool& answered);
    void LogAlive(const RedisConn& conn, bool alive) const;

    RedisSliceConn mSliceConn;
    std::atomic<bool> mHaveSlave{false};
    std::atomic<bool> mAiling{false};
    const unsigned int mType;
    const unsigned int mDbindex;
    std::atomic<unsigned int> mStatus{0};
};

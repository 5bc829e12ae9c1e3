// Public header: the client of a pool of Redis connections.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class RedisPool;
class xRedisClient;

// One Redis server of a cache.
struct _REDIS_NODE_ {
    unsigned int dbindex;  // the slice it serves, below the number of nodes of the cache
    const char* host;      // numeric address or name; copied by ConnectRedisCache
    unsigned int port;
    const char* passwd;     // empty or null: no AUTH
    unsigned int poolsize;  // connections to open
    unsigned int timeout;   // of the first connect, in whole seconds
    unsigned int role;      // 0 master, 1 slave
};
using RedisNode = _REDIS_NODE_;

// Why a server could not be connected.
struct RedisConnectError {
    std::string text;       // hiredis' or the server's reason; empty if none
    bool password = false;  // it does not take the password
};

// Spreads keys over the slices of a cache.
using HASHFUN = unsigned int (*)(const char* key);

// One of several commands that go out together, and what came of it. The texts are the caller's.
struct RedisRequest {
    enum class Verb : uint8_t { Exists, Del, Setex };

    Verb verb;
    std::string_view key;
    int seconds = 0;  // SETEX
    std::string_view value{};

    bool answered = false;  // Redis replied, if only with an error
    bool done = false;      // EXISTS, DEL: the key was there; SETEX: stored
    bool refused = false;   // the reply was an error
    std::string error{};    // its text
};

// Where one request goes, and why it failed. Made per request on the caller's stack.
// Owns its error text; points at the client, which must outlive it. Thread: one at a time.
class RedisDBIdx {
  public:
    explicit RedisDBIdx(xRedisClient* client) : mClient(client) {}

    // Chooses the slice, hash(key) modulo the cache's slice count. False if the cache type is
    // unknown or has no slices, or there is no hash function: commands with this index then fail.
    bool CreateDBIndex(const char* key, HASHFUN hash, unsigned int type);

    // 0 (the default) asks the master, 1 a slave if the slice has any; above 1 every command fails.
    void SetIOType(unsigned int type);

    // The reason of the last failure; empty if none.
    const std::string& GetErrInfo() const { return mStrerr; }

  private:
    friend class xRedisClient;

    // Beyond every slice until CreateDBIndex succeeds.
    unsigned int mType = ~0U;
    unsigned int mIndex = ~0U;
    std::string mStrerr;
    xRedisClient* mClient;
    unsigned int mIOtype = 0;
    bool mIOFlag = false;  // the I/O type was chosen by the caller
};

// Pools of connections to one or more Redis servers. Owns the pool. Not copyable.
//
// A command never connects and never waits longer than kRedisCommandTimeoutMs for its answer. When
// its connection is lost meanwhile it is tried once more, on another one. A server that does not
// answer in time, or the loss of all connections, takes its slice out of use: commands then fail at
// once, without anything being sent, until Keepalive finds the server again.
//
// Thread: any for commands and Keepalive. Init and ConnectRedisCache belong to one thread, which
// may still be in them while others issue commands; those fail until a connection is up.
// Commands fit a 16 KiB stack; ConnectRedisCache and Keepalive resolve names and do not.
class xRedisClient {
  public:
    xRedisClient() = default;
    // Closes all pools; no command or Keepalive may be under way.
    ~xRedisClient();
    xRedisClient(const xRedisClient&) = delete;
    xRedisClient& operator=(const xRedisClient&) = delete;

    // Creates the pool with this many caches. False if it exists or the number is above 128.
    bool Init(unsigned int typeCount);

    // Gives the cache `count` slices, in place of any it had, and connects each node in order into
    // its slice. A node is connected when its first connection is; false at the first that is not.
    // Connections that failed stay in the pool, and Keepalive opens them later. True for no nodes.
    // Blocks up to the node's time-out where a host swallows connects.
    bool ConnectRedisCache(const RedisNode* nodes, unsigned int count, unsigned int type);

    // Of the last ConnectRedisCache that failed. The thread that called it.
    const RedisConnectError& ConnectError() const { return mConnectError; }

    // Ends a ConnectRedisCache under way, and every later one, within half a second. Any thread.
    void CancelConnects() { mCancelled = true; }

    // Pings every idle connection and reconnects those that do not answer; to be called every few
    // seconds on a thread that may block: a pass over a dead list of connections takes up to a
    // second. No lock is held meanwhile, so commands go on.
    void Keepalive();

    // True once after a connection became unusable or a command found none: Keepalive may be called
    // early. Any thread.
    bool WantsKeepalive() { return mAiling.load() && mAiling.exchange(false); }

    // Sends the requests together on one connection of the index's slice, so that all wait for one
    // round trip, and notes what came of each. Redis deals with them in their order. The index
    // keeps the reason of the last failure.
    void Run(RedisDBIdx& index, RedisRequest* requests, size_t count);

    // EXISTS key: true when the key is there.
    bool exists(RedisDBIdx& index, std::string_view key);

    // DEL key: true when it was there.
    bool del(RedisDBIdx& index, std::string_view key);

    // SETEX key seconds value: true when stored.
    bool setex(RedisDBIdx& index, std::string_view key, int seconds, std::string_view value);

  private:
    friend class RedisDBIdx;

    bool RunOne(RedisDBIdx& index, const RedisRequest& request);

    // Published by Init, read by any thread; deleted by the destructor.
    std::atomic<RedisPool*> mRedisPool{nullptr};
    std::atomic<bool> mCancelled{false};
    std::atomic<bool> mAiling{false};
    RedisConnectError mConnectError;
};

// How long a command, an AUTH or a PING waits for its answer.
inline constexpr int kRedisCommandTimeoutMs = 300;

// How long Keepalive waits for a connect; shorter than a node's own time-out, so that the thread
// that calls it can always be joined soon.
inline constexpr int kRedisReconnectTimeoutMs = 500;

#include "xredis/xRedisClient.h"

#include <utility>

#include "RedisPool.h"
#include "xredis/RedisMetrics.h"

namespace {

constexpr unsigned int kMaxCacheTypes = 128;

void CountFault(RedisFault fault) {
    if (auto* metrics = g_RedisMetrics.Get()) metrics->CountFault(fault);
}

// Of requests that have their reply.
void NoteReply(const RedisRequest& request, std::string& error) {
    if (!request.refused) return;
    CountFault(RedisFault::Refused);
    error = request.error;
}

}  // namespace

bool RedisDBIdx::CreateDBIndex(const char* key, HASHFUN hash, unsigned int type) {
    const RedisPool* pool = mClient->mRedisPool.load();
    const RedisCache* cache = pool != nullptr ? pool->GetCache(type) : nullptr;
    const unsigned int slices = cache != nullptr ? cache->HashBase() : 0;
    if (slices == 0 || hash == nullptr) return false;
    mType = type;
    mIndex = hash(key) % slices;
    return true;
}

void RedisDBIdx::SetIOType(unsigned int type) {
    mIOtype = type;
    mIOFlag = true;
}

xRedisClient::~xRedisClient() {
    delete mRedisPool.load();
}

bool xRedisClient::Init(unsigned int typeCount) {
    if (mRedisPool.load() != nullptr || typeCount > kMaxCacheTypes) return false;
    mRedisPool = new RedisPool(typeCount);
    return true;
}

bool xRedisClient::ConnectRedisCache(const RedisNode* nodes, unsigned int count,
                                     unsigned int type) {
    const RedisPool* pool = mRedisPool.load();
    RedisCache* cache = pool != nullptr ? pool->GetCache(type) : nullptr;
    return cache != nullptr && cache->ConnectNodes(nodes, count, mCancelled, mConnectError);
}

void xRedisClient::Keepalive() {
    RedisPool* pool = mRedisPool.load();
    if (pool != nullptr) pool->Keepalive();
}

// A connection that the server ended while it was idle is noticed by the first command on it.
// Nothing was done for what has no reply then, so that is sent once more, on another connection;
// not so where the server kept silent, for it may be at work on it.
void xRedisClient::Run(RedisDBIdx& index, RedisRequest* requests, size_t count) {
    constexpr int kAttempts = 2;
    const RedisPool* pool = mRedisPool.load();
    const RedisCache* cache = pool != nullptr ? pool->GetCache(index.mType) : nullptr;
    const auto slice = cache != nullptr ? cache->GetSlice(index.mIndex) : nullptr;
    size_t replies = 0;
    RedisFault fault = RedisFault::NoConnection;
    auto outcome = RedisOutcome::Lost;
    for (int i = 0; i < kAttempts && outcome == RedisOutcome::Lost && replies < count; ++i) {
        RedisConnPtr conn = slice ? slice->GetConn(index.mIOFlag ? index.mIOtype : 0) : nullptr;
        if (!conn) break;
        fault = RedisFault::NoReply;
        outcome = conn->Run(requests + replies, count - replies);
        slice->FreeConn(std::move(conn), outcome);
        for (; replies < count && requests[replies].answered; ++replies)
            NoteReply(requests[replies], index.mStrerr);
    }
    const bool ailing = slice && (slice->TakeAiling() || fault == RedisFault::NoConnection);
    if (ailing) mAiling = true;
    if (replies == count) return;
    index.mStrerr =
        fault == RedisFault::NoReply ? "redis connection be closed" : "get connection error";
    for (; replies < count; ++replies)
        CountFault(fault);
}

bool xRedisClient::RunOne(RedisDBIdx& index, const RedisRequest& request) {
    RedisRequest copy = request;
    Run(index, &copy, 1);
    return copy.done;
}

bool xRedisClient::exists(RedisDBIdx& index, std::string_view key) {
    return RunOne(index, {.verb = RedisRequest::Verb::Exists, .key = key});
}

bool xRedisClient::del(RedisDBIdx& index, std::string_view key) {
    return RunOne(index, {.verb = RedisRequest::Verb::Del, .key = key});
}

bool xRedisClient::setex(RedisDBIdx& index, std::string_view key, int seconds,
                         std::string_view value) {
    return RunOne(
        index, {.verb = RedisRequest::Verb::Setex, .key = key, .seconds = seconds, .value = value});
}

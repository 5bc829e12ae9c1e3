#include "xredis/xRedisClient.h"

#include <strings.h>

#include <array>
#include <chrono>
#include <cstdio>

#include "RedisPool.h"
#include "xredis/RedisMetrics.h"

namespace {

constexpr unsigned int kMaxCacheTypes = 128;

void CountFault(RedisFault fault) {
    if (auto* metrics = g_RedisMetrics.Get()) metrics->CountFault(fault);
}

// The command on that connection, its duration counted.
RedisReplyPtr Measured(RedisConn& conn, int argc, const std::string_view* argv) {
    auto* metrics = g_RedisMetrics.Get();
    if (metrics == nullptr) return conn.Command(argc, argv);
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    RedisReplyPtr reply = conn.Command(argc, argv);
    metrics->latency.Add(
        static_cast<uint64_t>(std::chrono::nanoseconds(Clock::now() - begin).count()));
    return reply;
}

// Leaves the reason in `error` when the reply is none to work with.
bool CheckReply(const redisReply* reply, std::string& error) {
    if (reply == nullptr) {
        error = "redis connection be closed";
        CountFault(RedisFault::NoReply);
        return false;
    }
    if (reply->type == REDIS_REPLY_NIL || reply->type == REDIS_REPLY_ERROR) {
        if (reply->type == REDIS_REPLY_ERROR) CountFault(RedisFault::Refused);
        error = reply->str != nullptr ? reply->str : "";
        return false;
    }
    return true;
}

bool IsOne(const redisReply& reply) {
    return reply.type == REDIS_REPLY_STATUS || reply.integer == 1;
}

bool IsOk(const redisReply& reply) {
    return reply.str != nullptr && strcasecmp(reply.str, "OK") == 0;
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
    return cache != nullptr && cache->ConnectNodes(nodes, count, mCancelled);
}

void xRedisClient::Keepalive() {
    RedisPool* pool = mRedisPool.load();
    if (pool != nullptr) pool->Keepalive();
}

bool xRedisClient::Command(RedisDBIdx& index, int argc, const std::string_view* argv,
                           JudgeReply judge) {
    const RedisPool* pool = mRedisPool.load();
    const RedisCache* cache = pool != nullptr ? pool->GetCache(index.mType) : nullptr;
    const auto slice = cache != nullptr ? cache->GetSlice(index.mIndex) : nullptr;
    RedisConnPtr conn = slice ? slice->GetConn(index.mIOFlag ? index.mIOtype : 0) : nullptr;
    if (!conn) {
        index.mStrerr = "get connection error";
        CountFault(RedisFault::NoConnection);
        return false;
    }
    const RedisReplyPtr reply = Measured(*conn, argc, argv);
    slice->FreeConn(std::move(conn), reply != nullptr);
    return CheckReply(reply.get(), index.mStrerr) && judge(*reply);
}

bool xRedisClient::exists(RedisDBIdx& index, std::string_view key) {
    const std::array<std::string_view, 2> argv{"EXISTS", key};
    return Command(index, static_cast<int>(argv.size()), argv.data(), IsOne);
}

bool xRedisClient::del(RedisDBIdx& index, std::string_view key) {
    const std::array<std::string_view, 2> argv{"DEL", key};
    return Command(index, static_cast<int>(argv.size()), argv.data(), IsOne);
}

bool xRedisClient::setex(RedisDBIdx& index, std::string_view key, int seconds,
                         std::string_view value) {
    char decimal[16];
    std::snprintf(decimal, sizeof(decimal), "%d", seconds);
    const std::array<std::string_view, 4> argv{"SETEX", key, decimal, value};
    return Command(index, static_cast<int>(argv.size()), argv.data(), IsOk);
}

#include "RedisConn.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace {

RedisReplyPtr Ping(redisContext& context) {
    constexpr std::string_view kPing = "PING";
    return RedisExchange(context, 1, &kPing);
}

bool Authenticate(redisContext& context, std::string_view passwd) {
    const std::array<std::string_view, 2> argv{"AUTH", passwd};
    const RedisReplyPtr reply = RedisExchange(context, static_cast<int>(argv.size()), argv.data());
    return reply && reply->str != nullptr && strcasecmp(reply->str, "OK") == 0;
}

}  // namespace

RedisConn::RedisConn(const RedisNode& node, unsigned int type, unsigned int slaveIdx)
    : mHost(node.host != nullptr ? node.host : ""),
      mPort(node.port),
      mPass(node.passwd != nullptr ? node.passwd : ""),
      mTimeout(node.timeout),
      mPoolsize(node.poolsize),
      mType(type),
      mDbindex(node.dbindex),
      mRole(node.role),
      mSlaveIdx(slaveIdx) {}

RedisContextPtr RedisConn::Open(std::chrono::milliseconds timeout) const {
    if (mHost.empty()) return nullptr;  // not configured: nothing to look up

    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const std::chrono::microseconds rest = timeout - seconds;
    const timeval limit{static_cast<time_t>(seconds.count()),
                        static_cast<suseconds_t>(rest.count())};
    RedisContextPtr context(redisConnectWithTimeout(mHost.c_str(), static_cast<int>(mPort), limit));
    if (!context || context->err != 0) return nullptr;
    if (!mPass.empty() && !Authenticate(*context, mPass)) return nullptr;
    return context;
}

// In slices, so that giving up need not wait for a host that swallows connects.
bool RedisConn::Connect(const std::atomic<bool>& cancelled) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kSlice{500};
    std::chrono::milliseconds left = std::chrono::seconds(mTimeout);
    bool timedOut = true;
    while (mCtx == nullptr && timedOut && !cancelled) {
        const auto slice = std::min(left, kSlice);
        const auto begin = Clock::now();
        mCtx = Open(slice);
        timedOut = Clock::now() - begin >= slice && left > slice;
        left -= slice;
    }
    mConnStatus = mCtx != nullptr;
    return mConnStatus;
}

bool RedisConn::Refresh() {
    // One whose command went unanswered is never pinged: the late reply would pass for the pong.
    if (mConnStatus && Ping(*mCtx)) return true;

    RedisContextPtr fresh = Open(std::chrono::milliseconds(kRedisReconnectTimeoutMs));
    const RedisReplyPtr pong = fresh ? Ping(*fresh) : nullptr;
    // A server at its connection limit, or still loading, greets with an error.
    mConnStatus = pong && pong->type != REDIS_REPLY_ERROR;
    if (mConnStatus) mCtx = std::move(fresh);
    return mConnStatus;
}

RedisReplyPtr RedisConn::Command(int argc, const std::string_view* argv) {
    RedisReplyPtr reply = RedisExchange(*mCtx, argc, argv);
    mConnStatus = reply != nullptr;
    return reply;
}

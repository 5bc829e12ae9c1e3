#include "RedisConn.h"

#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "xredis/RedisMetrics.h"

namespace {

RedisReplyPtr Ping(redisContext& context) {
    constexpr std::string_view kPing = "PING";
    return AskRedis(context, 1, &kPing);
}

// The reason why not; empty when the password was taken.
std::string Authenticate(redisContext& context, std::string_view passwd) {
    const std::array<std::string_view, 2> argv{"AUTH", passwd};
    const RedisReplyPtr reply = AskRedis(context, static_cast<int>(argv.size()), argv.data());
    if (!reply || reply->str == nullptr) return "no answer to the password";
    return strcasecmp(reply->str, "OK") == 0 ? "" : reply->str;
}

bool Append(std::string& bytes, const RedisRequest& request) {
    char seconds[16];
    std::snprintf(seconds, sizeof(seconds), "%d", request.seconds);
    static constexpr std::string_view kNames[] = {"EXISTS", "DEL", "SETEX"};
    const std::array<std::string_view, 4> argv{kNames[static_cast<size_t>(request.verb)],
                                               request.key, seconds, request.value};
    return AppendRedisCommand(bytes, request.verb == RedisRequest::Verb::Setex ? 4 : 2,
                              argv.data());
}

bool Succeeded(const redisReply& reply, RedisRequest::Verb verb) {
    if (reply.type == REDIS_REPLY_NIL || reply.type == REDIS_REPLY_ERROR) return false;
    if (verb != RedisRequest::Verb::Setex) {
        return reply.type == REDIS_REPLY_STATUS || reply.integer == 1;
    }
    return reply.str != nullptr && strcasecmp(reply.str, "OK") == 0;
}

void Judge(const redisReply& reply, RedisRequest& request) {
    request.answered = true;
    request.done = Succeeded(reply, request.verb);
    request.refused = reply.type == REDIS_REPLY_ERROR;
    if (request.refused && reply.str != nullptr) request.error = reply.str;
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

RedisContextPtr RedisConn::Open(std::chrono::milliseconds timeout) {
    mError = {};
    if (mHost.empty()) return nullptr;  // not configured: nothing to look up

    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const std::chrono::microseconds rest = timeout - seconds;
    const timeval limit{static_cast<time_t>(seconds.count()),
                        static_cast<suseconds_t>(rest.count())};
    RedisContextPtr context(redisConnectWithTimeout(mHost.c_str(), static_cast<int>(mPort), limit));
    if (!context || context->err != 0) {
        mError.text = context ? context->errstr : "out of memory";
        return nullptr;
    }
    if (mPass.empty()) return context;
    mError = {Authenticate(*context, mPass), true};
    return mError.text.empty() ? std::move(context) : nullptr;
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

RedisOutcome RedisConn::Run(RedisRequest* requests, size_t count) {
    using Clock = std::chrono::steady_clock;
    auto* metrics = g_RedisMetrics.Get();
    const auto begin = Clock::now();
    mBytes.clear();
    bool formatted = true;
    for (size_t i = 0; i < count; ++i)
        formatted = Append(mBytes, requests[i]) && formatted;

    RedisExchange exchange(*mCtx);
    RedisOutcome outcome = formatted ? exchange.Send(mBytes) : RedisOutcome::Lost;
    for (size_t i = 0; i < count && outcome == RedisOutcome::Answered; ++i) {
        RedisReplyPtr reply;
        outcome = exchange.Next(reply);
        if (reply) Judge(*reply, requests[i]);
        if (metrics == nullptr) continue;
        const std::chrono::nanoseconds took = Clock::now() - begin;
        metrics->latency.Add(static_cast<uint64_t>(took.count()));
    }
    mConnStatus = outcome == RedisOutcome::Answered;
    return outcome;
}

// Nothing is to be read on an idle connection but its end.
bool RedisConn::StillOpen() {
    char byte = 0;
    const ssize_t seen = recv(mCtx->fd, &byte, sizeof(byte), MSG_PEEK | MSG_DONTWAIT);
    mConnStatus = seen < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    return mConnStatus;
}

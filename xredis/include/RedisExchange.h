// One command and its reply on a hiredis context.
#pragma once

#include <hiredis/hiredis.h>

#include <memory>
#include <string_view>

struct RedisReplyDeleter {
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using RedisReplyPtr = std::unique_ptr<redisReply, RedisReplyDeleter>;

struct RedisContextDeleter {
    void operator()(redisContext* context) const { redisFree(context); }
};
using RedisContextPtr = std::unique_ptr<redisContext, RedisContextDeleter>;

// Arguments of the longest command.
inline constexpr int kRedisMaxArguments = 4;

// Sends the command and waits up to kRedisCommandTimeoutMs for the whole reply. Null when the
// connection is lost, talks nonsense or is too slow; it must then be given up, for a reply that
// comes late would be taken for the answer to the next command.
//
// hiredis formats and parses, but the socket is served here: its own read takes 16 KiB of stack,
// as much as the message worker has, its time-out starts anew with every byte, and its write
// raises SIGPIPE.
//
// Thread: any; one at a time on one context.
RedisReplyPtr RedisExchange(redisContext& context, int argc, const std::string_view* argv);

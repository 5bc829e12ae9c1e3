// Commands and their replies on a hiredis context.
#pragma once

#include <hiredis/hiredis.h>

#include <memory>
#include <string>
#include <string_view>

struct RedisReplyDeleter {
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using RedisReplyPtr = std::unique_ptr<redisReply, RedisReplyDeleter>;

struct RedisContextDeleter {
    void operator()(redisContext* context) const { redisFree(context); }
};
using RedisContextPtr = std::unique_ptr<redisContext, RedisContextDeleter>;

// What became of a connection while commands were under way.
enum class RedisOutcome : uint8_t {
    Answered,
    Lost,      // it ended, was reset or talked nonsense; the server may be well
    TimedOut,  // nothing came in time: the server hangs, or the way to it is cut
};

// Appends a command as it goes over the wire; false without memory.
bool AppendRedisCommand(std::string& bytes, int argc, const std::string_view* argv);

// Commands that are sent together, and their replies one after the other, all within
// kRedisCommandTimeoutMs of Send. Unless every reply was Answered the connection must be given up,
// for a reply that comes late would be taken for the answer to the next command.
//
// hiredis formats and parses, but the socket is served here: its own read takes 16 KiB of stack,
// its time-out starts anew with every byte, and its write raises SIGPIPE.
//
// Thread: any; one at a time on one context.
class RedisExchange {
  public:
    // The context must outlive it.
    explicit RedisExchange(redisContext& context);

    RedisOutcome Send(std::string_view bytes);
    // The reply to the first command that has none yet; set when Answered.
    RedisOutcome Next(RedisReplyPtr& reply);

  private:
    redisContext& m_context;
    const int64_t m_deadline;  // milliseconds of the steady clock
};

// One command and its reply; null when the connection must be given up.
RedisReplyPtr AskRedis(redisContext& context, int argc, const std::string_view* argv);

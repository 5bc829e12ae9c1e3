#include "RedisExchange.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>

#include "xredis/xRedisClient.h"

namespace {

int64_t NowMs() {
    using std::chrono::milliseconds;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<milliseconds>(now).count();
}

RedisOutcome WaitFor(int fd, short events, int64_t deadline) {
    for (;;) {
        const int64_t left = deadline - NowMs();
        if (left <= 0) return RedisOutcome::TimedOut;
        pollfd entry{fd, events, 0};
        const int ready = poll(&entry, 1, static_cast<int>(left));
        if (ready > 0) return RedisOutcome::Answered;
        if (ready < 0 && errno != EINTR) return RedisOutcome::Lost;
    }
}

// Answered when the failed call is to be made again, the socket being ready or the call
// interrupted.
RedisOutcome AfterFailure(int fd, short events, int64_t deadline) {
    if (errno == EINTR) return RedisOutcome::Answered;
    if (errno != EAGAIN && errno != EWOULDBLOCK) return RedisOutcome::Lost;
    return WaitFor(fd, events, deadline);
}

// Feeds what arrives to the parser.
RedisOutcome Receive(redisContext& context, int64_t deadline) {
    char bytes[512];  // replies are short, and so may be the caller's stack
    const RedisOutcome outcome = WaitFor(context.fd, POLLIN, deadline);
    if (outcome != RedisOutcome::Answered) return outcome;
    const ssize_t received = recv(context.fd, bytes, sizeof(bytes), MSG_DONTWAIT);
    if (received == 0) return RedisOutcome::Lost;
    if (received < 0) return AfterFailure(context.fd, POLLIN, deadline);
    const int fed = redisReaderFeed(context.reader, bytes, static_cast<size_t>(received));
    return fed == REDIS_OK ? RedisOutcome::Answered : RedisOutcome::Lost;
}

}  // namespace

bool AppendRedisCommand(std::string& bytes, int argc, const std::string_view* argv) {
    constexpr int kMaxArguments = 4;  // of the longest command
    const char* texts[kMaxArguments];
    size_t lengths[kMaxArguments];
    if (argc > kMaxArguments) return false;
    for (int i = 0; i < argc; ++i) {
        texts[i] = argv[i].data();
        lengths[i] = argv[i].size();
    }
    char* command = nullptr;
    const int length = redisFormatCommandArgv(&command, argc, texts, lengths);
    if (length < 0) return false;
    bytes.append(command, static_cast<size_t>(length));
    redisFreeCommand(command);
    return true;
}

RedisExchange::RedisExchange(redisContext& context)
    : m_context(context), m_deadline(NowMs() + kRedisCommandTimeoutMs) {}

// The deadline is that of the whole exchange: a server that takes or gives a byte now and then does
// not hold the caller for longer.
RedisOutcome RedisExchange::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent =
            send(m_context.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<size_t>(sent));
            continue;
        }
        const RedisOutcome outcome = AfterFailure(m_context.fd, POLLOUT, m_deadline);
        if (outcome != RedisOutcome::Answered) return outcome;
    }
    return RedisOutcome::Answered;
}

RedisOutcome RedisExchange::Next(RedisReplyPtr& reply) {
    void* parsed = nullptr;
    while (redisReaderGetReply(m_context.reader, &parsed) == REDIS_OK) {
        if (parsed != nullptr) {
            reply.reset(static_cast<redisReply*>(parsed));
            return RedisOutcome::Answered;
        }
        const RedisOutcome outcome = Receive(m_context, m_deadline);
        if (outcome != RedisOutcome::Answered) return outcome;
    }
    return RedisOutcome::Lost;
}

RedisReplyPtr AskRedis(redisContext& context, int argc, const std::string_view* argv) {
    std::string bytes;
    RedisExchange exchange(context);
    RedisReplyPtr reply;
    if (AppendRedisCommand(bytes, argc, argv) && exchange.Send(bytes) == RedisOutcome::Answered) {
        exchange.Next(reply);
    }
    return reply;
}

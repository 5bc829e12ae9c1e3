#include "RedisExchange.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "xredis/xRedisClient.h"

namespace {

using Clock = std::chrono::steady_clock;

bool WaitFor(int fd, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return false;
        pollfd entry{fd, events, 0};
        const int ready = poll(&entry, 1, static_cast<int>(left));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
    }
}

// True when the failed call is to be made again because the socket is ready or was interrupted.
bool MayRetry(int fd, short events, Clock::time_point deadline) {
    if (errno == EINTR) return true;
    return (errno == EAGAIN || errno == EWOULDBLOCK) && WaitFor(fd, events, deadline);
}

bool SendAll(int fd, std::string_view bytes, Clock::time_point deadline) {
    while (!bytes.empty()) {
        const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<size_t>(sent));
        } else if (!MayRetry(fd, POLLOUT, deadline)) {
            return false;
        }
    }
    return true;
}

// Feeds what has arrived to the parser. False when the connection is lost or the time is up.
bool Receive(redisContext& context, Clock::time_point deadline) {
    char bytes[512];  // replies are short, and the caller may be the message worker
    if (!WaitFor(context.fd, POLLIN, deadline)) return false;
    const ssize_t received = recv(context.fd, bytes, sizeof(bytes), MSG_DONTWAIT);
    if (received == 0) return false;
    if (received < 0) return MayRetry(context.fd, POLLIN, deadline);
    return redisReaderFeed(context.reader, bytes, static_cast<size_t>(received)) == REDIS_OK;
}

bool SendCommand(redisContext& context, int argc, const std::string_view* argv,
                 Clock::time_point deadline) {
    const char* texts[kRedisMaxArguments];
    size_t lengths[kRedisMaxArguments];
    for (int i = 0; i < argc; ++i) {
        texts[i] = argv[i].data();
        lengths[i] = argv[i].size();
    }
    char* command = nullptr;
    const int length = redisFormatCommandArgv(&command, argc, texts, lengths);
    if (length < 0) return false;
    const bool sent =
        SendAll(context.fd, std::string_view(command, static_cast<size_t>(length)), deadline);
    redisFreeCommand(command);
    return sent;
}

}  // namespace

RedisReplyPtr RedisExchange(redisContext& context, int argc, const std::string_view* argv) {
    const Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds(kRedisCommandTimeoutMs);
    if (argc > kRedisMaxArguments || !SendCommand(context, argc, argv, deadline)) return nullptr;

    void* reply = nullptr;
    while (redisReaderGetReply(context.reader, &reply) == REDIS_OK) {
        if (reply != nullptr) return RedisReplyPtr(static_cast<redisReply*>(reply));
        if (!Receive(context, deadline)) return nullptr;
    }
    return nullptr;
}

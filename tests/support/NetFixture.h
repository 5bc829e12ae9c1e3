// A server on the framework and hand-made client sockets, for the tests of the framework.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstring>
#include <functional>

#include "BaseTest.h"
#include "Common/Clock.h"
#include "Epoll/NetMetrics.h"
#include "Game/NetGame.h"
#include "Game/PlayerNode.h"
#include "NodeManager/NodeRecords.h"

// Both clocks, moved by hand while the object lives.
class HandClock {
  public:
    HandClock() {
        SetClockSource({[] { return s_now.load(); }, [] { return long{s_now}; }});
    }
    ~HandClock() { SetClockSource({}); }
    void Advance(long seconds) { s_now += seconds; }

  private:
    static inline std::atomic<time_t> s_now{1000000};
};

inline std::string Bytes(std::initializer_list<size_t> values) {
    std::string bytes;
    for (const size_t value : values)
        bytes += static_cast<char>(value);
    return bytes;
}

inline std::string Message(size_t type, const std::string& body = "", size_t encode = 0) {
    const size_t length = 8 + body.size();
    return Bytes({5, encode, length >> 8, length, 3, 0, type >> 8, type}) + body;
}

inline const std::string kRequest =
    "GET / HTTP/1.1\r\nHost: x\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

inline std::string Request(const std::string& lines) {
    return kRequest.substr(0, kRequest.size() - 2) + lines + "\r\n";
}

// A PROXY header before what it announces.
inline std::string ProxyBytes(size_t command, size_t family, const std::string& rest) {
    return std::string("\r\n\r\n\0\r\nQUIT\n", 12) +
           Bytes({command, family, rest.size() >> 8, rest.size()}) + rest;
}

inline std::string Frame(const std::string& payload, size_t first = 0x82, bool masked = true) {
    const size_t size = payload.size(), mask = masked ? 0x80 : 0;
    const std::string key = masked ? "\x37\xfa\x21\x3d" : "";
    std::string frame = Bytes({first, mask | std::min<size_t>(size, 126)});
    if (size >= 126) frame = Bytes({first, mask | 126, size >> 8, size});
    frame += key;
    for (size_t i = 0; i < size; ++i)
        frame += static_cast<char>(masked ? payload[i] ^ key[i % 4] : payload[i]);
    return frame;
}

inline sockaddr_in LoopbackAddress(uint16_t port) {
    return {AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
}

// rcvbuf keeps the kernel from swallowing what the test will not read.
class Socket {
  public:
    explicit Socket(int rcvbuf) : m_fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        if (rcvbuf > 0) ::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &rcvbuf, sizeof(rcvbuf));
    }
    virtual ~Socket() { ::close(m_fd); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    sockaddr_in Local() const {
        sockaddr_in addr{};
        socklen_t size = sizeof(addr);
        ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&addr), &size);
        return addr;
    }

  protected:
    const int m_fd;
};

// A blocking loopback client.
class Client : public Socket {
  public:
    explicit Client(uint16_t port, int rcvbuf = 0) : Socket(rcvbuf) {
        const sockaddr_in addr = LoopbackAddress(port);
        ::connect(m_fd, reinterpret_cast<const sockaddr*>(&addr), sizeof(addr));
    }
    void ResetOnClose() {
        const linger hard{1, 0};
        ::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
    }
    bool Send(const std::string& bytes) {
        size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) return false;
            sent += static_cast<size_t>(n);
        }
        return true;
    }
    // Over and over, for whoever closes the connection in the middle of it.
    std::jthread SendUntilClosed(const std::string& bytes) {
        return std::jthread([this, bytes] {
            while (Send(bytes)) {
            }
        });
    }
    // Up to size bytes; less only at the end of the stream or after the bound.
    std::string Read(size_t size) {
        std::string bytes;
        char chunk[4096];
        while (bytes.size() < size && Readable()) {
            const ssize_t n = ::recv(m_fd, chunk, std::min(size - bytes.size(), sizeof(chunk)), 0);
            if (n <= 0) break;
            bytes.append(chunk, static_cast<size_t>(n));
        }
        return bytes;
    }
    size_t ReadNumber() {
        uint16_t number = 0;
        Read(2).copy(reinterpret_cast<char*>(&number), 2);
        return ntohs(number);
    }
    virtual bool SendMessage(const std::string& message) { return Send(message); }
    virtual std::string ReadMessage() {
        const std::string begin = Read(2);
        const size_t length = ReadNumber();
        return begin + Bytes({length >> 8, length}) + Read(length - std::min<size_t>(length, 4));
    }
    std::string Ask(const std::string& message) {
        return SendMessage(message) ? ReadMessage() : "";
    }
    bool Echoes() {
        const std::string message = Message(77, "hello");
        return Ask(message) == message;
    }
    // The peer has closed: nothing but the end comes.
    bool AtEnd() {
        char byte;
        return Readable() && ::recv(m_fd, &byte, 1, 0) <= 0;
    }

  private:
    bool Readable() {
        pollfd wait{m_fd, POLLIN, 0};
        return ::poll(&wait, 1, 10000 * SLOWER) == 1;
    }
};

class WebClient : public Client {
  public:
    explicit WebClient(uint16_t port, int rcvbuf = 0)
        : WebClient(port, rcvbuf, [](Client& client) { client.Send(kRequest); }) {}
    // request sends what ends with a request; the answer is read.
    template <class Request>
    WebClient(uint16_t port, int rcvbuf, Request request) : Client(port, rcvbuf) {
        request(*this);
        while (!response.ends_with("\r\n\r\n")) {
            const std::string byte = Read(1);
            if (byte.empty()) break;
            response += byte;
        }
    }
    bool SendMessage(const std::string& message) override { return Send(Frame(message)); }
    // The payload of the next frame, which must be whole, final, binary and unmasked.
    std::string ReadMessage() override {
        const std::string head = Read(2);
        if (head.size() < 2 || head[0] != static_cast<char>(0x82)) return "no frame";
        return Read(head[1] == 126 ? ReadNumber() : static_cast<uint8_t>(head[1]));
    }
    std::string response;
};

// Takes as many connections as the backlog holds and one more, and reads nothing.
class DeafServer : public Socket {
  public:
    explicit DeafServer(int backlog = 8) : Socket(4096) {
        const sockaddr_in any = LoopbackAddress(0);
        ::bind(m_fd, reinterpret_cast<const sockaddr*>(&any), sizeof(any));
        ::listen(m_fd, backlog);
        port = ntohs(Local().sin_port);
    }
    uint16_t port = 0;
};

// Counts in its server how often it was released.
class TestNode : public PlayerNode {
  public:
    explicit TestNode(std::atomic<long>& releases) : m_releases(releases) {}
    // Every incarnation was reported closed exactly once, and nothing came behind a close.
    ~TestNode() override {
        EXPECT_EQ(closed, initialized);
        EXPECT_EQ(afterClose, 0);
    }
    void Initialize() override { ++initialized; }
    void Release() override { ++m_releases; }
    std::atomic<int> initialized{0}, closed{0}, afterClose{0};

  private:
    std::atomic<long>& m_releases;
};

// What the framework counts, from the first call on.
inline NetMetrics& Figures() {
    static const TypePlaces none({});
    static NetMetrics metrics(none);
    g_NetMetrics.Set(&metrics);
    return metrics;
}

// Both values of the key are tested: ctest runs these programs once with each.
inline bool WakeupUnderTest() {
    const char* value = std::getenv("LOBBY_TEST_WAKEUP");
    return value == nullptr || *value != '0';
}

inline constexpr uint16_t kFlood = 1000;

struct ServerOptions {
    unsigned long recv = 0, send = 0, interval = ~0UL, timeout = ~0UL;
    bool standard = false;  // WebSocket as libraries speak it
};
inline constexpr ServerOptions kDefaults{};

// Echoes by default; counts every callback.
class TestServer : public GameProvider {
  public:
    using OnMessage = std::function<void(TestNode*, uint16_t, char*, long)>;

    TestServer() = default;
    // Listens at once.
    explicit TestServer(const ServerOptions& options) { Listen(options); }
    ~TestServer() override { Shutdown(); }
    void Listen(const ServerOptions& with = kDefaults) {
        SetWakeup(WakeupUnderTest());
        SetWebSocket(with.standard);
        ASSERT_TRUE(Initialize(with.recv, with.send, with.interval, with.timeout, 0, 0, 0));
        // All ones, as from a limit of -1, is no limit.
        IPlayerNode* listener = Create(true, "127.0.0.1", 0, 0, ~0UL, 2, 1, 6);
        ASSERT_NE(listener, nullptr);
        sockaddr_in addr{};
        GetPlayerAddrIn(listener, &addr, true);
        port = ntohs(addr.sin_port);
        ASSERT_TRUE(RecvData(listener));
    }
    // A link to a server, not yet registered.
    IPlayerNode* Dial(uint16_t to) { return Create(false, "127.0.0.1", to, 1000, 1, 2, 1, 6); }
    bool AwaitClosed(long count) {
        return Eventually([&] { return closes == count; });
    }
    bool AwaitReleased(long count) {
        return Eventually([&] { return releases == count; });
    }

    long Start() override { return 0; }
    void OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length) override {
        auto* test = static_cast<TestNode*>(node);
        if (test->closed >= test->initialized) ++test->afterClose;
        ++messages;
        if (onMessage) return onMessage(test, type, static_cast<char*>(data), length);
        if (type == kFlood) return Flood(node);
        SendData(node, type, data, length, ENCODE_NONE);
    }
    void OnClosed(IPlayerNode* node, bool flag) override {
        ++static_cast<TestNode*>(node)->closed;
        lastFlag = flag;
        ++closes;
        GameProvider::OnClosed(node, flag);
    }
    void OnTimer(long) override {
        worker = ::pthread_self();
        ++ticks;
    }
    IPlayerNode* OnCreatePlayer() override { return new TestNode(releases); }
    // Largest messages, each full of its number, as many as wanted and the ring takes.
    void Flood(IPlayerNode* node) {
        int queued = 0;
        for (; queued < flood; ++queued) {
            std::string body(4096, static_cast<char>(queued));
            if (!SendData(node, kFlood, body.data(), 4096, ENCODE_NONE)) break;
        }
        flooded = queued;
    }

    OnMessage onMessage;  // set before Listen, as the next
    int flood = 1 << 20;
    uint16_t port = 0;
    std::atomic<long> messages{0}, closes{0}, releases{0}, ticks{0}, flooded{-1};
    std::atomic<bool> lastFlag{false};
    std::atomic<pthread_t> worker{};
};

// A server on the framework and a hand-made client socket, for the tests of the framework.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Common/Clock.h"
#include "Game/NetGame.h"
#include "Game/PlayerNode.h"
#include "NodeManager/NodeRecords.h"

inline constexpr int kWaitMs = 10000;

// Waits for an event with a bound.
template <class Predicate>
bool WaitFor(Predicate&& happened, int limitMs = kWaitMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
    while (!happened()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

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

inline std::string Message(uint16_t type, const std::string& body = "", uint8_t encode = 0) {
    tagMsgHeader header{};
    header.identity = MSG_IDENTITY;
    header.encode = encode;
    header.length = htons(static_cast<uint16_t>(sizeof(header) + body.size()));
    header.version = MSG_VERSION;
    header.type = htons(type);
    return std::string(reinterpret_cast<char*>(&header), sizeof(header)) + body;
}

class TestNode : public PlayerNode {
  public:
    void Initialize() override { ++initialized; }
    void Release() override { ++released; }
    std::atomic<int> initialized{0}, released{0}, closed{0}, afterClose{0};
};

// Echoes by default; counts every callback.
class TestServer : public GameProvider {
  public:
    using OnMessage = std::function<void(TestNode*, uint16_t, char*, long)>;

    ~TestServer() override { Shutdown(); }

    struct Limits {
        unsigned long recv = 0, send = 0, interval = ~0UL, timeout = ~0UL, threads = 0;
        unsigned long clients = 10000;
    };
    void Listen() { Listen(Limits()); }
    void Listen(const Limits& limits) {
        ASSERT_TRUE(Initialize(limits.recv, limits.send, limits.interval, limits.timeout,
                               limits.threads, 0, 0));
        listener = Create(true, "127.0.0.1", 0, 0, limits.clients, 2, 1, 6);
        ASSERT_NE(listener, nullptr);
        sockaddr_in addr{};
        GetPlayerAddrIn(listener, &addr, true);
        port = ntohs(addr.sin_port);
        ASSERT_TRUE(RecvData(listener));
    }

    long Start() override { return 0; }
    void OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length) override {
        auto* test = static_cast<TestNode*>(node);
        if (test->closed >= test->initialized) ++test->afterClose;
        ++messages;
        if (onMessage) return onMessage(test, type, static_cast<char*>(data), length);
        SendData(node, type, data, length, ENCODE_NONE);
    }
    void OnClosed(IPlayerNode* node, bool flag) override {
        ++static_cast<TestNode*>(node)->closed;
        ++closes;
        lastFlag = flag;
        GameProvider::OnClosed(node, flag);
    }
    void OnTimer(long) override { ++ticks; }
    IPlayerNode* OnCreatePlayer() override {
        auto* node = new TestNode;
        const std::lock_guard guard(lock);
        nodes.push_back(node);
        return node;
    }
    // Every incarnation was reported closed exactly once, and nothing came behind a close.
    void ExpectTidy() {
        const std::lock_guard guard(lock);
        for (TestNode* node : nodes) {
            EXPECT_LE(node->closed, node->initialized);
            EXPECT_EQ(node->afterClose, 0);
        }
    }
    int Released() {
        const std::lock_guard guard(lock);
        int sum = 0;
        for (TestNode* node : nodes)
            sum += node->released;
        return sum;
    }

    OnMessage onMessage;  // set before Listen
    IPlayerNode* listener = nullptr;
    uint16_t port = 0;
    std::atomic<long> messages{0}, closes{0}, ticks{0};
    std::atomic<bool> lastFlag{false};
    std::mutex lock;
    std::vector<TestNode*> nodes;
};

// A blocking loopback client. rcvbuf keeps the kernel from swallowing what the test will not read.
class Client {
  public:
    explicit Client(uint16_t port, int rcvbuf = 0) : m_fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        if (rcvbuf > 0) ::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &rcvbuf, sizeof(rcvbuf));
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(port);
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected = ::connect(m_fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) == 0;
    }
    ~Client() { Close(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void Close() {
        if (m_fd >= 0) ::close(m_fd);
        m_fd = -1;
    }
    void Reset() {
        const linger hard{1, 0};
        ::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
        Close();
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
    std::string ReadMessage() {
        std::string message = Read(8);
        if (message.size() < 8) return message;
        const size_t length =
            static_cast<uint8_t>(message[2]) * 256u + static_cast<uint8_t>(message[3]);
        return message + Read(length - 8);
    }
    // The peer has closed: nothing but the end comes.
    bool AtEnd() {
        char byte;
        return Readable() && ::recv(m_fd, &byte, 1, 0) <= 0;
    }
    int Fd() const { return m_fd; }

    bool connected = false;

  private:
    bool Readable() {
        pollfd wait{m_fd, POLLIN, 0};
        return ::poll(&wait, 1, kWaitMs) == 1;
    }
    int m_fd;
};

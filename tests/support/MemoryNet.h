// A network in memory under an application of the framework: connections without sockets, sends
// kept for inspection, messages, closes and ticks delivered on the calling thread.
#pragma once

#include <arpa/inet.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Common/WorkerThread.h"
#include "EPOLLConnection.h"
#include "Game/NetGame.h"

// Make one, construct the application with Parts(), Attach() it, then Start() it. Must outlive
// the application: it owns the contexts and the nodes.
class MemoryNet {
  public:
    struct Sent {
        uint16_t type;
        std::string bytes;  // the whole message; its header, which the network fills, is zero

        bool operator==(const Sent&) const = default;
        // A field of the message; zero past its end.
        template <class T>
        T At(size_t offset = 0) const {
            T value{};
            if (offset < bytes.size())
                bytes.copy(reinterpret_cast<char*>(&value), sizeof(T), offset);
            return value;
        }
    };

    ~MemoryNet() {
        for (auto& context : m_contexts)
            delete context->node;
    }

    NetParts Parts() {
        NetParts parts;
        parts.provider = std::make_unique<Provider>(*this);
        parts.sender = std::make_unique<Sender>(*this);
        return parts;
    }
    void Attach(IGameProvider* application) { m_application = application; }

    // A new connection, as accepted by the listener. Reuses a released context and its node.
    IPlayerNode* Connect() { return Take("10.1.2.3", 40000)->node; }

    // One message; its bytes lie at an odd address in a block of their own, so that sanitizers
    // see casts and reads past the end.
    void Deliver(IPlayerNode* node, uint16_t type, std::string_view message) {
        std::unique_ptr<char[]> block(new char[message.size() + 1]);
        char* at = block.get() + 1;
        message.copy(at, message.size());
        if (message.size() >= sizeof(MsgHeader)) {
            const MsgHeader header{MSG_IDENTITY, 0, static_cast<uint16_t>(message.size()),
                                   MSG_VERSION,  0, htons(type)};
            std::memcpy(at, &header, sizeof(header));
        }
        m_application->OnNetMessage(node, type, at, static_cast<long>(message.size()));
    }
    template <class T>
    requires std::is_trivially_copyable_v<T>
    void Deliver(IPlayerNode* node, uint16_t type, const T& message) {
        Deliver(node, type, std::string_view(reinterpret_cast<const char*>(&message), sizeof(T)));
    }
    // The peer closes; `flag` as the framework reports it.
    void Hangup(IPlayerNode* node, bool flag = true) {
        ContextOf(node)->m_bClosed = true;
        m_application->OnClosed(node, flag);
    }
    // Whether the application has asked for its close; then that is forgotten.
    bool Reopen(IPlayerNode* node) {
        const std::lock_guard lock(m_lock);
        std::erase(m_closing, node);
        return ContextOf(node)->m_bClosed.exchange(false);
    }
    // Reports the closes that the application asked for, those asked for meanwhile included.
    void Settle() {
        for (std::vector<IPlayerNode*> pending = TakeClosing(); !pending.empty();
             pending = TakeClosing()) {
            for (IPlayerNode* node : pending)
                m_application->OnClosed(node, true);
        }
    }
    void Tick(long now) { m_application->OnTimer(now); }

    // What was sent to the node since the last call.
    std::vector<Sent> Received(IPlayerNode* node) {
        std::lock_guard lock(m_lock);
        return std::exchange(m_sent[node], {});
    }
    bool IsClosed(IPlayerNode* node) { return ContextOf(node)->IsClosed(); }
    // The node of the open link or listener of the port, or null.
    IPlayerNode* NodeOfPort(unsigned short port) {
        std::lock_guard lock(m_lock);
        const auto at = m_open.find(port);
        return at == m_open.end() ? nullptr : at->second;
    }

    // Faults, and what a start of the framework was given.
    std::function<bool(IPlayerNode*, uint16_t type)> failSend;  // true: the send fails
    std::atomic<int> failCreatePort{0};                         // refuses connects to this port
    std::atomic<int> failRecvPort{0};                           // refuses RecvData of this port
    unsigned long interval = 0, timeout = 0;
    // Ports as they were opened, each with its time-out, the listener's with its most connections.
    std::vector<std::pair<int, unsigned long>> opened;
    long roomLeft = 0;     // what the last send that asks for it leaves to others
    int closedNobody = 0;  // closes of a null node, which the framework logs

  private:
    struct Context : EPOLLConnection {
        bool RecvData() override { return net->failRecvPort != ntohs(m_addrRemote.sin_port); }
        void CloseContext() override { net->Close(node); }
        using EPOLLConnection::m_addrRemote, EPOLLConnection::m_bClosed;
        MemoryNet* net = nullptr;
        IPlayerNode* node = nullptr;
        bool inUse = false;
    };

    struct Provider : INetProvider {
        explicit Provider(MemoryNet& owner) : net(owner) {}
        bool Initialize(unsigned long, unsigned long, unsigned long) override { return true; }
        bool Initialize(unsigned long interval, unsigned long timeout, unsigned long, unsigned long,
                        unsigned long) override {
            net.interval = interval;
            net.timeout = timeout;
            return true;
        }
        void Shutdown() override {}
        void CancelConnects() override { net.m_cancelled = true; }
        EPOLLContext* Create(bool listen, const char* host, unsigned short port,
                             unsigned long timeoutMs, unsigned long maxConnections, long, long,
                             long) override {
            return net.Open(host != nullptr ? host : "", port, listen ? maxConnections : timeoutMs);
        }
        EPOLLContext* Create(bool, sockaddr_in&, unsigned long, unsigned long, long, long,
                             long) override {
            return nullptr;
        }
        void ReleaseContext(EPOLLContext*) override {}
        MemoryNet& net;
    };

    struct Sender : INetSender {
        explicit Sender(MemoryNet& owner) : net(owner) {}
        bool Initialize() override { return true; }
        bool SendData(IPlayerNode* node, unsigned short type, void* data, long length,
                      long) override {
            return net.Send(node, type, data, length);
        }
        bool SendIfRoom(IPlayerNode* node, unsigned short type, void* data, long length, long,
                        long room) override {
            net.roomLeft = room;
            return net.Send(node, type, data, length);
        }
        bool SendData(IPlayerNode*, void*, long) override { return false; }
        void* AllocMassData(unsigned long, unsigned short, void*, long, long) override {
            return nullptr;
        }
        void* AllocMassData(unsigned long, void*, long) override { return nullptr; }
        bool SendMassData(IPlayerNode*, void*) override { return false; }
        void Close(IPlayerNode* node) override { net.Close(node); }
        void OnClosed(IPlayerNode* node) override { net.Release(node); }
        MemoryNet& net;
    };

    EPOLLContext* Open(const char* ip, unsigned short port, unsigned long limit) {
        if (m_cancelled || failCreatePort == port) {
            errno = ECONNREFUSED;
            return nullptr;
        }
        Context* context = Take(ip, port);
        std::lock_guard lock(m_lock);
        m_open[port] = context->node;
        opened.emplace_back(port, limit);
        return context;
    }

    Context* Take(const char* ip, unsigned short port) {
        std::unique_lock lock(m_lock);
        Context* context = nullptr;
        for (auto& candidate : m_contexts) {
            if (!candidate->inUse) context = candidate.get();
        }
        if (context == nullptr) {
            m_contexts.push_back(std::make_unique<Context>());
            context = m_contexts.back().get();
            context->net = this;
            context->node = m_application->OnCreatePlayer();
            context->node->SetContext(context);
            context->SetContextAssociate(reinterpret_cast<unsigned long>(context->node));
        }
        context->inUse = true;
        context->m_bClosed = false;
        context->m_addrRemote = {AF_INET, htons(port), {inet_addr(ip)}, {}};
        m_sent[context->node].clear();
        lock.unlock();
        context->node->Initialize();
        return context;
    }

    bool Send(IPlayerNode* node, uint16_t type, void* data, long length) {
        if (node == nullptr || ContextOf(node)->IsClosed()) return false;
        if (failSend && failSend(node, type)) return false;
        std::string bytes(sizeof(MsgHeader), '\0');
        if (data != nullptr && length > 0) bytes.assign(static_cast<char*>(data), length);
        const size_t header = std::min(bytes.size(), sizeof(MsgHeader));
        bytes.replace(0, header, header, '\0');
        std::lock_guard lock(m_lock);
        m_sent[node].push_back({type, std::move(bytes)});
        return true;
    }

    void Close(IPlayerNode* node) {
        closedNobody += node == nullptr;
        if (node == nullptr || ContextOf(node)->m_bClosed.exchange(true)) return;
        std::lock_guard lock(m_lock);
        m_closing.push_back(node);
    }

    void Release(IPlayerNode* node) {
        node->Release();
        std::lock_guard lock(m_lock);
        std::erase_if(m_open, [node](const auto& link) { return link.second == node; });
        std::erase(m_closing, node);
        ContextOf(node)->inUse = false;
    }

    std::vector<IPlayerNode*> TakeClosing() {
        std::lock_guard lock(m_lock);
        return std::exchange(m_closing, {});
    }

    static Context* ContextOf(IPlayerNode* node) {
        EPOLLContext* context = nullptr;
        node->GetContext(&context);
        return static_cast<Context*>(context);
    }

    WorkerThread m_worker;  // the thread that made the network plays it
    IGameProvider* m_application = nullptr;
    std::atomic<bool> m_cancelled{false};
    std::mutex m_lock;  // the reconnect keeper opens links while the test thread works
    std::vector<std::unique_ptr<Context>> m_contexts;
    std::map<int, IPlayerNode*> m_open;  // by port
    std::vector<IPlayerNode*> m_closing;
    std::map<IPlayerNode*, std::vector<Sent>> m_sent;
};

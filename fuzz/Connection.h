// One client connection of the framework without a socket: bytes go in, messages come out.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "EPOLLBuffer.h"
#include "EPOLLManagers.h"
#include "EPOLLMessager.h"
#include "Epoll.h"
#include "Game/PlayerNode.h"

// The application that the messages reach. Owns nothing.
class Recorder : public GameProvider {
  public:
    struct Delivered {
        uint16_t type;
        std::string bytes;  // without the header
        bool operator==(const Delivered&) const = default;
    };

    long Start() override { return 0; }
    IPlayerNode* OnCreatePlayer() override { return new PlayerNode; }
    void OnNetMessage(IPlayerNode*, unsigned short type, void* data, long length) override {
        delivered.push_back({type, std::string(static_cast<char*>(data) + HEADER_SIZE,
                                               static_cast<size_t>(length - HEADER_SIZE))});
    }
    std::vector<Delivered> delivered;
};

// Owns the connection and all it needs. Thread: one.
class Connection {
  public:
    Connection() { m_context = static_cast<EPOLLBuffer*>(m_manager.AllocateContext(-1)); }
    ~Connection() { m_manager.FreeContext(m_context); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The bytes of one read, in a block of their exact size: sanitizers see a step beyond it.
    void Read(std::string_view bytes) {
        std::unique_ptr<char[]> block(new char[bytes.size()]);
        bytes.copy(block.get(), bytes.size());
        Deliver(block.get(), static_cast<long>(bytes.size()));
    }
    void Deliver(char* bytes, long length) { m_messager.OnReadCompleted(m_context, bytes, length); }
    bool IsClosed() const { return m_context->IsStopped(); }

    Recorder recorder;

  private:
    struct Reactor : Epoll {
        explicit Reactor(EPOLLMessager& to) : messager(to) {}
        EPOLLContext* OnCreateConnection() override { return messager.OnCreateContext(); }
        EPOLLMessager& messager;
    };

    EPOLLMessager m_messager{&recorder, 4};
    Reactor m_reactor{m_messager};
    EPOLLContextManager m_manager{&m_reactor};
    EPOLLBuffer* m_context;  // owned by m_manager
};

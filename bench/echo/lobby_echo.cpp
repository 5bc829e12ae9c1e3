// The framework as an echo server, TCP and WebSocket on one port.
// Usage: lobby_echo port [--wakeup]
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Common/Descriptors.h"
#include "Common/Log.h"
#include "Game/NetGame.h"
#include "Game/PlayerNode.h"

namespace {

constexpr uint16_t kBroadcast = 0x00B4;
constexpr size_t kBroadcastBytes = 3272;  // five bulletins
constexpr unsigned long kNoSweeps = ~0UL;
constexpr unsigned long kQueueLimit = 8192;
constexpr unsigned long kMaxClients = 30000;
constexpr int kSampleReceiveBuffer = 16384;  // as the sample configuration has it with wakeup=1

struct EchoNode : PlayerNode {
    bool known = false;  // message worker only, like all of it
};

// Echoes every message but the broadcast's, which goes to all who have sent something. Owns
// nothing: nodes belong to the framework.
class EchoServer : public GameProvider {
  public:
    ~EchoServer() override { Shutdown(); }

    bool Listen(unsigned short port) {
        if (!Initialize(kQueueLimit, kQueueLimit, kNoSweeps, kNoSweeps, 0, 0, 0)) return false;
        IPlayerNode* listener = Create(true, "127.0.0.1", port, 0, kMaxClients, 2, 1, 6);
        return listener != nullptr && RecvData(listener);
    }

    long Start() override { return 0; }
    IPlayerNode* OnCreatePlayer() override { return new EchoNode; }

    void OnNetMessage(IPlayerNode* node, unsigned short type, void* message, long length) override {
        auto* client = static_cast<EchoNode*>(node);
        if (!client->known) m_clients.push_back(client);
        client->known = true;
        if (type == kBroadcast) return Broadcast();
        SendData(node, type, message, length, ENCODE_NONE);
    }

    void OnClosed(IPlayerNode* node, bool flag) override {
        auto* client = static_cast<EchoNode*>(node);
        if (client->known) std::erase(m_clients, client);
        client->known = false;
        GameProvider::OnClosed(node, flag);
    }

  private:
    // As the lobby sends bulletins: a buffer for each, so that none is cut short by another.
    void Broadcast() {
        for (EchoNode* client : m_clients)
            SendData(client, kBroadcast, m_bulletins, kBroadcastBytes, ENCODE_NONE);
    }

    std::vector<EchoNode*> m_clients;
    char m_bulletins[kBroadcastBytes] = {};
};

sigset_t Signals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    return set;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: lobby_echo port [--wakeup]\n"), 2;
    RaiseDescriptorLimit(kMaxClients + 64);  // or as many as there are
    const sigset_t signals = Signals();
    // Before the framework's threads start: they inherit it.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    InitializeLog("lobby_echo.cfg", nullptr);
    EchoServer server;
    const bool asShipped = argc > 2 && std::strcmp(argv[2], "--wakeup") == 0;
    server.SetWakeup(asShipped);
    if (asShipped) server.SetReceiveBuffer(kSampleReceiveBuffer);
    if (!server.Listen(static_cast<unsigned short>(std::strtol(argv[1], nullptr, 10)))) {
        std::perror("lobby_echo");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    int signal = 0;
    sigwait(&signals, &signal);
    return 0;
}

// A lobby on a network in memory, without Redis: for tests, fuzzing and benchmarks.
#pragma once

#include "Files.h"
#include "LobbyServer.h"
#include "MemoryNet.h"
#include "lobby_client_msg.h"

// Owns lobby and network. The working folder has its configuration, see Configure.
// Thread: one, which plays the message worker; the reconnect keeper works beside it.
class MemoryLobby {
  public:
    enum Port : unsigned short { CENTER = 9001, WEB, QUEUE, DATA, CONFIG, LOG, LISTEN = 9100 };

    // Writes its LobbyServer.cfg; `more` goes on with the section [listen].
    static void Configure(const std::string& more = "") {
        WriteFile("LobbyServer.cfg",
                  "[connect]\ncenter_server=127.0.0.1:9001\nbulletin_server=127.0.0.1:9002\n"
                  "queue_server=127.0.0.1:9003\ndata_server=127.0.0.1:9004\n"
                  "config_server=127.0.0.1:9005\nlog_server=127.0.0.1:9006\n"
                  "[listen]\naddr=127.0.0.1:9100\n" +
                      more);
    }
    // Serves, with its six links up. `sender` stands in for the network's.
    void Start(std::unique_ptr<INetSender> sender = nullptr) {
        NetParts parts = net.Parts();
        if (sender != nullptr) parts.sender = std::move(sender);
        lobby = std::make_unique<LobbyServer>(std::move(parts));
        net.Attach(lobby.get());
        if (lobby->Start() != 0) throw std::runtime_error("the lobby does not start");
    }

    IPlayerNode* Link(Port port) { return net.NodeOfPort(port); }
    // A new session whose notice was sent.
    LobbyPlayer* Login(int userId, int siteId = 1) { return Notice(net.Connect(), userId, siteId); }
    LobbyPlayer* Notice(IPlayerNode* node, int userId, int siteId = 1) {
        const tagLobbyClientConnectNotice msg{{}, userId, siteId, {}, {}};
        net.Deliver(node, CLIENT_CONNECT_NOTICE_C2S, msg);
        return static_cast<LobbyPlayer*>(node);
    }

    MemoryNet net;
    std::unique_ptr<LobbyServer> lobby;
};

// A serving lobby on a network in memory, with its six links up and a clock moved by hand.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CenterServerHandler.h"
#include "Common/Common.h"
#include "ConfigServerHandler.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "LogServerHandler.h"
#include "MemoryNet.h"
#include "QueueServerHandler.h"
#include "WebServerHandler.h"
#include "lobby_client_msg.h"

inline time_t g_testNow = 1'700'000'000;

// Type and bytes of what a node was sent.
using Messages = std::vector<std::pair<uint16_t, std::string>>;

template <class T>
std::string BytesOf(const T& msg) {
    return {reinterpret_cast<const char*>(&msg), sizeof(msg)};
}
inline std::string Zeros(size_t count) {
    return std::string(count, '\0');
}
inline bool Has(const std::string& log, const std::string& text) {
    return log.find(text) != std::string::npos;
}

// A working directory of its own, the clock, and the log captured from standard output.
class FolderTest : public ::testing::Test {
  public:
    template <class Work>
    static std::string LogOf(Work work) {
        ::testing::internal::CaptureStdout();
        work();
        return ::testing::internal::GetCapturedStdout();
    }

  protected:
    FolderTest() {
        static const int logReady = InitializeLog("none.cfg", "directories_test.log");
        (void)logReady;
        m_before = std::filesystem::current_path();
        std::string path = (std::filesystem::temp_directory_path() / "lobbyXXXXXX").string();
        m_folder = mkdtemp(path.data());
        std::filesystem::current_path(m_folder);
        g_testNow = 1'700'000'000;
        SetClockSource({[] { return g_testNow; }, [] { return static_cast<long>(g_testNow); }});
    }
    ~FolderTest() override {
        SetClockSource({});
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_folder);
    }

    static void Write(const char* name, const std::string& text) {
        std::ofstream(name, std::ios::binary) << text;
    }

  private:
    std::filesystem::path m_before, m_folder;
};

class DirectoryTest : public FolderTest {
  protected:
    enum Port : unsigned short { CENTER = 9001, WEB, QUEUE, DATA, CONFIG, LOG, LISTEN = 9100 };

    void SetUp() override {
        Write(
            "LobbyServer.cfg",
            std::string("[connect]\ncenter_server=127.0.0.1:9001\nbulletin_server=127.0.0.1:9002\n"
                        "queue_server=127.0.0.1:9003\ndata_server=127.0.0.1:9004\n"
                        "config_server=127.0.0.1:9005\nlog_server=127.0.0.1:9006\n"
                        "[listen]\naddr=127.0.0.1:9100\n") +
                extraConfig);
        lobby = std::make_unique<LobbyServer>(net.Parts());
        net.Attach(lobby.get());
        ASSERT_EQ(lobby->Start(), 0);
        for (const Port port : {CENTER, WEB, QUEUE, DATA, CONFIG, LOG})
            first[port] = Got(Link(port));
    }
    void TearDown() override { lobby.reset(); }

    IPlayerNode* Link(Port port) { return net.NodeOfPort(port); }
    std::vector<MemoryNet::Sent> Received(IPlayerNode* node) { return net.Received(node); }
    Messages Got(IPlayerNode* node) {
        Messages messages;
        for (const auto& sent : Received(node))
            messages.emplace_back(sent.type, sent.bytes);
        return messages;
    }

    LobbyPlayer* Login(int userId, int siteId = 1) { return Notice(net.Connect(), userId, siteId); }
    LobbyPlayer* Notice(IPlayerNode* node, int userId, int siteId = 1) {
        tagLobbyClientConnectNotice msg{};
        msg.iUserID = userId;
        msg.iLobbySiteID = siteId;
        net.Deliver(node, 0xA1, msg);
        return static_cast<LobbyPlayer*>(node);
    }
    // The first `size` bytes of a message that holds at least 8.
    template <class T>
    void DeliverCut(Port port, uint16_t type, const T& msg, size_t size) {
        std::string bytes = BytesOf(msg);
        bytes.resize(size);
        net.Deliver(Link(port), type, bytes);
    }
    // The link's node as its handler has it; the keeper stores it a moment after the connect.
    IPlayerNode* Held(Port port) {
        switch (port) {
            case CENTER:
                return lobby->GetCenterServerHandler()->m_lpCenterServer;
            case WEB:
                return lobby->GetWebServerHandler()->m_lpWebServer;
            case QUEUE:
                return lobby->GetQueueServerHandler()->m_lpQueueServer;
            case CONFIG:
                return lobby->GetConfigServerHandler()->m_lpConfigServer;
            case LOG:
                return lobby->GetLogServerHandler()->m_lpLogServer;
            default:
                return Link(port);
        }
    }
    // Waits for the reconnect keeper.
    template <class Condition>
    static bool Await(Condition condition) {
        for (int i = 0; i < 500 && !condition(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return condition();
    }
    bool WaitForLink(Port port) {
        return Await([&] { return Link(port) != nullptr && Held(port) == Link(port); });
    }

    std::string extraConfig;  // further sections; set before SetUp
    MemoryNet net;
    std::unique_ptr<LobbyServer> lobby;
    std::map<int, Messages> first;  // what each link got when it came up
};

// A serving lobby in memory, with its six links up and a clock moved by hand, and its players.
#pragma once

#include "BaseTest.h"
#include "CenterServerHandler.h"
#include "Common/Common.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "LobbyClientHandler.h"
#include "LogServerHandler.h"
#include "MemoryLobby.h"
#include "QueueServerHandler.h"
#include "WebServerHandler.h"
#include "queue_server_msg.h"

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

// A working directory of its own, the clock, and the log.
class FolderTest : public ::testing::Test {
  protected:
    FolderTest() {
        g_testNow = 1'700'000'000;
        SetClockSource({[] { return g_testNow; }, [] { return static_cast<long>(g_testNow); }});
    }
    ~FolderTest() override { SetClockSource({}); }

  private:
    // Once, and before the folder, so that its file is nobody's of the test's.
    static int OpenLog() {
        static const int opened = InitializeLog("none.cfg", "directories_test.log");
        return opened;
    }
    const int m_opened = OpenLog();
    WorkingFolder m_folder;
};

class DirectoryTest : public FolderTest, protected MemoryLobby {
  protected:
    using Sent = MemoryNet::Sent;

    void SetUp() override {
        Configure(extraConfig);
        Start();
        for (const Port port : {CENTER, WEB, QUEUE, DATA, CONFIG, LOG})
            first[port] = Got(Link(port));
    }
    void TearDown() override { lobby.reset(); }

    std::vector<Sent> Received(IPlayerNode* node) { return net.Received(node); }
    Messages Got(IPlayerNode* node) {
        Messages messages;
        for (const auto& sent : Received(node))
            messages.push_back(One(sent.type, sent.bytes)[0]);
        return messages;
    }
    // Without what stands in its header, which the network fills.
    static Messages One(uint16_t type, std::string bytes) {
        return {{type, bytes.replace(0, 8, Zeros(8))}};
    }

    // The first `size` bytes of a message that holds at least 8.
    template <class T>
    void DeliverCut(Port port, uint16_t type, const T& msg, size_t size) {
        std::string bytes = BytesOf(msg);
        bytes.resize(size);
        net.Deliver(Link(port), type, bytes);
    }
    // By the reconnect keeper; its handler has it a moment after the connect.
    bool WaitForLink(Port port) {
        const LinkHandler* const handlers[] = {
            lobby->m_lpCenterServerHandler, lobby->m_lpWebServerHandler,
            lobby->m_lpQueueServerHandler,  lobby->m_lpDataServerHandler,
            lobby->m_lpConfigServerHandler, lobby->m_lpLogServerHandler};
        return Eventually([&] { return handlers[port - CENTER]->IsMine(Link(port)); });
    }

    std::string extraConfig;        // further sections; set before SetUp
    std::map<int, Messages> first;  // what each link got when it came up
};

class LobbyTest : public DirectoryTest {
  protected:
    void SetUp() override {
        WriteFile("SensitiveName.cfg", "[config]\nSensitiveName=bad,,猪头\n");
        WriteFile("disconnectuserid.cfg",
                  "[disconnectcount]\nusernum=2\n[disconnect]\nuser0=666\nuser1=667\n");
        DirectoryTest::SetUp();
    }

    UserInfoRes InfoFor(LobbyPlayer* player) {
        // A value of its own for each field; 1000 coins, 500 in the bank.
        UserInfoRes info{{},  0,  77, 21,     22, 23, 24, 25, 26, 1000,
                         500, 11, 12, 0xFFF3, {}, {}, {}, 0,  0};
        std::memset(info.szOutAccount, 'o', sizeof(info.szOutAccount));
        SetSession(info, player);
        return info;
    }
    // A session whose login is confirmed, nothing of it left to receive.
    LobbyPlayer* Online(int userId) {
        LobbyPlayer* player = Login(userId);
        net.Deliver(Link(QUEUE), USER_INFO_Q2L, InfoFor(player));
        Received(player);
        Received(Link(QUEUE));
        Received(Link(DATA));
        return player;
    }
    // The one message the node got since the last look; an empty one of type 0 when there is not
    // exactly one.
    Sent Only(IPlayerNode* node) {
        const auto sent = Received(node);
        return sent.size() == 1 ? sent[0] : Sent{};
    }
    bool Nothing(IPlayerNode* node) { return Received(node).empty(); }
    // A message without zeros, with an int32 at byte 8.
    static std::string Pattern(size_t size, int32_t first) {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i % 200 + 1);
        std::memcpy(&bytes[8], &first, 4);
        return bytes;
    }
    static void PutSession(std::string& bytes, size_t at, uint64_t node, uint64_t id) {
        std::memcpy(&bytes[at], &node, 8);
        std::memcpy(&bytes[at + 8], &id, 8);
    }
    static void PutSession(std::string& bytes, size_t at, const LobbyPlayer* player) {
        PutSession(bytes, at, NodeHandle(player), player->m_ulPlayerNodeId);
    }
};

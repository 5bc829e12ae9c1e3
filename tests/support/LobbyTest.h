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

inline time_t g_testNow;

// What a node was sent.
using Messages = std::vector<MemoryNet::Sent>;

inline void PrintTo(const MemoryNet::Sent& sent, std::ostream* out) {
    *out << std::hex << sent.type << ' ' << ::testing::PrintToString(sent.bytes);
}

template <class T>
std::string BytesOf(const T& msg) {
    return {reinterpret_cast<const char*>(&msg), sizeof(msg)};
}
inline std::string BytesOf(const std::string& bytes) {
    return bytes;
}
inline std::string Zeros(size_t count) {
    return std::string(count, '\0');
}

// It works in a folder of its own. Users 666 and 667 are disabled.
class LobbyTest : public ::testing::Test, protected MemoryLobby {
  protected:
    using Sent = MemoryNet::Sent;
    static constexpr Port LINKS[] = {CENTER, WEB, QUEUE, DATA, CONFIG, LOG};

    // `more` goes on with the section [listen].
    explicit LobbyTest(const std::string& more = "") {
        g_testNow = 1'700'000'000;
        SetClockSource({[] { return g_testNow; }, [] { return static_cast<long>(g_testNow); }});
        WriteFile("SensitiveName.cfg", "[config]\nSensitiveName=bad,,猪头\n");
        WriteFile("disconnectuserid.cfg",
                  "[disconnectcount]\nusernum=2\n[disconnect]\nuser0=666\nuser1=667\n");
        Configure(more);
        Start();
        for (const Port port : LINKS)
            first[port] = Got(Link(port));
    }
    ~LobbyTest() override {
        lobby.reset();
        SetClockSource({});
    }

    // Since the last look.
    Messages Got(IPlayerNode* node) { return net.Received(node); }
    bool Nothing(IPlayerNode* node) { return Got(node).empty(); }
    // The one message; an empty one of type 0 when there is not exactly one.
    Sent Only(IPlayerNode* node) {
        const Messages sent = Got(node);
        return sent.size() == 1 ? sent[0] : Sent{};
    }
    // A message or its bytes, but for the header.
    template <class T>
    static Messages One(uint16_t type, const T& msg) {
        return {{type, BytesOf(msg).replace(0, 8, Zeros(8))}};
    }

    // The first `size` bytes of a message, or those and zeros.
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
        for (IPlayerNode* node : {static_cast<IPlayerNode*>(player), Link(QUEUE), Link(DATA)})
            Got(node);
        return player;
    }
    // A message without zeros, with an int32 at byte 8.
    static std::string Pattern(size_t size, int32_t first) {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i % 200 + 1);
        return bytes.replace(8, 4, BytesOf(first));
    }
    static void PutSession(std::string& bytes, size_t at, uint64_t node, uint64_t id) {
        bytes.replace(at, 16, BytesOf(node) + BytesOf(id));
    }

    std::map<int, Messages> first;  // what each link got when it came up

  private:
    // Once, and before the folder, so that its file is nobody's of the test's.
    const int m_opened = [] {
        static const int opened = InitializeLog("none.cfg", "lobby_test.log");
        return opened;
    }();
    WorkingFolder m_folder;
};

// Players on a lobby in memory.
#pragma once

#include <cstring>

#include "DirectoryWorld.h"
#include "queue_server_msg.h"

class LobbyTest : public DirectoryTest {
  protected:
    using Sent = MemoryNet::Sent;

    void SetUp() override {
        Write("SensitiveName.cfg", "[config]\nSensitiveName=bad,,猪头\n");
        Write("disconnectuserid.cfg",
              "[disconnectcount]\nusernum=2\n[disconnect]\nuser0=666\nuser1=667\n");
        DirectoryTest::SetUp();
    }

    UserInfoRes InfoFor(LobbyPlayer* player) {
        UserInfoRes info{};
        info.llGameCoin = 1000;
        info.llBankCoin = 500;
        info.llControlNum = 77;
        info.iTeamTag = 11;
        info.iLianyunFlag = 12;
        info.usRegisterType = 0xFFF3;
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
    // Both without their headers, which the network fills.
    static std::string Body(const std::string& bytes, size_t size = std::string::npos) {
        return bytes.size() < 8 ? "" : bytes.substr(8, size == std::string::npos ? size : size - 8);
    }
};

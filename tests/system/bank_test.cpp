// Bank operations, and answers of the queue server that belong to nobody.
#include <gmock/gmock.h>

#include "BankInfoDef_Trans.h"
#include "Catalog.h"
#include "QueueServer.h"
#include "SystemTest.h"

class BankTest : public SystemTest {};

// Each on a session of its own, for every session has throttles of its own.
TEST_F(BankTest, RefusalsCarryTheirCodes) {
    Serve();
    EXPECT_EQ(LoggedIn(10001)->Take(1, "wrong").ucResultType, sim::BANK_WRONG_PASSWORD);
    EXPECT_EQ(LoggedIn(10001)->Take(INT64_MAX, BANK_PASSWORD).ucResultType, sim::BANK_NOT_ENOUGH);
    EXPECT_EQ(LoggedIn(10001)->Save(10001).ucResultType, sim::BANK_NOT_ENOUGH);
    EXPECT_EQ(LoggedIn(10001)->BankPassword("wrong", "x").ucResultType, sim::BANK_WRONG_PASSWORD);
    EXPECT_EQ(Account(10001).coin, 10000);
    EXPECT_EQ(CountSeen(ServerKind::Queue, BANK_GET_COIN_L2Q), 2u);
    auto player = LoggedIn(10001);  // too early; only a wrong bank password frees the next login
    EXPECT_EQ(player->Save(5).ucResultType, 0);
    EXPECT_EQ(player->Save(5).ucResultType, 156);
    EXPECT_EQ(player->Take(0, BANK_PASSWORD).ucResultType, 157);
    EXPECT_EQ(player->Take(5, BANK_PASSWORD).ucResultType, 156);
    EXPECT_EQ(player->BankPassword(BANK_PASSWORD, BANK_PASSWORD).ucResultType, 0);
    EXPECT_EQ(player->BankPassword(BANK_PASSWORD, BANK_PASSWORD).ucResultType, 156);
    EXPECT_EQ(player->BankLogin("wrong").ucResultType, 151);
    EXPECT_EQ(player->BankLogin(BANK_PASSWORD).ucResultType, 0);
    player->Line().Send(BANK_LOGIN_C2S, UserBankLoginReq{{}, 10001, {}});
    player->KeepAlive();
    EXPECT_EQ(CountSeen(ServerKind::Queue, BANK_LOGIN_L2Q), 2u);
}

namespace {

// A result of the queue server for a session.
wire::Bytes ResultFor(const catalog::Message& result, uint64_t handle, uint64_t id) {
    wire::Bytes bytes(result.size);
    for (const catalog::Field& field : result.layout->fields) {
        if (field.name == "ulPlayerNode") std::memcpy(&bytes[field.offset], &handle, 8);
        if (field.name == "ulPlayerNodeId") std::memcpy(&bytes[field.offset], &id, 8);
    }
    return wire::Pack(result.type, bytes.data(), bytes.size());
}

}  // namespace

TEST_F(BankTest, LateAndForgedAnswersReachNobody) {
    Serve();
    platform.Do([&] {  // takes are never answered here
        platform.Intercept(ServerKind::Queue, BANK_GET_COIN_L2Q,
                           [](sim::Link&, const Message&) { return true; });
    });
    auto gone = LoggedIn(10001);
    gone->SendTake(5, BANK_PASSWORD);
    const auto req = Seen(ServerKind::Queue, BANK_GET_COIN_L2Q).As<GetBankCoinReq_trans>();
    gone.reset();
    ASSERT_TRUE(AwaitOffline(10001));
    auto player = LoggedIn(10002);  // most likely on the same node
    player->SendTake(5, BANK_PASSWORD);
    const auto own = Seen(ServerKind::Queue, BANK_GET_COIN_L2Q, 1).As<GetBankCoinReq_trans>();
    const uint64_t node = own.ulPlayerNode, id = own.ulPlayerNodeId;
    const std::pair<uint64_t, uint64_t> handles[] = {{+req.ulPlayerNode, +req.ulPlayerNodeId},
                                                     {node, id + 1},
                                                     {node, 0},
                                                     {node + 8, id},
                                                     {node ^ 1, id},
                                                     {0, id},
                                                     {0, 0},
                                                     {8, 8},
                                                     {~0ull, ~0ull},
                                                     {1ull << 63, 1},
                                                     {0x0000deadbeef0000, 7}};
    platform.Do([&] {
        auto& queue = platform.Server(ServerKind::Queue);
        for (const catalog::Message& result : catalog::All()) {
            if (result.direction != catalog::Direction::QueueToLobby || !result.layout) continue;
            for (const auto& [forged, itsId] : handles)
                queue.SendAll(ResultFor(result, forged, itsId));
        }
        // Behind them the one that counts.
        queue.SendAll(ResultFor(*catalog::Find(catalog::Direction::QueueToLobby, BANK_GET_COIN_Q2L),
                                node, id));
    });
    std::vector<uint16_t> received;
    player->OnPush([&](const Message& message) { received.push_back(message.type); });
    player->Await(BANK_GET_COIN_S2C);
    player->KeepAlive();
    EXPECT_THAT(received, testing::IsEmpty());
}

// Logging in more than once, in one lobby and in two; a session's answers.
#include <gmock/gmock.h>

#include "BankInfoDef_Trans.h"
#include "Catalog.h"
#include "SystemTest.h"
#include "queue_server_msg.h"

namespace {

bool IsForASession(const catalog::Message& row) {
    return row.layout != nullptr &&
           std::ranges::count(row.layout->fields, "ulPlayerNode", &catalog::Field::name) > 0;
}
// A message of a back-end server for a session.
wire::Bytes ResultFor(const catalog::Message& result, uint64_t handle, uint64_t id) {
    wire::Bytes bytes(result.size);
    for (const catalog::Field& field : result.layout->fields) {
        if (field.name == "ulPlayerNode") std::memcpy(&bytes[field.offset], &handle, 8);
        if (field.name == "ulPlayerNodeId") std::memcpy(&bytes[field.offset], &id, 8);
    }
    return wire::Pack(result.type, bytes.data(), bytes.size());
}

}  // namespace

class SessionTest : public SystemTest {};

TEST_F(SessionTest, TheLoginConfirmedLastStaysWhicheverConnectedFirst) {
    Serve();
    std::function<void()> answer;  // of the first login, held back
    const auto hold = [&](sim::Link& link, const Message& message) {
        if (answer) return false;
        const auto req = message.As<UserInfoReq>();
        UserInfoRes res{};
        res.ulPlayerNode = req.ulPlayerNode;
        res.ulPlayerNodeId = req.ulPlayerNodeId;
        answer = [&link, res] { link.Send(USER_INFO_Q2L, res); };
        return true;
    };
    platform.Do([&] { platform.Intercept(ServerKind::Queue, USER_INFO_L2Q, hold); });
    // Of two sessions of a user the mark belongs to the one that stays.
    const auto expectKicked = [this](std::unique_ptr<Player> loser, Player& winner) {
        const auto notice = loser->AwaitPush(LOBBY_KICK_OUT_S2C).As<LobbyKickOutNotice>();
        EXPECT_EQ(notice.iUserID, 10001);
        EXPECT_FALSE(notice.bStopSwitch);
        EXPECT_TRUE(Closed(*loser));
        loser.reset();
        winner.KeepAlive();
        EXPECT_EQ(Online(10001), "1");
    };
    auto early = Connect(10001);
    early->SendLogin();
    Seen(ServerKind::Queue, USER_INFO_L2Q);
    auto late = LoggedIn(10001);
    platform.Do([&] { answer(); });
    EXPECT_EQ(early->Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>().ucErrNo, 0);
    expectKicked(std::move(late), *early);
    auto last = LoggedIn(10001);
    expectKicked(std::move(early), *last);
    last.reset();
    EXPECT_TRUE(AwaitOffline(10001));
}

TEST_F(SessionTest, PlayerMovesToAnotherLobbyAndIsPutOutOfTheFirst) {
    Serve();
    LobbyProcess other;
    auto here = LoggedIn(10001);
    auto there = LoggedIn(10001, Serve(other));
    EXPECT_EQ(here->AwaitPush(LOBBY_KICK_OUT_S2C).As<LobbyKickOutNotice>().iUserID, 10001);
    EXPECT_TRUE(Closed(*here));
    there->KeepAlive();
    EXPECT_EQ(CountSeen(ServerKind::Center, MSG_CENTER_KICK_OUT), 1u);
    EXPECT_EQ(Online(10001), "1");
    EXPECT_EQ(there->Take(5, BANK_PASSWORD).ucResultType, 0);
}

TEST_F(SessionTest, LateAndForgedAnswersReachNobody) {
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
    using Handle = std::pair<uint64_t, uint64_t>;
    std::vector<Handle> handles = {
        {node, id + 1}, {node, 0}, {node + 8, id}, {node ^ 1, id},  {0, id},
        {0, 0},         {8, 8},    {~0ull, ~0ull}, {1ull << 63, 1}, {0x0000deadbeef0000, 7}};
    handles.emplace_back(+req.ulPlayerNode, +req.ulPlayerNodeId);
    platform.Do([&] {
        for (const ServerKind kind : {ServerKind::Data, ServerKind::Web, ServerKind::Queue}) {
            for (const catalog::Message& row : catalog::All()) {
                if (row.direction != sim::ToLobby(kind) || !IsForASession(row)) continue;
                for (const auto& [forged, itsId] : handles)
                    platform.Server(kind).SendAll(ResultFor(row, forged, itsId));
            }
        }
        // Behind them the one that counts.
        const auto* taken = catalog::Find(catalog::Direction::QueueToLobby, BANK_GET_COIN_Q2L);
        platform.Server(ServerKind::Queue).SendAll(ResultFor(*taken, node, id));
    });
    std::vector<uint16_t> received;
    player->OnPush([&](const Message& message) { received.push_back(message.type); });
    player->Await(BANK_GET_COIN_S2C);
    player->KeepAlive();
    EXPECT_THAT(received, testing::IsEmpty());
}

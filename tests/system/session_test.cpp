// Logging in more than once, in one lobby and in two; a session's answers, and its address.
#include <gmock/gmock.h>

#include "BankInfoDef_Trans.h"
#include "Catalog.h"
#include "SystemTest.h"
#include "queue_server_msg.h"

namespace {

bool IsForASession(const catalog::Message& row) {
    return row.layout != nullptr &&
           std::ranges::any_of(row.layout->fields, [](const catalog::Field& field) {
               return field.name == "ulPlayerNode";
           });
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
    platform.Do([&] {
        const auto hold = [&](sim::Link& link, const Message& message) {
            if (answer) return false;
            const auto req = message.As<UserInfoReq>();
            UserInfoRes res{};
            res.ulPlayerNode = req.ulPlayerNode;
            res.ulPlayerNodeId = req.ulPlayerNodeId;
            answer = [&link, res] { link.Send(USER_INFO_Q2L, res); };
            return true;
        };
        platform.Intercept(ServerKind::Queue, USER_INFO_L2Q, hold);
    });
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
    const uint16_t otherPort = Serve(other, Settings());
    auto here = LoggedIn(10001);
    auto there = LoggedIn(10001, otherPort);
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

TEST_F(SessionTest, TheBalancersClientIsTheOneThatIsRelayedAndLogged) {
    LobbySettings settings = Settings();
    settings["listen"]["trusted_proxies"] = "10.0.0.0/8,127.0.0.1";
    settings["listen"]["proxy_protocol"] = "1";
    settings["log"]["json"] = "1";
    port = Serve(lobby, settings);
    // What a balancer sends first for a client at 203.0.113.7, port 51216.
    const wire::Bytes header = {'\r', '\n', '\r', '\n', 0,    '\r', '\n', 'Q', 'U', 'I',
                                'T',  '\n', 0x21, 0x11, 0,    12,   203,  0,   113, 7,
                                10,   0,    0,    1,    0xC8, 0x10, 0x23, 0x8C};
    auto player = Connect(10001);
    player->Line().SendRaw(header);
    EXPECT_EQ(player->Login().ucErrNo, 0);
    EXPECT_EQ(player->Password("123456", "secret").ucResultType, 0);
    const auto password =
        Seen(ServerKind::Queue, MODIFY_PASSWORD_L2Q).As<ModifyPassWordReq_trans>();
    EXPECT_EQ(TextOf(password.szClientIP), "203.0.113.7");
    EXPECT_TRUE(lobby.LogHas(" is the proxy of 203.0.113.7:51216"));
    auto direct = Connect(10002);
    direct->Line().Send(MSG_KEEP_ALIVE);
    EXPECT_TRUE(Closed(*direct));
    EXPECT_TRUE(Has(lobby.LogFile("test.json"), " sends no PROXY header, do close...\"}\n"));
}

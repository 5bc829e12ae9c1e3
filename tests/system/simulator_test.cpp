// The simulator, the player and the message catalogue by themselves: no lobby here.
#include <gmock/gmock.h>

#include <fstream>

#include "BankInfoDef_Trans.h"
#include "Catalog.h"
#include "Connection.h"
#include "Platform.h"
#include "QueueServer.h"

using client::Clock;
using client::Connection;
using sim::ServerKind;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

Clock::time_point Soon() {
    return Clock::now() + std::chrono::seconds(20);
}

class SimulatorTest : public testing::Test {
  protected:
    SimulatorTest() {
        platform.OpenAll();
        platform.Start();
    }
    Connection Link(ServerKind kind) {
        return Connection("127.0.0.1", platform.Port(kind), client::Transport::Tcp, Soon());
    }
    template <class Res, class Req>
    Res Ask(Connection& link, uint16_t type, const Req& req) {
        link.Send(type, req);
        return link.Receive(Soon())->As<Res>();
    }

    sim::Platform platform;
};

}  // namespace

TEST(CatalogTest, LayoutsCoverTheirStructuresButPaddingAndEveryFieldHasAMeaning) {
    for (const catalog::Message& message : catalog::All()) {
        if (message.layout == nullptr) continue;
        SCOPED_TRACE(message.layout->name);
        size_t at = 8;
        for (const catalog::Field& field : message.layout->fields) {
            EXPECT_NE(field.meaning, "") << field.name;
            EXPECT_GE(field.offset, at) << field.name;
            EXPECT_LT(field.offset, at + 4) << field.name;
            at = field.End();
        }
        EXPECT_GE(message.layout->size, at);
        EXPECT_LT(message.layout->size, at + 4);
    }
}

TEST(CatalogTest, MessagesAreDescribedHoweverShortTheyAre) {
    GetBankCoinReq_trans take{};
    take.base.iUserID = -7;
    take.base.llGetNum = INT64_MIN;
    wire::SetText(take.base.szBankerPwd, "a\"b\n");
    const auto bytes = wire::Pack(BANK_GET_COIN_L2Q, take);
    const auto direction = catalog::Direction::LobbyToQueue;
    const std::string text = catalog::Describe(direction, bytes);
    EXPECT_THAT(text, HasSubstr("GetBankCoinReq_trans iUserID=-7 iSiteID=0"));
    EXPECT_THAT(text, HasSubstr(R"(llGetNum=-9223372036854775808 szBankerPwd="a\"b\x0a")"));
    EXPECT_THAT(catalog::DescribeJson(direction, bytes),
                HasSubstr(R"("szBankerPwd":"a\"b\u000a")"));
    const auto client = catalog::Direction::LobbyToClient;
    GetCoinResult refused{};
    refused.ucResultType = BANK_RESULT_BAD_VALUE;
    const auto answer = wire::Pack(BANK_GET_COIN_S2C, refused);
    EXPECT_THAT(catalog::Describe(client, answer), EndsWith("(The amount must be at least 1.)"));
    EXPECT_THAT(catalog::DescribeJson(client, answer),
                AllOf(HasSubstr(R"("type":"0x00D6")"), HasSubstr(R"("refused":"The amount)")));
    const wire::Bytes unknown{5, 0, 0, 10, 3, 0, 0x77, 0x78, 0xAB, 0x0F};
    EXPECT_THAT(catalog::Describe(client, unknown), HasSubstr("ab0f"));
    EXPECT_THAT(catalog::DescribeJson(client, unknown), HasSubstr(R"("bytes":"0500000a)"));
    for (const catalog::Message& row : catalog::All()) {
        wire::Bytes message(row.size + 200, 0xFF);  // counts of all ones
        message[6] = static_cast<uint8_t>(row.type >> 8);
        message[7] = static_cast<uint8_t>(row.type);
        for (size_t size = 0; size < message.size(); size += size < 100 ? 1 : 97) {
            EXPECT_FALSE(catalog::Describe(row.direction, {message.data(), size}).empty());
        }
    }
}

TEST_F(SimulatorTest, AnythingALobbySendsHurtsThatLinkOnly) {
    auto bystander = Link(ServerKind::Queue);
    for (const ServerKind kind : sim::ALL_SERVERS) {
        auto broken = Link(kind);
        broken.SendRaw(wire::Bytes(100, 0x41));
        EXPECT_TRUE(broken.WaitClosed(Soon())) << sim::NameOf(kind);
        auto odd = Link(kind);
        for (int type = 0; type < 0x10000; type += 5) {
            const wire::Bytes body(static_cast<size_t>(8 + type % 64), 0xFF);
            odd.Send(static_cast<uint16_t>(type), body.data(), body.size());
        }
        while (platform.Do([&] { return platform.Server(kind).Links(); }) == 0) {
        }
    }
    UserInfoReq req{};
    req.userID = 10001;
    wire::SetText(req.szPasswdToken, "token");
    EXPECT_EQ(+Ask<UserInfoRes>(bystander, USER_INFO_L2Q, req).llBankCoin, 100000);
}

TEST_F(SimulatorTest, ProgressIsKeptAcrossLogins) {
    auto link = Link(ServerKind::Data);
    LobbyActivitySingleProgressUpdate update{};
    update.iGameCoin = 30;
    update.progress.iUserId = 10001;
    update.progress.iActivityId = 5;
    update.ulPlayerNode = 3;
    const auto res =
        Ask<LobbyActivitySingleProgressUpdateRes>(link, ACT_SINGLE_PROGRESS_UPDATE, update);
    EXPECT_EQ(res.iError, 0);
    EXPECT_EQ(res.iGameCoin, 30);
    EXPECT_EQ(res.progress.iActivityId, 5);
    EXPECT_EQ(+res.ulPlayerNode, 3u);
    tagDBUserActivityProgressReq req{};
    req.iUserID = 10001;
    const auto list = Ask<tagDBActivityProgressList>(link, ACT_PROGRESS_REQ, req);
    EXPECT_EQ(std::pair(+list.iCount, +list.iFinished), std::pair(1, 1));
}

TEST_F(SimulatorTest, ControlCommandsAnswerAndRefuseNonsense) {
    platform.DoCommand("recharge 10001 100");
    EXPECT_THAT(platform.DoCommand("totals"), HasSubstr("created=100 base="));
    for (const char* line : {"", "nonsense", "player", "player x", "player 1", "recharge 10001 -1",
                             "drop nobody", "server close 1", "site withdraw 9 9", "global 4 x",
                             "activity 1 dance", "server add 70000 1", "bulletin loud x"}) {
        EXPECT_THAT(platform.DoCommand(line), testing::StartsWith("error: ")) << line;
    }
    const uint16_t port = platform.Do([&] { return platform.OpenControl(0); });
    Connection control("127.0.0.1", port, client::Transport::Tcp, Soon());
    const std::string line = "down queue\nlinks\nup queue\n";
    control.SendRaw({reinterpret_cast<const uint8_t*>(line.data()), line.size()});
    EXPECT_TRUE(control.WaitClosed(Soon()));  // its answers are no messages
}

TEST(WorldTest, FilesReplaceListsAndMistakesAreNamed) {
    const std::string path = testing::TempDir() + "world_test.json";
    sim::World world = sim::DefaultWorld();
    const auto load = [&](const std::string& text) {
        std::ofstream(path) << text;
        std::string error;
        return sim::LoadWorld(path, world, error) ? "" : error;
    };
    const std::string dump = sim::DumpWorld(world);
    EXPECT_EQ(load(dump), "");
    EXPECT_EQ(sim::DumpWorld(world), dump);
    EXPECT_EQ(load(R"({"players":[{"id":5,"token":"t","coin":9}]})"), "");
    const std::pair<const char*, const char*> mistakes[] = {
        {"[", "not a JSON object"},
        {R"({"players":7})", "\"players\" is not a list"},
        {R"({"players":[{"id":1,"cash":2}]})", "\"cash\""},
        {R"({"players":[{"token":"x"}]})", "\"id\""}};
    for (const auto& [text, named] : mistakes)
        EXPECT_THAT(load(text), HasSubstr(named));
    ASSERT_EQ(world.players.size(), 1u);
    EXPECT_EQ(world.players[5].token, "t");
    EXPECT_EQ(world.players[5].bankPassword, "888888");
    EXPECT_EQ(world.servers.size(), 68u);
    std::remove(path.c_str());
    std::string error;
    EXPECT_FALSE(sim::LoadWorld(path, world, error));
}

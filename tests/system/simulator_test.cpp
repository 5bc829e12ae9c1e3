// The simulator, the player and the message catalogue by themselves: no lobby here.
#include <gmock/gmock.h>

#include "BankInfoDef_Trans.h"
#include "Catalog.h"
#include "Connection.h"
#include "Files.h"
#include "Platform.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

TEST(CatalogTest, LayoutsCoverTheirStructuresButPaddingAndEveryFieldHasAMeaning) {
    for (const catalog::Message& message : catalog::All()) {
        if (message.layout == nullptr) continue;
        SCOPED_TRACE(message.layout->name);
        size_t at = 8;
        for (const catalog::Field& field : message.layout->fields) {
            EXPECT_NE(field.meaning, "") << field.name;
            EXPECT_TRUE(field.offset >= at && field.offset < at + 4) << field.name;
            at = field.End();
        }
        EXPECT_TRUE(message.layout->size >= at && message.layout->size < at + 4);
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
        for (size_t size = 0; size < message.size(); size += size < 100 ? 1 : 97)
            EXPECT_FALSE(catalog::Describe(row.direction, {message.data(), size}).empty());
    }
}

TEST(SimulatorTest, ControlCommandsAnswerAndRefuseNonsense) {
    sim::Platform platform;
    platform.OpenAll();
    platform.Start();
    platform.DoCommand("recharge 10001 100");
    EXPECT_THAT(platform.DoCommand("totals"), HasSubstr("created=100 base="));
    for (const char* line : {"", "nonsense", "player", "player x", "player 1", "recharge 10001 -1",
                             "drop nobody", "server close 1", "site withdraw 9 9", "global 4 x",
                             "activity 1 dance", "server add 70000 1", "bulletin loud x"}) {
        EXPECT_THAT(platform.DoCommand(line), testing::StartsWith("error: ")) << line;
    }
    const uint16_t port = platform.Do([&] { return platform.OpenControl(0); });
    const auto soon = client::Clock::now() + std::chrono::seconds(20);
    client::Connection control("127.0.0.1", port, client::Transport::Tcp, soon);
    const std::string line = "down queue\nlinks\nup queue\n";
    control.SendRaw({reinterpret_cast<const uint8_t*>(line.data()), line.size()});
    EXPECT_TRUE(control.WaitClosed(soon));  // its answers are no messages
}

TEST(WorldTest, FilesReplaceListsAndMistakesAreNamed) {
    const TempFile file("");
    sim::World world = sim::DefaultWorld();
    std::string error;
    const auto load = [&](const std::string& text) {
        WriteFile(file.Path(), text);
        return sim::LoadWorld(file.Path(), world, error) ? "" : error;
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
    EXPECT_FALSE(sim::LoadWorld("no such file", world, error));
    ASSERT_EQ(world.players.size(), 1u);
    EXPECT_EQ(world.players[5].token, "t");
    EXPECT_EQ(world.players[5].bankPassword, "888888");
    EXPECT_EQ(world.servers.size(), 68u);
}

// Directories, bulletins, farm messages and activities, from server to client.
#include "SystemTest.h"
#include "log_server_msg.h"

class PushTest : public SystemTest {};

TEST_F(PushTest, ServerListIsWhatTheCenterAnnounced) {
    Serve();
    // The center's records arrive after the lobby listens; this is the last one.
    ASSERT_TRUE(Eventually([&] { return lobby.LogHas("[104],[1405],[room 1405]"); }));
    const auto servers = LoggedIn(10001)->ServerList();
    ASSERT_EQ(servers.size(), 54u);  // 4 levels of a merged game, 40 and 10 rooms
    EXPECT_EQ(servers[0].usServerID, 0);
    EXPECT_EQ(servers[4].usServerID, 1200);
    platform.DoCommand("server remove 1200");
    platform.DoCommand("server add 102 1999 2 new room");
    platform.DoCommand("server close 1201");
    ASSERT_TRUE(Eventually([&] {
        const auto list = LoggedIn(10002)->ServerList();
        return list.size() == 54 && list[4].usServerID == 1201 && list[4].ucOpenFlag == 0;
    }));
    const auto changed = LoggedIn(10003)->ServerList();
    const auto added = std::ranges::find(changed, 1999, &tagServerInfo::usServerID);
    ASSERT_NE(added, changed.end());
    EXPECT_EQ(TextOf(added->szServerName), "new room");
    platform.DoCommand("site withdraw 1 102");
    platform.DoCommand("server remove 1300");  // a rebuild shows it
    EXPECT_TRUE(Eventually([&] { return LoggedIn(10002)->ServerList().size() == 4 + 9; }));
}

TEST_F(PushTest, BulletinsReachEveryClientWhole) {
    constexpr int clients = 200;
    RaiseDescriptorLimit();
    platform.Do([&] { platform.TheWorld().AddPlayers(20001, clients); });
    Serve();
    std::vector<std::unique_ptr<Player>> all;
    for (int i = 0; i < clients; ++i)
        all.push_back(LoggedIn(20001 + i));
    platform.Do([&] {  // between two ticks of the lobby or not: in either case all five arrive
        for (int i = 0; i < 4; ++i)
            platform.Command("bulletin win " + std::to_string(i));
        platform.Command("bulletin sys under maintenance soon");
    });
    for (auto& player : all) {
        std::string texts;
        for (size_t got = 0; got < 5;) {
            const Message message = player->AwaitPush(MSG_CLIENT_BULLETIN);
            const auto notice = message.As<WinBulletinNotice>();
            ASSERT_EQ(message.bytes.size(), 12u + 652u * notice.usBulletNum);
            for (size_t i = 0; i < notice.usBulletNum; ++i, ++got) {
                texts += TextStr(notice.bulletinItem[i].szContent);
            }
        }
        for (const char* text : {"0", "1", "2", "3", "under maintenance soon"}) {
            EXPECT_NE(texts.find(text), std::string::npos) << texts;
        }
    }
}

TEST_F(PushTest, FarmMessagesGoToOneToAllAndToSubscribers) {
    Serve();
    auto one = LoggedIn(10001);
    auto two = LoggedIn(10002);
    const auto text = [](const std::unique_ptr<Player>& player) {
        const Message notice = player->AwaitPush(MSG_CLIENT_FARM_NOTICE);
        return TextStr(notice.As<LobbyTransferFarmNotice>().szMsgContent);
    };
    platform.DoCommand("farm user 10001 rain");
    EXPECT_EQ(text(one), "rain");
    platform.DoCommand("farm all sun");
    // Before the list of keys has come a key means nothing: everybody gets it.
    platform.DoCommand("farm key farm.harvest wheat");
    for (const char* expected : {"sun", "wheat"}) {
        EXPECT_EQ(text(one), expected);
        EXPECT_EQ(text(two), expected);
    }
    const Message record = Seen(ServerKind::Log, MSG_LOG_FARM_TRANSFER, 1);
    EXPECT_EQ(record.As<LobbyFarmTransferLog>().iTransferPort, port);
    platform.DoCommand("keys");
    ASSERT_TRUE(Eventually([&] { return lobby.LogHas("key[farm.market]"); }));
    one->Subscribe("farm.harvest");
    one->KeepAlive();
    platform.DoCommand("farm key farm.harvest barley");
    const auto published = one->AwaitPush(CLIENT_PUBLISH_MSG_S2C).As<ClientPublishMsg>();
    EXPECT_EQ(TextOf(published.szKey), "farm.harvest");
    EXPECT_EQ(TextOf(published.szMsgContent), "barley");
    one->Unsubscribe("farm.harvest");
    one->KeepAlive();
    platform.DoCommand("farm key farm.harvest rye");
    ASSERT_TRUE(Eventually([&] { return lobby.LogHas("key[farm.harvest] 转发"); }));
    for (auto* player : {one.get(), two.get()}) {
        player->OnPush([](const Message& message) { ADD_FAILURE() << std::hex << message.type; });
        player->KeepAlive();
    }
    EXPECT_EQ(CountSeen(ServerKind::Log, MSG_LOG_FARM_TRANSFER), 3u);
}

TEST_F(PushTest, ClosingAnActivityIsToldToClientsOnce) {
    Serve();
    auto player = LoggedIn(10001);
    for (const int closed : {20180901, 20180901, 20171211})
        platform.DoCommand("activity " + std::to_string(closed) + " close");
    for (const int told : {20180901, 20171211}) {
        const Message notice = player->AwaitPush(CLIENT_ACTIVITY_CLOSE_NOTICE);
        EXPECT_EQ(notice.As<ActivityCloseNotice>().iActivity, told);
    }
}

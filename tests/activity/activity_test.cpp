#include "DataServerHandler.h"
#include "DirectoryWorld.h"
#include "ExampleActivity.h"
#include "activityHandler/Activity20171211.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "eventSystem/EventDispatcher.h"
#include "queue_server_msg.h"

namespace {

constexpr int kId = ExampleActivity::kActivityId;
constexpr int kUser = 10001;

template <class Head, class Record>
std::string ListOf(Head head, const std::vector<Record>& records) {
    std::string bytes(reinterpret_cast<const char*>(&head), sizeof(head));
    for (const Record& record : records) {
        bytes.append(reinterpret_cast<const char*>(&record), sizeof(record));
    }
    return bytes;
}

class ActivityTest : public DirectoryTest {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        DirectoryTest::SetUp();
        example = std::make_unique<ExampleActivity>(lobby.get());
        system->AddActivityHandler(example.get());
        player = Login(kUser);
        net.Received(Link(QUEUE));
    }
    void TearDown() override {
        system->RemoveActivityProgress(player);
        example->removeAllEventListener();
        system->RemoveActivityHandler(example.get());
        DirectoryTest::TearDown();
    }

    static tagDBActivityConfigData Row(int id = kId) {
        tagDBActivityConfigData row{};
        row.iActivityId = id;
        row.isOpen = 1;
        row.iCondition1 = 3;
        row.iCondition2 = 77;
        row.iGamecoin = 500;
        return row;
    }
    static tagDBUserActivityProgressData Record(int id = kId) {
        tagDBUserActivityProgressData record{};
        record.iUserId = kUser;
        record.iActivityId = id;
        return record;
    }
    void Configure(const std::vector<tagDBActivityConfigData>& rows) {
        tagDBSiteActivityList head{};
        head.iCount = static_cast<int>(rows.size());
        head.iIsFinish = 1;
        net.Deliver(Link(DATA), ACT_CONFIG_RES, ListOf(head, rows));
    }
    void GiveProgress(const std::vector<tagDBUserActivityProgressData>& records, int finished = 1) {
        tagDBActivityProgressList head{};
        head.ulPlayerNode = NodeHandle(player);
        head.ulPlayerNodeId = *player;
        head.iCount = static_cast<int>(records.size());
        head.iFinished = finished;
        net.Deliver(Link(DATA), ACT_PROGRESS_RES, ListOf(head, records));
    }
    tagDBUserActivityProgressData* Stored(int id = kId) {
        tagDBUserActivityProgressData* record = nullptr;
        system->FindProgressByUserID(kUser, id, &record);
        return record;
    }
    void Ask(int level) {
        UserProgressReq request{};
        request.iActivityId = kId;
        request.iLevel = level;
        net.Deliver(player, CLIENT_USER_PROGRESS_REQ, request);
    }
    // The data server's answer to the one update it was just sent.
    LobbyActivitySingleProgressUpdateRes Confirmation(int error = 0) {
        LobbyActivitySingleProgressUpdateRes result{};
        for (const auto& sent : Received(Link(DATA))) {
            if (sent.type != ACT_SINGLE_PROGRESS_UPDATE) continue;
            const auto update = sent.As<LobbyActivitySingleProgressUpdate>();
            result.iGameCoin = update.iGameCoin;
            result.iGameCoinSourceId = update.iGameCoinSourceId;
            result.progress = update.progress;
            result.ulPlayerNode = update.ulPlayerNode;
            result.ulPlayerNodeId = update.ulPlayerNodeId;
        }
        result.iError = error;
        return result;
    }

    ActivitySystem* system = ActivitySystem::getInstance();
    std::unique_ptr<ExampleActivity> example;
    LobbyPlayer* player = nullptr;
};

TEST_F(ActivityTest, LinkRegistersAndAsksForConfigurationWhenItComesUp) {
    const auto& sent = first[DATA];
    ASSERT_EQ(sent.size(), 3u);
    const std::pair<uint16_t, size_t> expected[] = {
        {ACT_REGISTER_REQ, 16}, {ACT_CONFIG_REQ, 12}, {ACT_ACCOUNT_TYPE_REQ, 8}};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(sent[i].type, expected[i].first);
        EXPECT_EQ(sent[i].bytes.size(), expected[i].second);
    }
}

TEST_F(ActivityTest, WindowDecidesWhetherTheRowOpens) {
    constexpr int64_t kMidnight = 1'700'006'400;  // 2023-11-15 00:00 UTC
    const struct {
        const char* name;
        int isOpen, begin, end;
        int64_t from, to, now;
        bool open;
    } cases[] = {
        {"no limits", 1, 0, 0, 0, 0, kMidnight, true},
        {"switched off", 0, 0, 0, 0, 0, kMidnight, false},
        {"before the hour", 1, 8, 22, 0, 0, kMidnight + 8 * 3600 - 1, false},
        {"at the hour", 1, 8, 22, 0, 0, kMidnight + 8 * 3600, true},
        {"last second of the day", 1, 8, 22, 0, 0, kMidnight + 22 * 3600 - 1, true},
        {"after the day", 1, 8, 22, 0, 0, kMidnight + 22 * 3600, false},
        {"equal hours", 1, 9, 9, 0, 0, kMidnight, true},
        {"before the start", 1, 0, 0, kMidnight + 1, 0, kMidnight, false},
        {"at the start", 1, 0, 0, kMidnight, 0, kMidnight, true},
        {"at the end", 1, 0, 0, 0, kMidnight, kMidnight, false},
        {"before the end", 1, 0, 0, 0, kMidnight + 1, kMidnight, true},
    };
    for (const auto& c : cases) {
        g_testNow = c.now;
        auto row = Row();
        row.isOpen = static_cast<int8_t>(c.isOpen);
        row.iDayBegin = c.begin;
        row.iDayEnd = c.end;
        row.ulTimeBegin = static_cast<uint64_t>(c.from);
        row.ulTimeEnd = static_cast<uint64_t>(c.to);
        Configure({row});
        EXPECT_EQ(example->isOpen(), c.open) << c.name;
    }
}

TEST_F(ActivityTest, ClosingRowTellsClientsExactlyOnce) {
    Configure({Row()});
    net.Received(player);
    auto closed = Row();
    closed.isOpen = 0;
    Configure({closed});
    Configure({closed});
    const auto sent = net.Received(player);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].type, 0xE014);
    EXPECT_EQ(sent[0].bytes.size(), 12u);
    EXPECT_EQ(sent[0].At<int32_t>(8), kId);
    EXPECT_EQ(example->m_vecCalls,
              (std::vector<std::string>{"config", "closed", "config", "config"}));
}

TEST_F(ActivityTest, CountsThatWrapOrDoNotFitRefuseTheWholeList) {
    struct {
        int32_t count;
        size_t records;
    } const cases[] = {{-1, 0},      {1, 0},          {0, 1},         {2, 1},
                       {1 << 29, 0}, {1 << 30, 0},    {INT32_MIN, 0}, {INT32_MAX, 1},
                       {39768216, 1}};
    for (const auto& c : cases) {
        tagDBSiteActivityList config{};
        config.iCount = c.count;
        net.Deliver(Link(DATA), ACT_CONFIG_RES,
                    ListOf(config, std::vector(c.records, Row())));
        tagDBActivityProgressList progress{};
        progress.ulPlayerNode = NodeHandle(player);
        progress.ulPlayerNodeId = *player;
        progress.iCount = c.count;
        net.Deliver(Link(DATA), ACT_PROGRESS_RES,
                    ListOf(progress, std::vector(c.records, Record())));
    }
    net.Deliver(Link(DATA), ACT_CONFIG_RES, std::string(15, '\0'));
    net.Deliver(Link(DATA), ACT_PROGRESS_RES, std::string(31, '\0'));
    EXPECT_FALSE(example->isOpen());
    EXPECT_EQ(example->m_vecCalls, std::vector<std::string>{});
    EXPECT_EQ(Stored(), nullptr);
}

TEST_F(ActivityTest, ProgressListInAllBranches) {
    auto closed = Row(Activity20171211::kActivityId);
    closed.isOpen = 0;
    auto elsewhere = Row(20180901);
    elsewhere.iSiteId = 9;
    Configure({Row(), closed, elsewhere});
    example->m_vecCalls.clear();

    GiveProgress({}, 0);
    EXPECT_EQ(Stored(), nullptr) << "an unfinished list makes no records";

    auto record = Record();
    record.iProgress1 = 2;
    auto twice = Record();
    twice.iProgress1 = 9;
    GiveProgress({Record(closed.iActivityId), Record(elsewhere.iActivityId), Record(5), record,
                  twice});
    ASSERT_NE(Stored(), nullptr);
    EXPECT_EQ(Stored()->iProgress1, 2) << "the first record of an activity stays";
    EXPECT_EQ(Stored(closed.iActivityId), nullptr);
    EXPECT_EQ(Stored(elsewhere.iActivityId), nullptr);
    EXPECT_EQ(Stored(5), nullptr);
    EXPECT_EQ(example->m_vecCalls, std::vector<std::string>{"startInit"});
}

TEST_F(ActivityTest, FinishedListMakesRecordsOnlyForSingleGameActivities) {
    auto multi = Row(Activity20171211::kActivityId);
    multi.isMultiGame = 1;
    Configure({Row(), multi});
    GiveProgress({});
    EXPECT_NE(Stored(), nullptr);
    EXPECT_EQ(Stored(multi.iActivityId), nullptr);
    EXPECT_EQ(example->m_vecCalls.back(), "startInit fresh");
}

TEST_F(ActivityTest, ProgressForASessionThatIsGoneIsDropped) {
    Configure({Row()});
    tagDBActivityProgressList head{};
    head.iFinished = 1;
    for (const uint64_t handle : {NodeHandle(player), uint64_t{1}, uint64_t{0}}) {
        head.ulPlayerNode = handle;
        for (const uint64_t id : {*player + 1ul, 0ul}) {
            head.ulPlayerNodeId = id;
            net.Deliver(Link(DATA), ACT_PROGRESS_RES, ListOf(head, std::vector{Record()}));
        }
    }
    EXPECT_EQ(Stored(), nullptr);
}

TEST_F(ActivityTest, EventsReachOpenActivitiesOfPlayersWithARecord) {
    const auto dispatchAll = [&](LobbyPlayer* who) {
        for (const int type : {1, 5, 7, 8, 9, 10}) {
            EventDispatcher::getInstance()->dispatchEvent(type, static_cast<IPlayerNode*>(who),
                                                          nullptr, 2);
        }
    };
    Configure({Row()});
    dispatchAll(player);
    GiveProgress({});
    example->m_vecCalls.clear();
    dispatchAll(player);
    dispatchAll(Login(10002));
    EXPECT_EQ(example->m_vecCalls, (std::vector<std::string>{"initialize", "sitdown", "ready",
                                                             "start", "end", "regame"}));
    EXPECT_EQ(Stored()->iProgress1, 2);
    example->m_bPaused = true;
    dispatchAll(player);
    EXPECT_EQ(example->m_vecCalls.size(), 6u);
}

TEST_F(ActivityTest, ClientRequestsNeedTheExactLengthAnOpenActivityAndARecord) {
    Configure({Row()});
    Ask(ExampleActivity::kShow);
    GiveProgress({});
    net.Received(player);
    for (const size_t size : {31u, 33u}) {
        UserProgressReq request{};
        request.iActivityId = kId;
        std::string bytes(reinterpret_cast<char*>(&request), sizeof(request));
        bytes.resize(size);
        net.Deliver(player, CLIENT_USER_PROGRESS_REQ, bytes);
    }
    example->m_bPaused = true;
    Ask(ExampleActivity::kShow);
    EXPECT_TRUE(net.Received(player).empty());
    example->m_bPaused = false;
    Ask(ExampleActivity::kShow);
    EXPECT_EQ(net.Received(player).size(), 1u);
}

TEST_F(ActivityTest, RewardFromRequestToBookingAndWriteBack) {
    Configure({Row()});
    GiveProgress({});
    Stored()->iProgress1 = 3;
    player->iAccountsourceid = 4;
    player->iTeamTag = 5;
    std::memcpy(player->szOutAccount, "out", 4);
    Received(Link(DATA));
    Ask(ExampleActivity::kFetch);
    net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, Confirmation());

    const auto booked = Received(Link(QUEUE));
    ASSERT_EQ(booked.size(), 1u);
    EXPECT_EQ(booked[0].type, 0xD084);
    ASSERT_EQ(booked[0].bytes.size(), 120u);
    const auto booking = booked[0].As<tagDBUpdateUserPropInfo>();
    EXPECT_EQ(booking.iUserID, kUser);
    EXPECT_EQ(booking.iActivityID, kId);
    EXPECT_EQ(booking.iType, 1);
    EXPECT_EQ(booking.iValue, 500);
    EXPECT_EQ(booking.iSourceID, 77);
    EXPECT_EQ(booking.iClientSiteType, 4);
    EXPECT_EQ(booking.iTeamTag, 5);
    EXPECT_STREQ(booking.szOutAccount, "out");

    Ask(ExampleActivity::kFetch);
    EXPECT_TRUE(Received(Link(DATA)).empty()) << "granted once";

    net.Hangup(player);
    const auto back = Received(Link(DATA));
    ASSERT_EQ(back.size(), 1u);
    EXPECT_EQ(back[0].type, ACT_PROGRESS_UPDATE);
    ASSERT_EQ(back[0].bytes.size(), 12u + 88u);
    const auto record = back[0].At<tagDBUserActivityProgressData>(12);
    EXPECT_EQ(record.iProgress2, 1);
    EXPECT_EQ(record.iGamecoin, 500);
    const int64_t updated = record.updateTime;
    EXPECT_EQ(updated, g_testNow);
    EXPECT_EQ(Stored(), nullptr);
}

// The session that asked may have gone, or its handle may be anybody's: the reward belongs to
// the user the record names, and no other session may be credited.
TEST_F(ActivityTest, RewardOfAStaleOrForgedHandleGoesToTheRecordsUser) {
    Configure({Row()});
    LobbyPlayer* const other = Login(10002);
    const struct {
        const char* name;
        int32_t user;
        uint64_t handle, id;
    } cases[] = {
        {"stale id", kUser, NodeHandle(player), *player + 100ul},
        {"another player's node", kUser, NodeHandle(other), *player},
        {"closed id", kUser, NodeHandle(player), 0},
        {"foreign memory", kUser, 0x10, 0},
        {"user not here", 4242, ~0ull, 7},
    };
    for (const auto& c : cases) {
        Received(Link(QUEUE));
        LobbyActivitySingleProgressUpdateRes result{};
        result.progress = Record();
        result.progress.iUserId = c.user;
        result.iGameCoin = 10;
        result.iYuanBaoNum = 1;
        result.ulPlayerNode = c.handle;
        result.ulPlayerNodeId = c.id;
        net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, result);
        const auto booked = Received(Link(QUEUE));
        ASSERT_EQ(booked.size(), 2u) << c.name;
        EXPECT_EQ(booked[0].As<tagDBUpdateUserPropInfo>().iUserID, c.user) << c.name;
        EXPECT_EQ(booked[1].As<tagDBUpdateUserPropInfo>().iType, 2) << c.name;
    }
}

TEST_F(ActivityTest, RefusedProgressResultBooksNothing) {
    Configure({Row()});
    GiveProgress({});
    Stored()->iProgress1 = 3;
    Ask(ExampleActivity::kFetch);
    auto refused = Confirmation(1);
    net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, refused);
    refused.iError = 0;
    DeliverCut(DATA, ACT_SINGLE_PROGRESS_RES, refused, 143);
    EXPECT_TRUE(Received(Link(QUEUE)).empty());
    EXPECT_EQ(Stored()->iProgress2, 0);
}

TEST_F(ActivityTest, WriteBackSplitsIntoMessagesThatFit) {
    for (const int changed : {0, 1, 46, 47, 200}) {
        std::vector<std::unique_ptr<IActivityHandler>> handlers;
        std::vector<tagDBActivityConfigData> rows;
        for (int i = 0; i < 200; ++i) {
            handlers.push_back(std::make_unique<IActivityHandler>(1000 + i, lobby.get()));
            system->AddActivityHandler(handlers.back().get());
            rows.push_back(Row(1000 + i));
        }
        for (int i = 0; i < 200; i += 20) {
            Configure({rows.begin() + i, rows.begin() + i + 20});
        }
        LobbyPlayer* const leaver = Login(20000);
        tagDBActivityProgressList head{};
        head.ulPlayerNode = NodeHandle(leaver);
        head.ulPlayerNodeId = *leaver;
        head.iFinished = 1;
        net.Deliver(Link(DATA), ACT_PROGRESS_RES, head);
        for (int i = 0; i < changed; ++i) {
            tagDBUserActivityProgressData* record = nullptr;
            ASSERT_TRUE(system->FindProgressByUserID(20000, 1000 + i, &record));
            record->isUpdate = 1;
        }
        Received(Link(DATA));
        net.Hangup(leaver);

        int total = 0;
        for (const auto& sent : Received(Link(DATA))) {
            const int count = sent.At<int32_t>(8);
            EXPECT_LE(sent.bytes.size(), 4096u);
            EXPECT_EQ(sent.bytes.size(), 12u + 88u * count);
            for (int i = 0; i < count; ++i) {
                EXPECT_EQ(sent.At<int32_t>(12 + 88 * i + 8), 1000 + total + i);
            }
            total += count;
        }
        EXPECT_EQ(total, changed);
        for (auto& handler : handlers) {
            handler->removeAllEventListener();
            system->RemoveActivityHandler(handler.get());
        }
    }
}

TEST_F(ActivityTest, GlobalMessagesReachClosedActivitiesToo) {
    for (const uint16_t type : {0xE001, 0xE002, 0xE003, 0xE004}) {
        net.Deliver(Link(DATA), type, std::string(8, '\0'));
    }
    EXPECT_EQ(example->m_vecCalls, (std::vector<std::string>(3, "global 0")));
}

TEST_F(ActivityTest, AccountTypesByThresholds) {
    EXPECT_EQ(system->GetUserAccountType(1000, 99, 0, 0), 0);
    UserAccountTypeConfig config{};
    config.iHighPayamount = 100;
    config.iHighYbamount = 10;
    config.iLowPayamount = 50;
    config.iLowYbamount = 5;
    config.iMachineIndex = 3;
    config.iPlayTimes = 20;
    DeliverCut(DATA, ACT_ACCOUNT_TYPE_RES, config, 31);
    EXPECT_EQ(system->GetUserAccountType(1000, 99, 0, 0), 0);
    net.Deliver(Link(DATA), ACT_ACCOUNT_TYPE_RES, config);
    const struct {
        int pay, machine, plays, ingots, expected;
    } cases[] = {{100, 0, 99, 10, 4}, {100, 0, 99, 11, 0}, {99, 0, 99, 5, 3}, {50, 0, 99, 6, 0},
                 {49, 4, 99, 0, 1},   {49, 3, 19, 0, 2},   {49, 3, 20, 0, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(system->GetUserAccountType(c.pay, c.machine, c.plays, c.ingots), c.expected);
    }
    net.Deliver(Link(DATA), ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{});
}

TEST_F(ActivityTest, ConfigurationIsAskedForAgainAfterHalfAnHour) {
    net.Tick(g_testNow);
    Received(Link(DATA));
    const time_t start = g_testNow;
    net.Tick(g_testNow = start + 1799);
    size_t asked = 0;
    const auto count = [&] {
        asked = 0;
        for (const auto& sent : Received(Link(DATA))) asked += sent.type == ACT_CONFIG_REQ;
        return asked;
    };
    EXPECT_EQ(count(), 0u);
    net.Tick(g_testNow = start + 1800);
    EXPECT_EQ(count(), 2u) << "the lobby's timer and the registry's own both ask";
}

}  // namespace

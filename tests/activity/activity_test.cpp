#include "ExampleActivity.h"
#include "LobbyTest.h"
#include "PublisherMsg.h"
#include "activityHandler/Activity20171211.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "eventSystem/EventDispatcher.h"
#include "queue_server_msg.h"

namespace {

constexpr int kId = ExampleActivity::kActivityId;
constexpr int kUser = 10001;

using Calls = std::vector<std::string>;
using Progress = tagDBUserActivityProgressData;

template <class Head, class Record>
std::string ListOf(const Head& head, const std::vector<Record>& records) {
    std::string bytes = BytesOf(head);
    for (const Record& record : records)
        bytes += BytesOf(record);
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
        Received(Link(QUEUE));
    }
    void TearDown() override {
        system->RemoveActivityProgress(player);
        example->removeAllEventListener();
        system->RemoveActivityHandler(example.get());
        DirectoryTest::TearDown();
    }

    static tagDBActivityConfigData Row(int id = kId, int8_t isOpen = 1) {
        tagDBActivityConfigData row{};
        row.iActivityId = id;
        row.isOpen = isOpen;
        row.iCondition1 = 3;
        row.iCondition2 = 77;
        row.iGamecoin = 500;
        return row;
    }
    static Progress Record(int id = kId, int rounds = 0) {
        Progress record{};
        record.iUserId = kUser;
        record.iActivityId = id;
        record.iProgress1 = rounds;
        return record;
    }
    void Configure(const std::vector<tagDBActivityConfigData>& rows) {
        const tagDBSiteActivityList head{{}, static_cast<int>(rows.size()), 1};
        net.Deliver(Link(DATA), ACT_CONFIG_RES, ListOf(head, rows));
    }
    void GiveProgress(const LobbyPlayer* to, const std::vector<Progress>& records,
                      int finished = 1) {
        const tagDBActivityProgressList head{
            {}, NodeHandle(to), *to, static_cast<int>(records.size()), finished};
        net.Deliver(Link(DATA), ACT_PROGRESS_RES, ListOf(head, records));
    }
    Progress* Stored(int id = kId, int user = kUser) {
        Progress* record = nullptr;
        system->FindProgressByUserID(user, id, &record);
        return record;
    }
    static void SetAccount(LobbyPlayer* of, int least, const char* out) {
        of->iAccountsourceid = least;
        of->iTeamTag = least + 1;
        of->iLianyunFlag = least + 2;
        of->usRegisterType = static_cast<uint16_t>(least + 3);
        std::strcpy(of->szOutAccount, out);
    }
    void Ask(int level, size_t size = sizeof(UserProgressReq)) {
        std::string bytes = BytesOf(UserProgressReq{{}, kId, level, 0, 0, 0, 0});
        bytes.resize(size);
        net.Deliver(player, CLIENT_USER_PROGRESS_REQ, bytes);
    }
    // The data server's answer to the one update it was just sent.
    LobbyActivitySingleProgressUpdateRes Confirmation() {
        const auto sent = Received(Link(DATA));
        if (sent.size() != 1 || sent[0].type != ACT_SINGLE_PROGRESS_UPDATE) return {};
        const auto update = sent[0].As<LobbyActivitySingleProgressUpdate>();
        LobbyActivitySingleProgressUpdateRes result{};
        // The rest of the answer repeats the update.
        std::memcpy(&result.iProgress, &update.iProgress,
                    sizeof(update) - offsetof(LobbyActivitySingleProgressUpdate, iProgress));
        return result;
    }

    ActivitySystem* system = ActivitySystem::getInstance();
    std::unique_ptr<ExampleActivity> example;
    LobbyPlayer* player = nullptr;
};

TEST_F(ActivityTest, WindowDecidesWhetherTheRowOpens) {
    constexpr int64_t kMidnight = 1'700'006'400;  // 2023-11-15 00:00 UTC
    const struct {
        const char* name;
        int8_t isOpen;
        int begin, end;
        uint64_t from, to;
        int64_t now;
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
        auto row = Row(kId, c.isOpen);
        row.iDayBegin = c.begin;
        row.iDayEnd = c.end;
        row.ulTimeBegin = c.from;
        row.ulTimeEnd = c.to;
        Configure({row});
        EXPECT_EQ(example->isOpen(), c.open) << c.name;
    }
}

TEST_F(ActivityTest, ClosingRowTellsClientsExactlyOnce) {
    for (const int8_t isOpen : {1, 0, 0})
        Configure({Row(kId, isOpen)});
    EXPECT_EQ(Got(player), (Messages{{0xE014, BytesOf(ActivityCloseNotice{{}, kId})}}));
    EXPECT_EQ(example->m_vecCalls, (Calls{"config", "closed", "config", "config"}));
}

TEST_F(ActivityTest, CountsThatWrapOrDoNotFitRefuseTheWholeList) {
    const std::pair<int32_t, size_t> cases[] = {{-1, 0},        {1, 0},         {0, 1},
                                                {2, 1},         {1 << 29, 0},   {1 << 30, 0},
                                                {INT32_MIN, 0}, {INT32_MAX, 1}, {39768216, 1}};
    for (const auto& [count, records] : cases) {
        net.Deliver(Link(DATA), ACT_CONFIG_RES,
                    ListOf(tagDBSiteActivityList{{}, count, 0}, std::vector(records, Row())));
        const tagDBActivityProgressList head{{}, NodeHandle(player), *player, count, 0};
        net.Deliver(Link(DATA), ACT_PROGRESS_RES, ListOf(head, std::vector(records, Record())));
    }
    net.Deliver(Link(DATA), ACT_CONFIG_RES, Zeros(15));
    net.Deliver(Link(DATA), ACT_PROGRESS_RES, Zeros(31));
    EXPECT_FALSE(example->isOpen());
    EXPECT_EQ(example->m_vecCalls, Calls{});
    EXPECT_EQ(Stored(), nullptr);
}

TEST_F(ActivityTest, ProgressListInAllBranches) {
    constexpr int kClosed = Activity20171211::kActivityId, kElsewhere = 20180901;
    auto elsewhere = Row(kElsewhere);
    elsewhere.iSiteId = 9;
    Configure({Row(), Row(kClosed, 0), elsewhere});
    LobbyPlayer* const other = Login(10002);
    tagDBActivityProgressList head{{}, NodeHandle(player), *player + 1ul, 1, 1};
    for (const uint64_t handle : {NodeHandle(player), NodeHandle(other), uint64_t{1}}) {
        head.ulPlayerNode = handle;
        for (const uint64_t id : {*player + 100ul, 0ul}) {
            head.ulPlayerNodeId = id;
            net.Deliver(Link(DATA), ACT_PROGRESS_RES, ListOf(head, std::vector{Record()}));
        }
    }
    EXPECT_EQ(Stored(), nullptr) << "a session that is gone";
    GiveProgress(player, {}, 0);
    EXPECT_EQ(Stored(), nullptr) << "an unfinished list makes no records";

    example->m_vecCalls.clear();
    GiveProgress(player,
                 {Record(kClosed), Record(kElsewhere), Record(5), Record(kId, 2), Record(kId, 9)});
    ASSERT_NE(Stored(), nullptr);
    EXPECT_EQ(Stored()->iProgress1, 2) << "the first record of an activity stays";
    for (const int id : {kClosed, kElsewhere, 5})
        EXPECT_EQ(Stored(id), nullptr) << id;
    EXPECT_EQ(example->m_vecCalls, Calls{"startInit"});

    auto multi = Row(kClosed);
    multi.isMultiGame = 1;
    Configure({multi});
    other->m_iSiteID = 9;
    GiveProgress(other, {});
    EXPECT_NE(Stored(kElsewhere, 10002), nullptr) << "his own site";
    EXPECT_NE(Stored(kId, 10002), nullptr);
    EXPECT_EQ(Stored(kClosed, 10002), nullptr) << "made for single-game activities only";
    EXPECT_EQ(example->m_vecCalls.back(), "startInit fresh");
    net.Hangup(other);  // its records outlive the lobby otherwise
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
    GiveProgress(player, {});
    dispatchAll(player);
    dispatchAll(Login(10002));
    example->m_bPaused = true;
    dispatchAll(player);
    EXPECT_EQ(example->m_vecCalls, (Calls{"config", "startInit fresh", "initialize", "sitdown",
                                          "ready", "start", "end", "regame"}));
    EXPECT_EQ(Stored()->iProgress1, 2);
}

TEST_F(ActivityTest, ClientRequestsNeedTheExactLengthAnOpenActivityAndARecord) {
    Configure({Row()});
    Ask(ExampleActivity::kShow);
    GiveProgress(player, {});
    Ask(ExampleActivity::kShow, 31);
    Ask(ExampleActivity::kShow, 33);
    system->HandleActivityMessage(kId, CLIENT_USER_PROGRESS_REQ, Zeros(33).data(), 33, player);
    example->m_bPaused = true;
    Ask(ExampleActivity::kShow);
    EXPECT_TRUE(Received(player).empty());
    example->m_bPaused = false;
    Ask(ExampleActivity::kShow);
    EXPECT_EQ(Received(player).size(), 1u);
}

TEST_F(ActivityTest, RewardFromRequestToBookingAndWriteBack) {
    static const tagDBUpdateUserPropInfo booking{{},  kUser, 0, 0,     0, kId, 1,
                                                 500, 77,    4, "out", 5, 6,   7};
    Configure({Row()});
    GiveProgress(player, {Record(kId, 3)});
    Received(Link(DATA));
    SetAccount(player, 4, "out");
    Ask(ExampleActivity::kFetch);
    auto confirmed = Confirmation();
    for (const size_t size : {143, 145})
        DeliverCut(DATA, ACT_SINGLE_PROGRESS_RES, confirmed, size);
    confirmed.iError = 1;
    net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, confirmed);
    EXPECT_TRUE(Received(Link(QUEUE)).empty()) << "torn or refused";
    EXPECT_EQ(Stored()->iProgress2, 0);
    confirmed.iError = 0;
    net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, confirmed);
    EXPECT_EQ(Got(Link(QUEUE)), (Messages{{0xD084, BytesOf(booking)}}));

    Ask(ExampleActivity::kFetch);
    EXPECT_TRUE(Received(Link(DATA)).empty()) << "granted once";

    net.Hangup(player);
    Progress& back = confirmed.progress;
    EXPECT_EQ(std::pair(back.iProgress2, back.iGamecoin), std::pair(1, 500));
    back.updateTime = g_testNow;
    EXPECT_EQ(Got(Link(DATA)),
              (Messages{{ACT_PROGRESS_UPDATE,
                         ListOf(tagUserActivityProgressUpdate{{}, 1}, std::vector{back})}}));
    EXPECT_EQ(Stored(), nullptr);
}

// The session that asked may have gone, or its handle may be anybody's: the reward belongs to the
// user that the record names, and no other session may be credited.
TEST_F(ActivityTest, RewardOfAClosedSessionGoesToItsOwnAccount) {
    static const tagDBUpdateUserPropInfo booking{{}, 10002, 3, 0,     0, kId, 1,
                                                 10, 77,    4, "out", 5, 6,   7};
    const std::string line =
        "UserId[10002],GameId[0],SiteID[3],ActivityID[20990101],sourceid[77], type[1], value[10], "
        "ClientType[4] outaccount[out]";
    LobbyPlayer* const leaver = Login(10002);
    SetAccount(leaver, 4, "out");
    leaver->m_iSiteID = 3;
    LobbyActivitySingleProgressUpdateRes result{
        {}, 0, 0, 0, 0, 10, 77, 0, 0, Record(), NodeHandle(leaver), *leaver};
    result.progress.iUserId = 10002;
    net.Hangup(leaver);
    for (const int user : {10003, 10002}) {  // on the same node
        LobbyPlayer* const next = Login(user);
        ASSERT_EQ(next, leaver);
        SetAccount(next, 40, "other");
        Received(Link(QUEUE));
        EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, result); }),
                        "[DEBUG] [LobbyServer::UpdateActivityUserPropInfo] " + line));
        EXPECT_EQ(Got(Link(QUEUE)), (Messages{{0xD084, BytesOf(booking)}}));
        net.Hangup(next);
    }
    LobbyPlayer* const other = Login(10003);
    const std::tuple<int, uint64_t, uint64_t> forgeries[] = {
        {kUser, NodeHandle(player), *player + 100ul},
        {kUser, NodeHandle(other), *player},
        {kUser, NodeHandle(player), 0},
        {kUser, 0x10, 0},
        {4242, ~0ul, 7}};
    auto forged = result;
    forged.iYuanBaoNum = 1;
    for (const auto& [user, handle, id] : forgeries) {
        Received(Link(QUEUE));
        forged.ulPlayerNode = handle;
        forged.ulPlayerNodeId = id;
        forged.progress.iUserId = user;
        net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, forged);
        const auto booked = Received(Link(QUEUE));
        ASSERT_EQ(booked.size(), 2u);
        EXPECT_EQ(booked[0].As<tagDBUpdateUserPropInfo>().iUserID, user);
        EXPECT_EQ(booked[1].As<tagDBUpdateUserPropInfo>().iType, 2);
    }
    net.failSend = [](IPlayerNode*, uint16_t) { return true; };
    EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, result); }),
                    "[ERROR] [LobbyServer::UpdateActivityUserPropInfo] " + line));
}

// The lobby does not look at the token, see docs/security.md.
TEST_F(ActivityTest, AnUnconfirmedSessionGetsTheUsersPushesAndItsCloseTakesWhatHeHas) {
    Configure({Row()});
    GiveProgress(player, {Record()});
    const std::string key = "key" + Zeros(125);
    net.Deliver(Link(CONFIG), 0xAD29, BytesOf(WebFarmSubscribeKeyRes{{}, 1, 1}) + key);
    net.Deliver(player, 0xF2, Zeros(16) + key);
    ASSERT_EQ(lobby->m_mapPlayerToStrKey.count(kUser), 1u);
    LobbyPlayer* const fake = Login(kUser);
    char push[12] = {};
    lobby->SendMsgToPlayerByID(kUser, 0xB5, push, sizeof(push));
    EXPECT_EQ(Got(fake), (Messages{{0xB5, Zeros(12)}}));
    EXPECT_TRUE(fake->m_bDelOnline) << "the user's mark goes with it";
    net.Hangup(fake);
    EXPECT_EQ(lobby->m_mapPlayerToStrKey.count(kUser), 0u);
    EXPECT_EQ(Stored(), nullptr);
    EXPECT_EQ(lobby->GetPlayerByUserID(kUser), player);
}

TEST_F(ActivityTest, WriteBackSplitsIntoMessagesThatFit) {
    std::vector<std::unique_ptr<IActivityHandler>> handlers;
    for (int id = 1000; id < 1200; ++id) {
        handlers.push_back(std::make_unique<IActivityHandler>(id, lobby.get()));
        system->AddActivityHandler(handlers.back().get());
        Configure({Row(id)});
    }
    for (const size_t changed : {0, 1, 46, 47, 200}) {
        LobbyPlayer* const leaver = Login(20000);
        GiveProgress(leaver, {});
        std::vector<Progress> records;
        for (size_t i = 0; i < changed; ++i) {
            Progress* const record = Stored(1000 + int(i), 20000);
            ASSERT_NE(record, nullptr);
            record->isUpdate = 1;
            records.push_back(*record);
            records.back().updateTime = g_testNow;
        }
        Received(Link(DATA));
        net.Hangup(leaver);
        Messages expected;
        for (size_t at = 0; at < changed; at += 46) {
            const std::vector<Progress> batch(records.begin() + at,
                                              records.begin() + std::min(at + 46, changed));
            expected.emplace_back(
                ACT_PROGRESS_UPDATE,
                ListOf(tagUserActivityProgressUpdate{{}, int(batch.size())}, batch));
        }
        EXPECT_EQ(Got(Link(DATA)), expected) << changed;
    }
    for (auto& handler : handlers) {
        handler->removeAllEventListener();
        system->RemoveActivityHandler(handler.get());
    }
}

TEST_F(ActivityTest, OtherMessagesReachEveryOpenActivityOfThePlayerAndATakenIdStays) {
    IActivityHandler second(kId, lobby.get());
    system->AddActivityHandler(&second);
    Configure({Row(), Row(Activity20171211::kActivityId)});
    EXPECT_FALSE(second.isOpen());
    GiveProgress(player, {});
    for (const bool paused : {false, true}) {
        example->m_bPaused = paused;
        system->HandleActivityMessage(0xE013, Zeros(8).data(), 8, player);
        system->HandleActivityMessage(kId, 0xE013, Zeros(8).data(), 8, player);
        system->HandleActivityMessage(5, 0xE013, Zeros(8).data(), 8, player);
    }
    EXPECT_EQ(example->m_vecCalls, (Calls{"config", "startInit fresh", "message", "message"}));
    second.removeAllEventListener();
}

TEST_F(ActivityTest, ItsListenersAreCalledOnceUntilItLetsThemGo) {
    int calls = 0;
    EventListener own(EVENT_READY, [&](void*, void*, int) { ++calls; }, {}),
        mute(EVENT_READY, {}, {});
    const auto dispatch = [&] {
        EventDispatcher::getInstance()->dispatchEvent(
            EVENT_READY, static_cast<IPlayerNode*>(player), nullptr, 0);
        return calls;
    };
    for (EventListener* each : {&own, &own, &mute})
        example->addEventListener(each);
    EXPECT_EQ(dispatch(), 1);
    for (EventListener* each : {&own, &own, &mute})
        example->removeEventListener(each);
    EXPECT_EQ(dispatch(), 1);
}

TEST_F(ActivityTest, GlobalMessagesReachClosedActivitiesToo) {
    for (const uint16_t type : {0xE001, 0xE002, 0xE003, 0xE004})
        net.Deliver(Link(DATA), type, Zeros(8));
    EXPECT_EQ(example->m_vecCalls, Calls(3, "global 0"));
}

TEST_F(ActivityTest, AccountTypesByThresholds) {
    const UserAccountTypeConfig config{{}, 100, 10, 50, 5, 3, 20};
    for (const size_t size : {31, 33})
        DeliverCut(DATA, ACT_ACCOUNT_TYPE_RES, config, size);
    EXPECT_EQ(system->GetUserAccountType(1000, 99, 0, 0), 0);
    net.Deliver(Link(DATA), ACT_ACCOUNT_TYPE_RES, config);
    const struct {
        int pay, machine, plays, ingots, expected;
    } cases[] = {{100, 0, 99, 10, 4}, {100, 0, 99, 11, 0}, {99, 0, 99, 5, 3}, {50, 0, 99, 6, 0},
                 {49, 4, 99, 0, 1},   {49, 3, 19, 0, 2},   {49, 3, 20, 0, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(system->GetUserAccountType(c.pay, c.machine, c.plays, c.ingots), c.expected);
    net.Deliver(Link(DATA), ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{});
}

TEST_F(ActivityTest, ConfigurationIsAskedForAndReadAgainAfterHalfAnHour) {
    const CIniFile* const file = system->getActivityCfg();
    WriteFile("factoryActivity.cfg", "[a]\nk=1\n");
    for (const auto& [pause, asked] : {std::pair{0, 0}, {1799, 0}, {1, 2}}) {
        Received(Link(DATA));
        net.Tick(g_testNow += pause);
        int count = 0;
        for (const auto& sent : Received(Link(DATA)))
            count += sent.type == ACT_CONFIG_REQ ? 1 : 0;
        EXPECT_EQ(count, asked) << "the lobby's timer and the registry's own both ask";
        EXPECT_EQ(file->GetValueInt("a", "k", 0), asked / 2);
    }
}

}  // namespace

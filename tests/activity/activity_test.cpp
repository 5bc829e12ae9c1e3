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

class ActivityTest : public LobbyTest {
  protected:
    ActivityTest() {
        setenv("TZ", "UTC", 1);
        tzset();
        system->AddActivityHandler(&example);
    }
    ~ActivityTest() override {
        system->RemoveActivityProgress(player);
        example.removeAllEventListener();
        system->RemoveActivityHandler(&example);
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
    // The booking of a reward on the account of one who is Online.
    static Messages Booking(int user, int site, int value) {
        const std::array numbers{0, 0, user, site, 0, 0, kId, 1, value, 77, 24};
        const std::string out(64, 'o');
        return One(0xD084, BytesOf(numbers) + out + BytesOf(std::array{11, 12, 0xFFF3}));
    }
    void Ask(int level, size_t size = sizeof(UserProgressReq)) {
        std::string bytes = BytesOf(UserProgressReq{{}, kId, level, 0, 0, 0, 0});
        bytes.resize(size);
        net.Deliver(player, CLIENT_USER_PROGRESS_REQ, bytes);
    }
    static void Dispatch(int type, IPlayerNode* who, int rounds) {
        EventDispatcher::getInstance()->dispatchEvent(type, who, nullptr, rounds);
    }

    ActivitySystem* system = ActivitySystem::getInstance();
    ExampleActivity example{lobby.get()};
    LobbyPlayer* const player = Online(kUser);
};

TEST_F(ActivityTest, WindowDecidesWhetherTheRowOpens) {
    constexpr int64_t kMidnight = 1'700'006'400;  // 2023-11-15 00:00 UTC
    const std::tuple<const char*, int8_t, int, int, uint64_t, uint64_t, int64_t, bool> cases[] = {
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
    for (const auto& [name, isOpen, dayBegin, dayEnd, begin, end, now, open] : cases) {
        g_testNow = now;
        auto row = Row(kId, isOpen);
        row.iDayBegin = dayBegin;
        row.iDayEnd = dayEnd;
        row.ulTimeBegin = begin;
        row.ulTimeEnd = end;
        Configure({row});
        EXPECT_EQ(example.isOpen(), open) << name;
    }
}

TEST_F(ActivityTest, ClosingRowTellsClientsExactlyOnce) {
    for (const int8_t isOpen : {1, 0, 0})
        Configure({Row(kId, isOpen)});
    EXPECT_EQ(Got(player), One(0xE014, ActivityCloseNotice{{}, kId}));
    EXPECT_EQ(example.m_vecCalls, (Calls{"config", "closed", "config", "config"}));
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
    EXPECT_FALSE(example.isOpen());
    EXPECT_EQ(example.m_vecCalls, Calls{});
    EXPECT_EQ(Stored(), nullptr);
}

TEST_F(ActivityTest, ProgressListInAllBranches) {
    constexpr int kClosed = Activity20171211::kActivityId, kElsewhere = 20180901;
    auto elsewhere = Row(kElsewhere);
    elsewhere.iSiteId = 9;
    Configure({Row(), Row(kClosed, 0), elsewhere});
    LobbyPlayer* const other = Login(10002);
    for (const uint64_t handle : {NodeHandle(player), NodeHandle(other), uint64_t{1}}) {
        for (const uint64_t id : {*player + 100ul, 0ul}) {
            const tagDBActivityProgressList head{{}, handle, id, 1, 1};
            net.Deliver(Link(DATA), ACT_PROGRESS_RES, ListOf(head, std::vector{Record()}));
        }
    }
    EXPECT_EQ(Stored(), nullptr) << "a session that is gone";
    GiveProgress(player, {}, 0);
    EXPECT_EQ(Stored(), nullptr) << "an unfinished list makes no records";

    example.m_vecCalls.clear();
    GiveProgress(player,
                 {Record(kClosed), Record(kElsewhere), Record(5), Record(kId, 2), Record(kId, 9)});
    ASSERT_NE(Stored(), nullptr);
    EXPECT_EQ(Stored()->iProgress1, 2) << "the first record of an activity stays";
    for (const int id : {kClosed, kElsewhere, 5})
        EXPECT_EQ(Stored(id), nullptr) << id;
    EXPECT_EQ(example.m_vecCalls, Calls{"startInit"});

    auto multi = Row(kClosed);
    multi.isMultiGame = 1;
    Configure({multi});
    other->m_iSiteID = 9;
    GiveProgress(other, {});
    EXPECT_NE(Stored(kElsewhere, 10002), nullptr) << "his own site";
    EXPECT_NE(Stored(kId, 10002), nullptr);
    EXPECT_EQ(Stored(kClosed, 10002), nullptr) << "made for single-game activities only";
    EXPECT_EQ(example.m_vecCalls.back(), "startInit fresh");
    net.Hangup(other);  // its records outlive the lobby otherwise
}

TEST_F(ActivityTest, EventsReachOpenActivitiesOfPlayersWithARecord) {
    const auto dispatchAll = [&](LobbyPlayer* who) {
        for (const int type : {1, 5, 7, 8, 9, 10})
            Dispatch(type, who, 2);
    };
    Configure({Row()});
    dispatchAll(player);
    GiveProgress(player, {});
    dispatchAll(player);
    dispatchAll(Login(10002));
    example.m_bPaused = true;
    dispatchAll(player);
    EXPECT_EQ(example.m_vecCalls, (Calls{"config", "startInit fresh", "initialize", "sitdown",
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
    example.m_bPaused = true;
    Ask(ExampleActivity::kShow);
    EXPECT_TRUE(Nothing(player));
    example.m_bPaused = false;
    Ask(ExampleActivity::kShow);
    EXPECT_EQ(Only(player).type, CLIENT_USER_PROGRESS_REQ);
}

TEST_F(ActivityTest, RewardFromRequestToBookingAndWriteBack) {
    Configure({Row()});
    GiveProgress(player, {Record(kId, 3)});
    Got(Link(DATA));
    Ask(ExampleActivity::kFetch);
    // The answer is a code, then what was sent.
    const Sent update = Only(Link(DATA));
    ASSERT_EQ(update.type, ACT_SINGLE_PROGRESS_UPDATE);
    auto confirmed =
        Sent{0, Zeros(12) + update.bytes.substr(8)}.At<LobbyActivitySingleProgressUpdateRes>();
    for (const size_t size : {143, 145})
        DeliverCut(DATA, ACT_SINGLE_PROGRESS_RES, confirmed, size);
    confirmed.iError = 1;
    net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, confirmed);
    EXPECT_TRUE(Nothing(Link(QUEUE))) << "torn or refused";
    EXPECT_EQ(Stored()->iProgress2, 0);
    confirmed.iError = 0;
    net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, confirmed);
    EXPECT_EQ(Got(Link(QUEUE)), Booking(kUser, 0, 500));

    Ask(ExampleActivity::kFetch);
    EXPECT_TRUE(Nothing(Link(DATA))) << "granted once";

    net.Hangup(player);
    Progress& back = confirmed.progress;
    EXPECT_EQ(std::pair(back.iProgress2, back.iGamecoin), std::pair(1, 500));
    back.updateTime = g_testNow;
    EXPECT_EQ(Got(Link(DATA)), One(ACT_PROGRESS_UPDATE,
                                   BytesOf(tagUserActivityProgressUpdate{{}, 1}) + BytesOf(back)));
    EXPECT_EQ(Stored(), nullptr);
}

// The session that asked may have gone, or its handle may be anybody's: the reward belongs to the
// user that the record names, and no other session may be credited.
TEST_F(ActivityTest, RewardOfAClosedSessionGoesToItsOwnAccount) {
    const std::string line =
        "UserId[10002],GameId[0],SiteID[3],ActivityID[20990101],sourceid[77], type[1], value[10], "
        "ClientType[24] outaccount[" +
        std::string(64, 'o') + "]";
    LobbyPlayer* const leaver = Online(10002);
    leaver->m_iSiteID = 3;
    LobbyActivitySingleProgressUpdateRes result{
        {}, 0, 0, 0, 0, 10, 77, 0, 0, Record(), NodeHandle(leaver), *leaver};
    result.progress.iUserId = 10002;
    net.Hangup(leaver);
    for (const int user : {10003, 10002}) {  // on the same node
        LobbyPlayer* const next = Online(user);
        ASSERT_EQ(next, leaver);
        next->iTeamTag = 40;
        EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, result); }),
                        "[DEBUG] [LobbyServer::UpdateActivityUserPropInfo] " + line));
        EXPECT_EQ(Got(Link(QUEUE)), Booking(10002, 3, 10));
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
        Got(Link(QUEUE));
        forged.ulPlayerNode = handle;
        forged.ulPlayerNodeId = id;
        forged.progress.iUserId = user;
        net.Deliver(Link(DATA), ACT_SINGLE_PROGRESS_RES, forged);
        const auto booked = Got(Link(QUEUE));
        ASSERT_EQ(booked.size(), 2u) << user << ' ' << id;
        EXPECT_EQ(booked[0].At<tagDBUpdateUserPropInfo>().iUserID, user) << id;
        EXPECT_EQ(booked[1].At<tagDBUpdateUserPropInfo>().iType, 2);
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
    EXPECT_EQ(Got(fake), One(0xB5, Zeros(12)));
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
            record->isUpdate = 1;
            records.push_back(*record);
            records.back().updateTime = g_testNow;
        }
        Got(Link(DATA));
        net.Hangup(leaver);
        Messages expected;
        for (size_t at = 0; at < changed; at += 46) {
            const std::vector<Progress> batch(records.begin() + at,
                                              records.begin() + std::min(at + 46, changed));
            const tagUserActivityProgressUpdate head{{}, int(batch.size())};
            expected.push_back({ACT_PROGRESS_UPDATE, ListOf(head, batch)});
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
        example.m_bPaused = paused;
        system->HandleActivityMessage(0xE013, Zeros(8).data(), 8, player);
        system->HandleActivityMessage(kId, 0xE013, Zeros(8).data(), 8, player);
        system->HandleActivityMessage(5, 0xE013, Zeros(8).data(), 8, player);
    }
    EXPECT_EQ(example.m_vecCalls, (Calls{"config", "startInit fresh", "message", "message"}));
    second.removeAllEventListener();
}

TEST_F(ActivityTest, ItsListenersAreCalledOnceUntilItLetsThemGo) {
    int calls = 0;
    EventListener own(EVENT_READY, [&](void*, void*, int) { ++calls; }, {}),
        mute(EVENT_READY, {}, {});
    for (EventListener* each : {&own, &own, &mute})
        example.addEventListener(each);
    Dispatch(EVENT_READY, player, 0);
    EXPECT_EQ(calls, 1);
    for (EventListener* each : {&own, &own, &mute})
        example.removeEventListener(each);
    Dispatch(EVENT_READY, player, 0);
    EXPECT_EQ(calls, 1);
}

TEST_F(ActivityTest, GlobalMessagesReachClosedActivitiesToo) {
    for (const uint16_t type : {0xE001, 0xE002, 0xE003, 0xE004})
        net.Deliver(Link(DATA), type, Zeros(8));
    EXPECT_EQ(example.m_vecCalls, Calls(3, "global 0"));
}

TEST_F(ActivityTest, AccountTypesByThresholds) {
    const UserAccountTypeConfig config{{}, 100, 10, 50, 5, 3, 20};
    for (const size_t size : {31, 33})
        DeliverCut(DATA, ACT_ACCOUNT_TYPE_RES, config, size);
    EXPECT_EQ(system->GetUserAccountType(1000, 99, 0, 0), 0);
    net.Deliver(Link(DATA), ACT_ACCOUNT_TYPE_RES, config);
    const int cases[][5] = {{100, 0, 99, 10, 4}, {100, 0, 99, 11, 0}, {99, 0, 99, 5, 3},
                            {50, 0, 99, 6, 0},   {49, 4, 99, 0, 1},   {49, 3, 19, 0, 2},
                            {49, 3, 20, 0, 0}};
    for (const auto& [pay, machine, plays, ingots, type] : cases)
        EXPECT_EQ(system->GetUserAccountType(pay, machine, plays, ingots), type) << pay << ingots;
    net.Deliver(Link(DATA), ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{});
}

TEST_F(ActivityTest, ConfigurationIsAskedForAndReadAgainAfterHalfAnHour) {
    const CIniFile* const file = system->getActivityCfg();
    WriteFile("factoryActivity.cfg", "[a]\nk=1\n");
    for (const auto& [pause, asked] : {std::pair{0, 0}, {1799, 0}, {1, 2}}) {
        Got(Link(DATA));
        net.Tick(g_testNow += pause);
        int count = 0;
        for (const auto& sent : Got(Link(DATA)))
            count += sent.type == ACT_CONFIG_REQ ? 1 : 0;
        EXPECT_EQ(count, asked) << "the lobby's timer and the registry's own both ask";
        EXPECT_EQ(file->GetValueInt("a", "k", 0), asked / 2);
    }
}

}  // namespace

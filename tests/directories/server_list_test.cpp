#include "ServerList.h"

#include <algorithm>
#include <climits>
#include <random>

#include "DirectoryWorld.h"

namespace {

// The directory and its show lists by nested scans.
struct Model {
    std::map<int, tagServerInfo> servers;
    std::map<int, std::vector<tagServerInfo>> shown;

    void Rebuild(const GameSiteList& sites) {
        shown.clear();
        for (const auto& [key, entry] : sites.m_gameSiteMap) {
            for (const auto& [id, server] : servers) {
                if (int(server.usGameID) != entry.iGameID) continue;
                tagServerInfo copy = server;
                if (entry.iGameKind == 0) copy.usServerID = 0;
                Show(shown[entry.iSiteID], copy);
            }
        }
    }
    static void Show(std::vector<tagServerInfo>& list, const tagServerInfo& copy) {
        for (tagServerInfo& there : list) {
            if (there.usGameID == copy.usGameID && there.usServerID == copy.usServerID &&
                there.usLevel == copy.usLevel) {
                there.usOnlineCount = uint16_t(there.usOnlineCount + copy.usOnlineCount);
                return;
            }
        }
        list.push_back(copy);
    }
};

bool Same(const std::vector<tagServerInfo>& a, const std::vector<tagServerInfo>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](auto& x, auto& y) { return std::memcmp(&x, &y, sizeof(x)) == 0; });
}

tagServerInfo RandomServer(std::mt19937& random, unsigned ids, unsigned games) {
    tagServerInfo info;
    auto* bytes = reinterpret_cast<unsigned char*>(&info);
    for (size_t i = 0; i < sizeof(info); ++i)
        bytes[i] = static_cast<unsigned char>(random());
    info.usGameID = uint16_t(random() % games);
    info.usServerID = uint16_t(random() % ids);
    info.usLevel = uint16_t(random() % 3);
    return info;
}

tagSiteMobileGameList Offer(int site, int game, int kind) {
    tagSiteMobileGameList entry{};
    entry.iSiteID = site;
    entry.iGameID = game;
    entry.iGameKind = kind;
    return entry;
}

// Ids that match servers, ids that only match them when cut to 16 bits, and ids so far apart
// that their order is not transitive.
int RandomGame(std::mt19937& random) {
    static constexpr int odd[] = {INT_MIN, INT_MIN + 2, INT_MAX, INT_MAX - 1, -1, 65537, 65538};
    return random() % 6 == 0 ? odd[random() % std::size(odd)] : int(random() % 6);
}

class ServerListTest : public FolderTest {};

}  // namespace

// Site games with ids half the range apart, whose order contradicts itself, tore branches off the
// tree that held them (seed 4).
TEST_F(ServerListTest, FollowsTheModelOverRandomDirectories) {
    std::mt19937 random;
    const auto run = [&] {
        for (int round = 0; round < 25; ++round) {
            ServerList list;
            GameSiteList sites;
            Model model;
            for (int step = 0; step < 120; ++step) {
                tagServerInfo info = RandomServer(random, 30, 6);
                const bool refresh = random() % 3 == 0;
                const bool known = model.servers.count(info.usServerID) != 0;
                const bool sameGame =
                    known && model.servers[info.usServerID].usGameID == info.usGameID;
                switch (random() % 7) {
                    case 0:
                    case 1: {
                        auto entry =
                            Offer(int(random() % 4) - 1, RandomGame(random), int(random() % 3));
                        sites.InsertInfo(entry);
                        break;
                    }
                    case 2:
                    case 3:
                        ASSERT_EQ(list.InsertInfo(info, sites, refresh), 1);
                        model.servers[info.usServerID] = info;
                        if (refresh) model.Rebuild(sites);
                        break;
                    case 4: {
                        tagUpdateServerInfo update{{},
                                                   info.usGameID,
                                                   info.usServerID,
                                                   info.usOnlineCount,
                                                   uint8_t(random() % 2)};
                        ASSERT_EQ(list.UpdateInfo(update, sites), known ? 1 : 0);
                        if (!sameGame) break;
                        tagServerInfo& stored = model.servers[info.usServerID];
                        const bool changed = stored.ucOpenFlag != update.ucOpenFlag;
                        stored.usOnlineCount = update.usOnlineCount;
                        stored.ucOpenFlag = update.ucOpenFlag;
                        if (changed) model.Rebuild(sites);
                        break;
                    }
                    case 5: {
                        tagServerCloseNotice close{{}, info.usGameID, info.usServerID, 3};
                        ASSERT_EQ(list.CloseInfo(close, sites), known ? 1 : 0);
                        if (sameGame) model.servers[info.usServerID].ucOpenFlag = 3;
                        if (known) model.Rebuild(sites);
                        break;
                    }
                    default: {
                        tagTerminateNotice end{{}, info.usGameID, info.usServerID};
                        ASSERT_EQ(list.DeleteInfo(end, sites, refresh), known ? 1 : 0);
                        model.servers.erase(info.usServerID);
                        if (known && refresh) model.Rebuild(sites);
                    }
                }
                ASSERT_EQ(list.m_gameServerMap.size(), model.servers.size());
                ASSERT_EQ(list.m_showSiteMap.size(), model.shown.size());
                for (const auto& [site, records] : model.shown) {
                    ASSERT_TRUE(Same(list.m_showSiteMap[site], records)) << round << ' ' << step;
                }
            }
        }
    };
    for (const unsigned seed : {4u, 11u}) {
        random.seed(seed);
        LogOf(run);
    }
}

TEST_F(ServerListTest, MergedGameShowsOneRecordPerLevel) {
    ServerList list;
    GameSiteList sites;
    auto offer = Offer(1, 5, 0);
    sites.InsertInfo(offer);
    const struct {
        uint16_t id, level, online;
    } servers[] = {{30, 1, 65000}, {10, 1, 600}, {20, 2, 7}};
    for (const auto& s : servers) {
        tagServerInfo info{};
        info.usGameID = 5;
        info.usServerID = s.id;
        info.usLevel = s.level;
        info.usOnlineCount = s.online;
        info.usServerPort = s.id;
        list.InsertInfo(info, sites, true);
    }
    const auto& shown = list.m_showSiteMap[1];
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].usServerID, 0);
    EXPECT_EQ(shown[0].usServerPort, 10);  // the lowest id of the group gives the other fields
    EXPECT_EQ(shown[0].usOnlineCount, 64);
    EXPECT_EQ(shown[1].usOnlineCount, 7);
}

TEST_F(ServerListTest, DumpsTheListsOnceAnHour) {
    ServerList list;
    GameSiteList sites;
    auto offer = Offer(77, 1, 1);
    sites.InsertInfo(offer);
    tagServerInfo info{};
    info.usGameID = 1;
    list.InsertInfo(info, sites, false);
    const auto dumped = [&] {
        return LogOf([&] { list.refreshShowGameList(sites); }).find("第77站点") !=
               std::string::npos;
    };
    EXPECT_TRUE(dumped());
    g_testNow += 3599;
    EXPECT_FALSE(dumped());
    g_testNow += 1;
    EXPECT_TRUE(dumped());
}

TEST_F(ServerListTest, SiteListReplacesWholeAndKeepsItsOrder) {
    GameSiteList sites;
    const int ids[][2] = {{2, 9}, {1, 70000}, {2, -3}, {1, 4}};
    for (const auto& id : ids) {
        auto entry = Offer(id[0], id[1], 1);
        sites.InsertInfo(entry);
    }
    auto again = Offer(2, 9, 0);
    std::memset(again.szGameName, 'n', sizeof(again.szGameName));
    const std::string log = LogOf([&] { sites.InsertInfo(again); });
    EXPECT_EQ(log.find("gamekind"), std::string::npos);

    std::vector<std::pair<int, int>> order;
    for (const auto& [key, entry] : sites.m_gameSiteMap)
        order.push_back({key.iSiteID, key.iGameID});
    EXPECT_EQ(order, (std::vector<std::pair<int, int>>{{1, 4}, {1, 70000}, {2, -3}, {2, 9}}));
    EXPECT_EQ((sites.m_gameSiteMap[{2, 9}].iGameKind), 0);
    EXPECT_EQ((GameSiteInfo{1, INT_MIN} < GameSiteInfo{1, 1}), false);  // the difference wraps

    TerminateGameSiteInfo absent{9, 9};
    const std::string fail = LogOf([&] { EXPECT_EQ(sites.DeleteInfo(absent), 0); });
    EXPECT_NE(fail.find("GameID[9] SiteID[9] delete fail! "), std::string::npos);
    TerminateGameSiteInfo known{2, 9};
    EXPECT_EQ(sites.DeleteInfo(known), 1);
    EXPECT_EQ(sites.m_gameSiteMap.size(), 3u);
}

TEST_F(DirectoryTest, ListGoesOutInMessagesOfTwenty) {
    std::mt19937 random(3);
    auto& shown = lobby->GetCenterServerHandler()->m_ServerList.m_showSiteMap;
    LobbyPlayer* const player = Login(5, 8);
    const struct {
        size_t records;
        std::vector<std::pair<int, int>> messages;  // records, finish flag
    } cases[] = {
        {1, {{1, 1}}},           {19, {{19, 1}}},          {20, {{20, 1}}},
        {21, {{20, 0}, {1, 1}}}, {40, {{20, 0}, {20, 1}}}, {45, {{20, 0}, {20, 0}, {5, 1}}},
    };
    for (const auto& c : cases) {
        auto& list = shown[8];
        list.clear();
        while (list.size() < c.records)
            list.push_back(RandomServer(random, 60000, 60000));
        LogOf([&] { lobby->SendRoomInfoToClient(player); });
        std::vector<tagServerInfo> got;
        std::vector<std::pair<int, int>> messages;
        for (const auto& sent : Received(player)) {
            EXPECT_EQ(sent.type, 0x9003);
            const auto msg = sent.As<tagGameServer>();
            messages.push_back({msg.usListCount, msg.usIsFinish});
            EXPECT_EQ(sent.bytes.size(), 12 + 116u * msg.usListCount);
            got.insert(got.end(), msg.serverInfo, msg.serverInfo + msg.usListCount);
        }
        EXPECT_EQ(messages, c.messages) << c.records;
        EXPECT_TRUE(Same(got, list)) << c.records;
    }
    player->m_cLoginType = LOGIN_GAME;
    lobby->SendRoomInfoToClient(player);
    player->m_cLoginType = LOGIN_LOBBY;
    player->m_iLoginSiteID = 9;  // a site without a list
    lobby->SendRoomInfoToClient(player);
    lobby->SendRoomInfoToClient(nullptr);
    EXPECT_TRUE(Received(player).empty());
}

TEST_F(DirectoryTest, RequestsCloserThanThreeSecondsAreDropped) {
    lobby->GetCenterServerHandler()->m_ServerList.m_showSiteMap[1].resize(1);
    LobbyPlayer* const player = Login(5);
    GameServerInfoReq req{};
    const struct {
        int user, pause;
        size_t answers;
    } cases[] = {{6, 100, 0}, {5, 0, 1}, {5, 2, 0}, {5, 1, 1}, {5, 3, 1}, {5, -10, 0}};
    for (const auto& c : cases) {
        g_testNow += c.pause;
        req.iUserID = c.user;
        net.Deliver(player, 0x9002, req);
        EXPECT_EQ(Received(player).size(), c.answers) << c.user << ' ' << c.pause;
    }
}

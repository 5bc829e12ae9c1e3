#include "ServerList.h"

#include <climits>

#include "LobbyTest.h"

bool operator==(const tagServerInfo& a, const tagServerInfo& b) {
    return BytesOf(a) == BytesOf(b);
}

namespace {

// The directory and its show lists, made anew by nested scans.
struct Model {
    std::map<int, tagServerInfo> servers;
    std::map<int, std::vector<tagServerInfo>> shown;

    void Rebuild(const GameSiteList& sites) {
        shown.clear();
        std::map<std::array<int, 4>, size_t> places;
        for (const auto& [key, entry] : sites.m_gameSiteMap) {
            for (auto [id, server] : servers) {
                if (int(server.usGameID) != entry.iGameID) continue;
                if (entry.iGameKind == 0) server.usServerID = 0;
                auto& list = shown[entry.iSiteID];
                const std::array<int, 4> place{entry.iSiteID, server.usGameID, server.usServerID,
                                               server.usLevel};
                const auto [at, isNew] = places.try_emplace(place, list.size());
                if (isNew) {
                    list.push_back(server);
                } else {
                    list[at->second].usOnlineCount += server.usOnlineCount;
                }
            }
        }
    }
};

tagServerInfo RandomServer(std::mt19937& random, unsigned ids, unsigned games) {
    tagServerInfo info;
    std::generate_n(reinterpret_cast<unsigned char*>(&info), sizeof(info), std::ref(random));
    info.usGameID = uint16_t(random() % games);
    info.usServerID = uint16_t(random() % ids);
    info.usLevel = uint16_t(random() % 3);
    return info;
}

void Offer(GameSiteList& sites, int site, int game, int kind = 1) {
    tagSiteMobileGameList entry{site, game, kind, 0, {}, {}};
    sites.InsertInfo(entry);
}

// Ids that match servers, ids that only match them when cut to 16 bits, and ids so far apart
// that their order is not transitive.
int RandomGame(std::mt19937& random) {
    static constexpr int odd[] = {INT_MIN, INT_MIN + 2, INT_MAX, INT_MAX - 1, -1, 65537, 65538};
    return random() % 6 == 0 ? odd[random() % std::size(odd)] : int(random() % 6);
}

}  // namespace

// Site games with ids half the range apart, whose order contradicts itself, tore branches off the
// tree that held them (seed 4).
TEST_F(LobbyTest, FollowsTheModelOverRandomDirectories) {
    std::mt19937 random;
    const auto run = [&] {
        for (int round = 0; round < 25; ++round) {
            ServerList list;
            GameSiteList sites;
            Model model;
            for (int step = 0; step < 120; ++step) {
                tagServerInfo info = RandomServer(random, 30, 6);
                const uint16_t game = info.usGameID, id = info.usServerID;
                const bool refresh = random() % 3 == 0;
                const int known = model.servers.contains(id) ? 1 : 0;
                const bool sameGame = known != 0 && model.servers[id].usGameID == game;
                bool rebuilt = false;
                switch (random() % 7) {
                    case 0:
                    case 1:
                        Offer(sites, int(random() % 4) - 1, RandomGame(random), int(random() % 3));
                        break;
                    case 2:
                    case 3:
                        ASSERT_EQ(list.InsertInfo(info, sites, refresh), 1);
                        model.servers[id] = info;
                        rebuilt = refresh;
                        break;
                    case 4: {
                        const uint8_t open = random() % 2;
                        tagUpdateServerInfo update{{}, game, id, info.usOnlineCount, open};
                        ASSERT_EQ(list.UpdateInfo(update, sites), known);
                        if (!sameGame) break;
                        rebuilt = std::exchange(model.servers[id].ucOpenFlag, open) != open;
                        model.servers[id].usOnlineCount = info.usOnlineCount;
                        break;
                    }
                    case 5: {
                        tagServerCloseNotice close{{}, game, id, 3};
                        ASSERT_EQ(list.CloseInfo(close, sites), known);
                        if (sameGame) model.servers[id].ucOpenFlag = 3;
                        rebuilt = known != 0;
                        break;
                    }
                    default: {
                        tagTerminateNotice end{{}, game, id};
                        ASSERT_EQ(list.DeleteInfo(end, sites, refresh), known);
                        rebuilt = model.servers.erase(id) != 0 && refresh;
                    }
                }
                if (rebuilt) model.Rebuild(sites);
                ASSERT_EQ(list.m_gameServerMap.size(), model.servers.size());
                ASSERT_EQ(list.m_showSiteMap, model.shown) << round << ' ' << step;
            }
        }
    };
    for (const unsigned seed : {4u, 11u}) {
        random.seed(seed);
        LogOf(run);
    }
}

TEST_F(LobbyTest, DumpsTheListsOnceAnHour) {
    ServerList list;
    GameSiteList sites;
    Offer(sites, 77, 1);
    tagServerInfo info{};
    info.usGameID = 1;
    list.InsertInfo(info, sites, false);
    for (const auto& [pause, dumped] : {std::pair{0, true}, {3599, false}, {1, true}}) {
        g_testNow += pause;
        EXPECT_EQ(Has(LogOf([&] { list.refreshShowGameList(sites); }), "第77站点"), dumped);
    }
}

TEST_F(LobbyTest, SiteListReplacesWholeAndKeepsItsOrder) {
    GameSiteList sites;
    for (const auto& [site, game] : {std::pair{2, 9}, {1, 70000}, {2, -3}, {1, 4}})
        Offer(sites, site, game);
    tagSiteMobileGameList again{2, 9, 0, 0, {}, {}};
    std::memset(again.szGameName, 'n', sizeof(again.szGameName));
    EXPECT_FALSE(Has(LogOf([&] { sites.InsertInfo(again); }), "gamekind"));
    std::vector<std::pair<int, int>> order;
    for (const auto& [key, entry] : sites.m_gameSiteMap)
        order.push_back({key.iSiteID, key.iGameID});
    EXPECT_EQ(order, (std::vector<std::pair<int, int>>{{1, 4}, {1, 70000}, {2, -3}, {2, 9}}));
    EXPECT_EQ((sites.m_gameSiteMap[{2, 9}].iGameKind), 0);
    EXPECT_EQ((GameSiteInfo{1, INT_MIN} < GameSiteInfo{1, 1}), false);  // the difference wraps

    TerminateGameSiteInfo absent{9, 9}, known{2, 9};
    EXPECT_TRUE(Has(LogOf([&] { EXPECT_EQ(sites.DeleteInfo(absent), 0); }),
                    "GameID[9] SiteID[9] delete fail! "));
    EXPECT_EQ(sites.DeleteInfo(known), 1);
    EXPECT_EQ(sites.m_gameSiteMap.size(), 3u);
}

TEST_F(LobbyTest, ListGoesOutInMessagesOfTwenty) {
    std::mt19937 random(3);
    auto& list = lobby->GetCenterServerHandler()->m_ServerList.m_showSiteMap[8];
    LobbyPlayer* const player = Login(5, 8);
    for (const size_t records : {1, 19, 20, 21, 40, 45}) {
        list.clear();
        Messages expected;
        for (size_t at = 0; at < records; at += 20) {
            const auto count = static_cast<uint16_t>(std::min<size_t>(20, records - at));
            const uint16_t isFinish = at + 20 >= records ? 1 : 0;
            std::string bytes = Zeros(8) + char(isFinish) + '\0' + char(count) + '\0';
            for (int i = 0; i < count; ++i) {
                list.push_back(RandomServer(random, 60000, 60000));
                bytes += BytesOf(list.back());
            }
            expected.push_back({0x9003, bytes});
        }
        LogOf([&] { lobby->SendRoomInfoToClient(player); });
        EXPECT_EQ(Got(player), expected) << records;
    }
    player->m_cLoginType = LOGIN_GAME;
    lobby->SendRoomInfoToClient(player);
    player->m_cLoginType = LOGIN_LOBBY;
    player->m_iLoginSiteID = 9;  // a site without a list
    lobby->SendRoomInfoToClient(player);
    EXPECT_TRUE(Nothing(player));
}

TEST_F(LobbyTest, RequestsCloserThanThreeSecondsAreDropped) {
    lobby->GetCenterServerHandler()->m_ServerList.m_showSiteMap[1].resize(1);
    LobbyPlayer* const player = Login(5);
    const std::tuple<int, int, size_t> cases[] = {{6, 100, 0}, {5, 0, 1}, {5, 2, 0},
                                                  {5, 1, 1},   {5, 3, 1}, {5, -10, 0}};
    for (const auto& [user, pause, answers] : cases) {
        g_testNow += pause;
        net.Deliver(player, 0x9002, GameServerInfoReq{{}, user});
        EXPECT_EQ(Got(player).size(), answers) << user << ' ' << pause;
    }
}

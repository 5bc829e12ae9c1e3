#include <algorithm>
#include <random>
#include <set>

#include "DirectoryWorld.h"

namespace {

bool Has(const std::string& log, const std::string& text) {
    return log.find(text) != std::string::npos;
}

template <size_t N>
void Put(char (&field)[N], const std::string& text) {
    text.copy(field, N);
}

class FarmTest : public DirectoryTest {
  protected:
    void Keys(bool init, const std::vector<std::string>& keys) {
        std::string bytes(16 + 128 * keys.size(), '\0');
        bytes[8] = init ? 1 : 0;
        bytes[12] = static_cast<char>(keys.size());
        for (size_t i = 0; i < keys.size(); ++i)
            bytes.replace(16 + 128 * i, keys[i].size(), keys[i]);
        DeliverBytes(Link(CONFIG), 0xAD29, bytes);
    }
    void Subscribe(IPlayerNode* node, const std::string& key, uint16_t type = 0xF2) {
        ClientSubscribeMsg msg{};
        Put(msg.szKey, key);
        net.Deliver(node, type, msg);
    }
    void Unsubscribe(IPlayerNode* node, const std::string& key) { Subscribe(node, key, 0xF3); }
    std::string Farm(int mainId, int subId, int userId, const std::string& key,
                     size_t size = sizeof(BulletinTransferFarmNotice)) {
        BulletinTransferFarmNotice msg{};
        msg.iMainID = mainId;
        msg.iSubID = subId;
        msg.iUserID = userId;
        Put(msg.szMessageKey, key);
        std::memset(msg.szMsgContent, 'm', sizeof(msg.szMsgContent));
        return LogOf([&] { DeliverCut(WEB, 0xCF, msg, size); });
    }
    std::vector<uint16_t> Types(IPlayerNode* node) {
        std::vector<uint16_t> types;
        for (const auto& sent : Received(node))
            types.push_back(sent.type);
        return types;
    }
};

using Types_ = std::vector<uint16_t>;

}  // namespace

TEST_F(FarmTest, KeyListIsReplacedOrAppended) {
    EXPECT_FALSE(lobby->IsExistSubscribeKey("a"));
    lobby->RequestSubscribeKeyCfg();
    EXPECT_EQ(Types(Link(CONFIG)), Types_{0xAD28});
    Keys(true, {"a", std::string(128, 'k')});
    Keys(false, {"b"});
    EXPECT_TRUE(lobby->IsExistSubscribeKey("a"));
    EXPECT_TRUE(lobby->IsExistSubscribeKey("b"));
    EXPECT_TRUE(lobby->IsExistSubscribeKey(std::string(128, 'k')));
    EXPECT_FALSE(lobby->IsExistSubscribeKey("A"));
    EXPECT_FALSE(lobby->IsExistSubscribeKey(""));
    Keys(true, {"c"});
    EXPECT_FALSE(lobby->IsExistSubscribeKey("a"));
}

TEST_F(FarmTest, DirectMessagesReachTheirUserOrEverybodyAndAreLogged) {
    Keys(true, {"k"});
    lobby->m_iPort = 7700;
    LobbyPlayer* const a = Login(1);
    LobbyPlayer* const older = Login(2);
    LobbyPlayer* const b = Login(2);
    Subscribe(a, "k");
    const struct {
        int mainId, subId, userId;
        const char* key;
        Types_ forA, forOlder, forB, logged;
    } cases[] = {
        {1, 1, 2, "", {}, {}, {0xBB}, {0x5A4D}},
        {1, 1, 9, "", {}, {}, {}, {}},
        {1, 1, 0, "", {0xBB}, {0xBB}, {0xBB}, {0x5A4D}},
        {1, 1, -5, "k", {0xBB}, {0xBB}, {0xBB}, {0x5A4D}},
        {3, 100, 1, "other", {0xBB}, {}, {}, {0x5A4D}},
        {3, 101, 1, "k", {0xBB}, {}, {}, {0x5A4D}},
        {3, 100, 2, "k", {0xF4}, {}, {}, {}},
    };
    for (const auto& c : cases) {
        Farm(c.mainId, c.subId, c.userId, c.key);
        EXPECT_EQ(Types(a), c.forA) << c.userId << c.key;
        EXPECT_EQ(Types(older), c.forOlder) << c.userId << c.key;
        EXPECT_EQ(Types(b), c.forB) << c.userId << c.key;
        EXPECT_EQ(Types(Link(LOG)), c.logged) << c.userId << c.key;
    }

    Farm(4, 5, 1, "");
    const auto notice = Received(a).at(0);
    EXPECT_EQ(notice.bytes.size(), 1044u);
    EXPECT_EQ(notice.At<int32_t>(16), 1);
    EXPECT_EQ(notice.bytes[1043], 'm');
    const auto record = Received(Link(LOG)).at(0);
    EXPECT_EQ(record.bytes.size(), 1048u);
    EXPECT_EQ(record.At<int32_t>(8), 4);
    EXPECT_EQ(record.At<int32_t>(20), 7700);
    EXPECT_EQ(record.bytes[1047], 'm');

    for (const size_t size : {1171, 1173}) {
        EXPECT_TRUE(Has(Farm(1, 1, 1, "", size), "] != FarmNoticeClientMsg[1172]"));
    }
    EXPECT_TRUE(Types(a).empty());
    net.failSend = [a](IPlayerNode* node, uint16_t) { return node == a; };
    Farm(1, 1, 1, "");
    EXPECT_TRUE(Types(Link(LOG)).empty());
    Farm(1, 1, 0, "");
    EXPECT_EQ(Types(Link(LOG)), Types_{0x5A4D});
    lobby->SendFarmTransferLog(nullptr);
}

TEST_F(FarmTest, PublishedMessagesReachSubscribersOnly) {
    const std::string key(128, 'k');
    Keys(true, {key});
    LobbyPlayer* const a = Login(1);
    LobbyPlayer* const b = Login(2);
    EXPECT_TRUE(Has(Farm(3, 100, 1, key), "no plyaer subscribe msg key[kkk"));
    Subscribe(a, key);
    Subscribe(a, key);
    EXPECT_EQ(lobby->m_mapStrKeyToPlayer[key].size(), 1u);
    EXPECT_EQ(lobby->m_mapPlayerToStrKey[1].size(), 1u);
    Farm(3, 100, 2, key);
    const auto sent = Received(a);
    ASSERT_EQ(sent.size(), 1u);
    const auto msg = sent[0].As<ClientPublishMsg>();
    EXPECT_EQ(sent[0].bytes.size(), 1168u);
    EXPECT_EQ(msg.iSubID, 100);
    EXPECT_EQ(std::string(msg.szKey, 128), key);
    EXPECT_EQ(msg.szMsgContent[1023], 'm');
    EXPECT_TRUE(Types(b).empty());
}

// The stored node outlived its connection and was given to the next client, who then got
// messages that somebody else had asked for.
TEST_F(FarmTest, ReusedNodeGetsNoForeignMessage) {
    Keys(true, {"k"});
    LobbyPlayer* const a = Login(1);
    Subscribe(a, "k");
    const auto stale = lobby->m_mapStrKeyToPlayer["k"];
    net.Hangup(a);
    EXPECT_TRUE(lobby->m_mapStrKeyToPlayer["k"].empty());
    lobby->m_mapStrKeyToPlayer["k"] = stale;
    LobbyPlayer* const next = Login(2);
    ASSERT_EQ(next, a);
    EXPECT_TRUE(Has(Farm(3, 100, 0, "k"), "user_id[1] ulPlayerNode["));
    EXPECT_TRUE(Types(next).empty());
}

TEST_F(FarmTest, RefusedSubscriptionsChangeNothing) {
    LobbyPlayer* const a = Login(1);
    Subscribe(a, "k");  // no key is known yet
    Keys(true, {"k"});
    Subscribe(a, "");
    for (const size_t size : {143, 145}) {
        DeliverBytes(a, 0xF2, std::string(size, 'k'));
        DeliverBytes(a, 0xF3, std::string(size, 'k'));
    }
    lobby->GetLobbyClientHandler()->subscribe(nullptr, nullptr, 144);
    lobby->GetLobbyClientHandler()->unsubscribe(nullptr, "k");
    EXPECT_TRUE(lobby->m_mapStrKeyToPlayer.empty());
    EXPECT_TRUE(lobby->m_mapPlayerToStrKey.empty());
    EXPECT_TRUE(
        Has(LogOf([&] { Unsubscribe(a, "k"); }), "userid[1] m_mapPlayerToStrKey not find key[k]"));
}

TEST_F(FarmTest, MapsStayInStepOverRandomSequences) {
    const std::vector<std::string> keys{"a", "b", "c", std::string(128, 'd')};
    Keys(true, keys);
    std::mt19937 random(5);
    std::vector<LobbyPlayer*> online;
    std::map<int, std::set<std::string>> model;  // keys of each user
    const auto run = [&] {
        for (int step = 0; step < 1500; ++step) {
            const unsigned action = random() % 10;
            if (online.empty() || (action == 0 && online.size() < 12)) {
                online.push_back(Login(int(random() % 5) + 1));
                continue;
            }
            LobbyPlayer* const player = online[random() % online.size()];
            const int user = player->m_iUserID;
            const std::string& key = keys[random() % keys.size()];
            if (action == 1) {
                net.Hangup(player);
                std::erase(online, player);
                model.erase(user);  // the user's other connections lose theirs, too
            } else if (action < 7) {
                Subscribe(player, key);
                model[user].insert(key);
            } else if (action < 9) {
                Unsubscribe(player, key);
                if (model.count(user) != 0) model[user].erase(key);
            } else {
                lobby->GetLobbyClientHandler()->unsubscribe(player, "");
                model.erase(user);
            }

            std::map<int, std::set<std::string>> byUser, bySubscriber;
            for (const auto& [id, list] : lobby->m_mapPlayerToStrKey) {
                byUser[id] = {list.begin(), list.end()};
                ASSERT_EQ(byUser[id].size(), list.size());
            }
            for (auto& [id, set] : model) {
                if (!set.empty()) bySubscriber[id];
            }
            for (const auto& [each, list] : lobby->m_mapStrKeyToPlayer) {
                for (const PublishPlayer& s : list)
                    bySubscriber[s.iUserID].insert(each);
            }
            ASSERT_EQ(byUser, model) << step;
            std::erase_if(byUser, [](const auto& entry) { return entry.second.empty(); });
            ASSERT_EQ(bySubscriber, byUser) << step;
        }
        for (LobbyPlayer* player : online)
            net.Hangup(player);
    };
    LogOf(run);
    EXPECT_TRUE(lobby->m_mapPlayerToStrKey.empty());
    for (const auto& [key, list] : lobby->m_mapStrKeyToPlayer)
        EXPECT_TRUE(list.empty());
}

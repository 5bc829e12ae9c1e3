#include "LobbyTest.h"

namespace {

const std::string kKey(128, 'k');  // fills its field, as the texts below

using Types_ = std::vector<uint16_t>;

class FarmTest : public DirectoryTest {
  protected:
    void Keys(bool init, const std::vector<std::string>& keys) {
        std::string bytes = BytesOf(WebFarmSubscribeKeyRes{{}, init, int(keys.size())});
        for (const std::string& key : keys)
            bytes += key + Zeros(128 - key.size());
        net.Deliver(Link(CONFIG), 0xAD29, bytes);
    }
    void Subscribe(IPlayerNode* node, const std::string& key, uint16_t type = 0xF2) {
        ClientSubscribeMsg msg{};
        key.copy(msg.szKey, sizeof(msg.szKey));
        net.Deliver(node, type, msg);
    }
    void Unsubscribe(IPlayerNode* node, const std::string& key) { Subscribe(node, key, 0xF3); }
    std::string Farm(int mainId, int subId, int userId, const std::string& key) {
        BulletinTransferFarmNotice msg{{}, mainId, subId, userId, {}, {}};
        key.copy(msg.szMessageKey, sizeof(msg.szMessageKey));
        std::memset(msg.szMsgContent, 'm', sizeof(msg.szMsgContent));
        return LogOf([&] { net.Deliver(Link(WEB), 0xCF, msg); });
    }
    Types_ Types(IPlayerNode* node) {
        Types_ types;
        for (const auto& sent : Received(node))
            types.push_back(sent.type);
        return types;
    }
};

}  // namespace

TEST_F(FarmTest, KeyListIsReplacedOrAppended) {
    const auto known = [&] {
        std::string keys;
        for (const char* key : {"a", "b", "A", "c", ""})
            keys += lobby->IsExistSubscribeKey(key) ? key : "-";
        return keys + (lobby->IsExistSubscribeKey(kKey) ? "k" : "-");
    };
    lobby->RequestSubscribeKeyCfg();
    EXPECT_EQ(Types(Link(CONFIG)), Types_{0xAD28});
    EXPECT_EQ(known(), "------");
    Keys(true, {"a", kKey});
    Keys(false, {"b"});
    EXPECT_EQ(known(), "ab---k");
    Keys(true, {"c"});
    EXPECT_EQ(known(), "---c--");
}

TEST_F(FarmTest, MessagesReachTheirUserOrEverybodyOrTheSubscribersAndDirectOnesAreLogged) {
    Keys(true, {kKey});
    lobby->m_iPort = 7700;
    LobbyPlayer* const a = Login(1);
    LobbyPlayer* const older = Login(2);
    LobbyPlayer* const b = Login(2);
    EXPECT_TRUE(Has(Farm(3, 100, 1, kKey), "no plyaer subscribe msg key[kkk"));
    Subscribe(a, kKey);
    Subscribe(a, kKey);  // and counts once
    const struct {
        int mainId, subId, userId;
        std::string key;
        std::vector<Types_> expected;  // by a, older, b and the log server
    } cases[] = {
        {1, 1, 2, "", {{}, {}, {0xBB}, {0x5A4D}}},
        {1, 1, 9, "", {{}, {}, {}, {}}},
        {1, 1, 0, "", {{0xBB}, {0xBB}, {0xBB}, {0x5A4D}}},
        {1, 1, -5, kKey, {{0xBB}, {0xBB}, {0xBB}, {0x5A4D}}},
        {3, 100, 1, "other", {{0xBB}, {}, {}, {0x5A4D}}},
        {3, 101, 1, kKey, {{0xBB}, {}, {}, {0x5A4D}}},
        {3, 100, 2, kKey, {{0xF4}, {}, {}, {}}},
    };
    for (const auto& c : cases) {
        Farm(c.mainId, c.subId, c.userId, c.key);
        const std::vector<Types_> got{Types(a), Types(older), Types(b), Types(Link(LOG))};
        EXPECT_EQ(got, c.expected) << c.userId << c.key;
    }
    for (LobbyPlayer* of : {older, b})  // two connections of a user
        Subscribe(of, kKey);
    Farm(3, 100, 0, kKey);
    for (LobbyPlayer* each : {a, older, b})
        EXPECT_EQ(Types(each), Types_{0xF4});
    Unsubscribe(b, kKey);

    const std::string text(1024, 'm');
    const auto numbers = [](std::initializer_list<int32_t> values) {
        return Zeros(8) + std::string(reinterpret_cast<const char*>(values.begin()),
                                      values.size() * sizeof(int32_t));
    };
    Farm(4, 5, 1, "");
    Farm(3, 100, 2, kKey);
    EXPECT_EQ(Got(a), (Messages{{0xBB, numbers({4, 5, 1}) + text},
                                {0xF4, numbers({3, 100}) + kKey + text}}));
    EXPECT_EQ(Got(Link(LOG)), (Messages{{0x5A4D, numbers({4, 5, 1, 7700}) + text}}));

    net.failSend = [a](IPlayerNode* node, uint16_t) { return node == a; };
    Farm(1, 1, 1, "");
    EXPECT_TRUE(Types(Link(LOG)).empty());
    Farm(1, 1, 0, "");
    EXPECT_EQ(Types(Link(LOG)), Types_{0x5A4D});
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
    Subscribe(a, kKey);  // no key is known yet
    Keys(true, {kKey, ""});
    Subscribe(a, "");
    for (const size_t size : {143, 145})
        net.Deliver(a, 0xF2, std::string(size, 'k'));
    EXPECT_TRUE(lobby->m_mapStrKeyToPlayer.empty());
    EXPECT_TRUE(lobby->m_mapPlayerToStrKey.empty());
    EXPECT_TRUE(Has(LogOf([&] { Unsubscribe(a, kKey); }),
                    "userid[1] m_mapPlayerToStrKey not find key[kkk"));
    Subscribe(a, kKey);
    for (const size_t size : {143, 145}) {
        const std::string log = LogOf([&] { net.Deliver(a, 0xF3, std::string(size, 'k')); });
        EXPECT_TRUE(Has(
            log, "CLIENT_UNSUBSCRIBE_MSG_C2S size[144] != length[" + std::to_string(size) + "]"));
    }
    EXPECT_EQ(lobby->m_mapStrKeyToPlayer[kKey].size(), 1u);
    // A line per other subscriber only for one key: closing 500 players once wrote 13.6 MB.
    Subscribe(Login(2), kKey);
    EXPECT_TRUE(Has(LogOf([&] { Unsubscribe(a, kKey); }), "userid[1, 2] ulPlayerNodeId["));
    Subscribe(a, kKey);
    const std::string closed = LogOf([&] { net.Hangup(a); });
    EXPECT_TRUE(Has(closed, "all key unsubscribe success") && !Has(closed, "userid[1, 2]"));
}

// What a connection subscribed to before its connect notice named its user stood under user 0 for
// ever, and so did the node, for whoever used it next.
TEST_F(FarmTest, MapsStayInStepOverRandomSequences) {
    using Entry = std::tuple<int, uint64_t, std::string>;  // user, connection, key
    const std::vector<std::string> keys{"a", "b", "c", kKey};
    Keys(true, keys);
    std::mt19937 random(5);
    std::vector<LobbyPlayer*> online;
    std::set<Entry> model;
    const auto forget = [&](auto condition) {
        std::erase_if(model, [&](const Entry& entry) { return std::apply(condition, entry); });
    };
    const auto check = [&] {
        std::multiset<Entry> entries;
        std::multiset<std::pair<int, std::string>> kept;
        std::set<std::pair<int, std::string>> expected;
        for (const auto& [key, list] : lobby->m_mapStrKeyToPlayer) {
            for (const PublishPlayer& s : list)
                entries.emplace(s.iUserID, s.ulPlayerNode, key);
        }
        for (const auto& [user, list] : lobby->m_mapPlayerToStrKey) {
            for (const std::string& key : list)
                kept.emplace(user, key);
        }
        for (const auto& [user, node, key] : model)
            expected.emplace(user, key);
        ASSERT_TRUE(std::ranges::equal(entries, model));
        ASSERT_TRUE(std::ranges::equal(kept, expected));
    };
    const auto step = [&] {
        const unsigned action = random() % 12;
        if (online.empty() || (action == 0 && online.size() < 12)) {
            online.push_back(static_cast<LobbyPlayer*>(net.Connect()));
            return;
        }
        LobbyPlayer* const player = online[random() % online.size()];
        const int user = player->m_iUserID;
        const std::string& key = keys[random() % keys.size()];
        if (action == 1) {
            const uint64_t gone = NodeHandle(player);
            net.Hangup(player);
            std::erase(online, player);
            // The user's other connections lose theirs, too.
            forget([&](int u, uint64_t n, auto&) { return u == user || n == gone; });
        } else if (action == 2) {
            Notice(player, int(random() % 5) + 1);
        } else if (action < 8) {
            Subscribe(player, key);
            model.emplace(user, NodeHandle(player), key);
        } else if (action < 11) {
            Unsubscribe(player, key);
            forget([&](int u, uint64_t, auto& k) { return u == user && k == key; });
        } else {
            Unsubscribe(player, "");
            forget([&](int u, uint64_t, auto&) { return u == user; });
        }
    };
    LogOf([&] {
        for (int i = 0; i < 3000 && !HasFatalFailure(); ++i) {
            step();
            check();
        }
        for (LobbyPlayer* player : online)
            net.Hangup(player);
    });
    EXPECT_TRUE(lobby->m_mapPlayerToStrKey.empty());
    model.clear();
    check();
}

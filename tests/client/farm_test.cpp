#include "LobbyTest.h"

namespace {

const std::string kKey(128, 'k');  // fills its field, as the texts below

class FarmTest : public LobbyTest {
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
};

}  // namespace

TEST_F(FarmTest, KeyListIsReplacedOrAppended) {
    const auto known = [&] {
        std::string keys;
        for (const std::string& key : std::vector<std::string>{"a", "b", "A", "c", "", kKey})
            keys += lobby->IsExistSubscribeKey(key) ? key[0] : '-';
        return keys;
    };
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
    // Who gets it: a, older, b and the log server.
    const std::tuple<int, int, int, std::string, std::array<uint16_t, 4>> cases[] = {
        {1, 1, 2, "", {0, 0, 0xBB, 0x5A4D}},        {1, 1, 9, "", {0, 0, 0, 0}},
        {1, 1, 0, "", {0xBB, 0xBB, 0xBB, 0x5A4D}},  {1, 1, -5, kKey, {0xBB, 0xBB, 0xBB, 0x5A4D}},
        {3, 100, 1, "other", {0xBB, 0, 0, 0x5A4D}}, {3, 101, 1, kKey, {0xBB, 0, 0, 0x5A4D}},
        {3, 100, 2, kKey, {0xF4, 0, 0, 0}},
    };
    for (const auto& [mainId, subId, userId, key, expected] : cases) {
        Farm(mainId, subId, userId, key);
        const std::array got{Only(a).type, Only(older).type, Only(b).type, Only(Link(LOG)).type};
        EXPECT_EQ(got, expected) << subId << ' ' << userId << key;
    }
    for (LobbyPlayer* of : {older, b})  // two connections of a user
        Subscribe(of, kKey);
    Farm(3, 100, 0, kKey);
    for (LobbyPlayer* each : {a, older, b})
        EXPECT_EQ(Only(each).type, 0xF4);
    Unsubscribe(b, kKey);

    const std::string text(1024, 'm');
    const auto message = [](auto numbers) { return Zeros(8) + BytesOf(numbers); };
    Farm(4, 5, 1, "");
    Farm(3, 100, 2, kKey);
    EXPECT_EQ(Got(a), (Messages{{0xBB, message(std::array{4, 5, 1}) + text},
                                {0xF4, message(std::array{3, 100}) + kKey + text}}));
    EXPECT_EQ(Got(Link(LOG)), One(0x5A4D, message(std::array{4, 5, 1, 7700}) + text));

    net.failSend = [a](IPlayerNode* node, uint16_t) { return node == a; };
    Farm(1, 1, 1, "");
    EXPECT_TRUE(Nothing(Link(LOG)));
    Farm(1, 1, 0, "");
    EXPECT_EQ(Only(Link(LOG)).type, 0x5A4D);
}

// The stored node outlived its connection and was given to the next client, who then got
// messages that somebody else had asked for.
TEST_F(FarmTest, ReusedNodeGetsNoForeignMessage) {
    Keys(true, {"k"});
    LobbyPlayer* const a = Login(1);
    Subscribe(a, "k");
    const auto stale = lobby->m_mapStrKeyToPlayer["k"];
    net.Hangup(a);
    lobby->m_mapStrKeyToPlayer["k"] = stale;
    LobbyPlayer* const next = Login(2);
    ASSERT_EQ(next, a);
    EXPECT_TRUE(Has(Farm(3, 100, 0, "k"), "user_id[1] ulPlayerNode["));
    EXPECT_TRUE(Nothing(next));
}

TEST_F(FarmTest, RefusedSubscriptionsChangeNothing) {
    LobbyPlayer* const a = Login(1);
    Subscribe(a, kKey);  // no key is known yet
    Keys(true, {kKey, ""});
    Subscribe(a, "");
    for (const size_t size : {143, 145})
        net.Deliver(a, 0xF2, std::string(size, 'k'));
    EXPECT_TRUE(lobby->m_mapStrKeyToPlayer.empty() && lobby->m_mapPlayerToStrKey.empty());
    Subscribe(a, kKey);
    for (const size_t size : {143, 145})
        net.Deliver(a, 0xF3, std::string(size, 'k'));
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
        std::set<std::pair<int, std::string>> expected;
        std::multiset<std::pair<int, std::string>> kept;
        for (const auto& [key, list] : lobby->m_mapStrKeyToPlayer) {
            for (const PublishPlayer& s : list) {
                entries.emplace(s.iUserID, s.ulPlayerNode, key);
                expected.emplace(s.iUserID, key);
            }
        }
        for (const auto& [user, list] : lobby->m_mapPlayerToStrKey) {
            for (const std::string& key : list)
                kept.emplace(user, key);
        }
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

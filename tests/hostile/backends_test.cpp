// Back-end servers that lie, babble or fall silent: no player is disconnected, and everything is
// as before once the real server is back.
#include <random>

#include "BankInfoDef_Trans.h"
#include "HostileTest.h"
#include "RogueServer.h"
#include "config_server_msg.h"

class HostileBackEndTest : public UnderAttack {
  protected:
    std::string LinkCounts() { return platform.DoCommand("links"); }
    bool AllLinked() {
        bystander->KeepAlive();
        return LinkCounts() == "queue=1 center=1 config=1 web=1 data=1 log=1\nok\n";
    }
    // From every server but the log server, which has nothing to say.
    void SendFromEach(const std::function<std::vector<wire::Bytes>(ServerKind)>& messages) {
        for (const ServerKind kind : sim::ALL_SERVERS) {
            for (const wire::Bytes& bytes : messages(kind)) {
                platform.Do([&] { platform.Server(kind).SendAll(bytes); });
            }
        }
    }
};

namespace {

std::vector<const catalog::Message*> Rows(ServerKind kind) {
    std::vector<const catalog::Message*> rows;
    for (const catalog::Message& row : catalog::All()) {
        if (kind != ServerKind::Log && row.direction == ToLobby(kind)) rows.push_back(&row);
    }
    return rows;
}

template <class T>
void Put(wire::Bytes& bytes, size_t at, T value) {
    if (at + sizeof(value) <= bytes.size()) std::memcpy(&bytes[at], &value, sizeof(value));
}

wire::Bytes Filled(uint16_t type, size_t size, std::minstd_rand& random) {
    wire::Bytes body(size);
    for (uint8_t& byte : body)
        byte = static_cast<uint8_t>(random() >> 8);
    return wire::Pack(type, body.data(), body.size());
}

// A stop switch that is on would rightly empty the lobby.
bool EmptiesTheLobby(const catalog::Message& row) {
    return row.type == MSG_CONFIG_STOP_SWITCH_RES &&
           row.direction == catalog::Direction::ConfigToLobby;
}

}  // namespace

TEST_F(HostileBackEndTest, ForgedHandlesReachNobody) {
    ServeQuietly(AttackSettings());
    const uint64_t forged[] = {0,
                               1,
                               8,
                               ~0ull,
                               0x7FFFFFFFFFFFFFF8ull,
                               0x00007F0000001000ull,
                               reinterpret_cast<uintptr_t>(this)};
    SendFromEach([&](ServerKind kind) {
        std::vector<wire::Bytes> messages;
        std::minstd_rand random(3);
        for (const catalog::Message* row : Rows(kind)) {
            if (row->layout == nullptr || EmptiesTheLobby(*row)) continue;
            for (const uint64_t handle : forged) {
                wire::Bytes bytes = Filled(row->type, row->size, random);
                bool hasHandle = false;
                for (const catalog::Field& field : row->layout->fields) {
                    if (field.name == "ulPlayerNode") Put(bytes, field.offset, handle);
                    hasHandle = hasHandle || field.name == "ulPlayerNode";
                    // The ids of the first nodes, which are the right ones for somebody.
                    if (field.name == "ulPlayerNodeId") Put(bytes, field.offset, handle % 16);
                }
                if (hasHandle) messages.push_back(std::move(bytes));
            }
        }
        return messages;
    });
    EXPECT_LT(SlowestDuring([&] { ExpectServed(); }), AT_ONCE);
    EXPECT_TRUE(Eventually([&] { return AllLinked(); }));
    EXPECT_FALSE(lobby.Ended());
}

TEST_F(HostileBackEndTest, FourThousandBytesOfNonsenseInEveryMessage) {
    ServeQuietly(AttackSettings());
    const int64_t coins = AllCoins();
    std::minstd_rand random(5);
    for (int round = 0; round < 3; ++round) {
        SendFromEach([&](ServerKind kind) {
            std::vector<wire::Bytes> messages;
            for (const catalog::Message* row : Rows(kind)) {
                if (EmptiesTheLobby(*row)) continue;
                messages.push_back(Filled(row->type, wire::LARGEST, random));
                messages.push_back(Filled(row->type, row->size, random));
                messages.push_back(
                    wire::Pack(row->type, wire::Bytes(wire::LARGEST, 0xFF).data(), wire::LARGEST));
                messages.push_back(wire::Pack(row->type));
            }
            return messages;
        });
        EXPECT_LT(SlowestDuring([&] { ExpectServed(); }), AT_ONCE);
    }
    EXPECT_TRUE(Eventually([&] { return AllLinked(); }));
    EXPECT_EQ(AllCoins(), coins);
}

TEST_F(HostileBackEndTest, SomethingElseOnEveryPort) {
    ServeQuietly(AttackSettings());
    std::string noise(4096, '\0');
    std::minstd_rand random(11);
    for (char& byte : noise)
        byte = static_cast<char>(random() >> 8);
    const struct {
        const char* what;
        RogueServer::Treatment treatment;
    } rogues[] = {
        {"closes at once", [](int) { return false; }},
        {"never reads, never answers", [](int) { return true; }},
        {"4096 bytes of noise",
         [&](int fd) { return send(fd, noise.data(), noise.size(), MSG_NOSIGNAL) > 0; }},
        {"a web server",
         [](int fd) {
             constexpr std::string_view page = "HTTP/1.1 400 Bad\r\nConnection: close\r\n\r\n";
             return send(fd, page.data(), page.size(), MSG_NOSIGNAL) > 0;
         }},
    };
    ExpectServed();
    const long descriptors = Descriptors();
    for (const auto& rogue : rogues) {
        SCOPED_TRACE(rogue.what);
        const double slowest = SlowestDuring([&] {
            for (const ServerKind kind : sim::ALL_SERVERS)
                platform.DoCommand(std::string("down ") + NameOf(kind));
            std::vector<std::unique_ptr<RogueServer>> servers;
            for (const ServerKind kind : sim::ALL_SERVERS) {
                servers.push_back(
                    std::make_unique<RogueServer>(platform.Port(kind), rogue.treatment));
            }
            EXPECT_TRUE(Eventually(
                [&] {
                    return std::all_of(servers.begin(), servers.end(),
                                       [](const auto& one) { return one->Accepted() > 0; });
                },
                15));
            servers.clear();
            for (const ServerKind kind : sim::ALL_SERVERS)
                platform.DoCommand(std::string("up ") + NameOf(kind));
        });
        EXPECT_LT(slowest, AT_ONCE);
        EXPECT_TRUE(Eventually([&] { return AllLinked(); }, 15)) << LinkCounts();
        ExpectServed();
        EXPECT_TRUE(Eventually([&] {
            bystander->KeepAlive();
            return Descriptors() <= descriptors;
        })) << Descriptors();
    }
}

TEST_F(HostileBackEndTest, AnswersThatNeverComeOrComeTwice) {
    ServeQuietly(AttackSettings());
    const int64_t coins = AllCoins();
    const auto silent = [](sim::Link&, const Message&) { return true; };
    platform.Do([&] {
        for (const catalog::Message& row : catalog::All()) {
            if (row.direction == catalog::Direction::LobbyToQueue)
                platform.Intercept(ServerKind::Queue, row.type, silent);
        }
    });
    auto waiting = Connect(10003);
    waiting->SendLogin();
    bystander->SendTake(1, BANK_PASSWORD);
    EXPECT_LT(SlowestDuring([] { std::this_thread::sleep_for(milliseconds(300)); }), AT_ONCE);
    platform.Do([&] {
        for (const catalog::Message& row : catalog::All())
            platform.Intercept(ServerKind::Queue, row.type, {});
        platform.Intercept(ServerKind::Queue, BANK_GET_COIN_L2Q,
                           [](sim::Link& link, const Message& message) {
                               const auto req = message.As<GetBankCoinReq_trans>();
                               GetCoinResult_trans result{};
                               result.base.llGetCoinNum = req.base.llGetNum;
                               result.ulPlayerNode = req.ulPlayerNode;
                               result.ulPlayerNodeId = req.ulPlayerNodeId;
                               link.Send(BANK_GET_COIN_Q2L, result);
                               link.Send(BANK_GET_COIN_Q2L, result);
                               return true;
                           });
    });
    auto player = LoggedIn(10004);
    player->SendTake(3, BANK_PASSWORD);
    for (int answer = 0; answer < 2; ++answer) {
        EXPECT_EQ(+player->Await(BANK_GET_COIN_S2C).As<GetCoinResult>().llGetCoinNum, 3);
    }
    player->SendTake(3, BANK_PASSWORD);
    player.reset();  // and the answers to nobody
    platform.Do([&] { platform.Intercept(ServerKind::Queue, BANK_GET_COIN_L2Q, {}); });
    ExpectServed();
    EXPECT_EQ(AllCoins(), coins);
}

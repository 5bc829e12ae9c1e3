// Back-end servers that lie, babble or fall silent: no player is disconnected, and everything is
// as before once the real server is back.
#include <random>

#include "BankInfoDef_Trans.h"
#include "HostileTest.h"
#include "config_server_msg.h"

namespace {

wire::Bytes Filled(uint16_t type, size_t size) {
    static std::minstd_rand random(5);
    wire::Bytes body(size);
    for (uint8_t& byte : body)
        byte = static_cast<uint8_t>(random() >> 8);
    return wire::Pack(type, body.data(), body.size());
}

// Forged handles in each message that has one.
void Forge(const catalog::Message& row, std::vector<wire::Bytes>& messages) {
    const uint64_t own = reinterpret_cast<uintptr_t>(&row);
    if (row.layout == nullptr) return;
    for (const uint64_t handle :
         {0ul, 1ul, 8ul, ~0ul, 0x7FFFFFFFFFFFFFF8ul, 0x00007F0000001000ul, own}) {
        wire::Bytes bytes = Filled(row.type, row.size);
        bool hasHandle = false;
        for (const catalog::Field& field : row.layout->fields) {
            // The ids of the first nodes are the right ones for somebody.
            const uint64_t forged = field.name == "ulPlayerNode" ? handle : handle % 16;
            if (field.name != "ulPlayerNode" && field.name != "ulPlayerNodeId") continue;
            std::memcpy(&bytes.at(field.offset + 7) - 7, &forged, sizeof(forged));
            hasHandle = true;
        }
        if (hasHandle) messages.push_back(std::move(bytes));
    }
}

void Babble(const catalog::Message& row, std::vector<wire::Bytes>& messages) {
    for (int round = 0; round < 3; ++round) {
        messages.push_back(Filled(row.type, wire::LARGEST));
        messages.push_back(Filled(row.type, row.size));
        messages.push_back(
            wire::Pack(row.type, wire::Bytes(wire::LARGEST, 0xFF).data(), wire::LARGEST));
        messages.push_back(wire::Pack(row.type));
    }
}

class HostileBackEndTest : public UnderAttack {
  protected:
    // What `add` makes of each message of every server but the log server, which has nothing to
    // say. A stop switch that is on would rightly empty the lobby.
    template <class Add>
    void SendFromEach(Add add) {
        for (const ServerKind kind : sim::ALL_SERVERS) {
            std::vector<wire::Bytes> messages;
            for (const catalog::Message& row : catalog::All()) {
                const bool isStop =
                    kind == ServerKind::Config && row.type == MSG_CONFIG_STOP_SWITCH_RES;
                if (kind == ServerKind::Log || row.direction != ToLobby(kind) || isStop) continue;
                add(row, messages);
            }
            for (const wire::Bytes& bytes : messages)
                platform.Do([&] { platform.Server(kind).SendAll(bytes); });
        }
    }
    // Something else on the port of every server. It never reads, and closes the connections on
    // which it says something.
    void Replace(const std::optional<std::string>& says) {
        using boost::asio::ip::tcp;
        Switch("down");
        boost::asio::io_context io;
        std::deque<tcp::acceptor> listeners;
        std::deque<tcp::socket> silent;
        for (const ServerKind kind : sim::ALL_SERVERS) {
            const tcp::endpoint at(boost::asio::ip::address_v4::loopback(), platform.Port(kind));
            listeners.emplace_back(io, at).non_blocking(true);
        }
        for (int visit = 0; visit < (says ? 2 : 1); ++visit) {
            for (tcp::acceptor& listener : listeners) {
                boost::system::error_code none;
                tcp::socket visitor(io);
                EXPECT_TRUE(Eventually([&] { return !listener.accept(visitor, none); }, 15));
                if (!says) silent.push_back(std::move(visitor));
                if (says) visitor.send(boost::asio::buffer(*says), 0, none);
            }
        }
        listeners.clear();
        silent.clear();
        Switch("up");
    }
    // The queue server's answer to every request, or to those of one type.
    void Answer(sim::Platform::Interceptor answer, uint16_t type = 0) {
        platform.Do([&] {
            for (const catalog::Message& row : catalog::All()) {
                if (row.direction == catalog::Direction::LobbyToQueue &&
                    (type == 0 || type == row.type)) {
                    platform.Intercept(ServerKind::Queue, row.type, answer);
                }
            }
        });
    }
    void AnswerNothing() {
        auto player = LoggedIn(10004);
        Answer([](sim::Link&, const Message&) { return true; });
        player->SendTake(1, BANK_PASSWORD);
        Connect(10003)->SendLogin();
        std::this_thread::sleep_for(milliseconds(300));
        Answer({});
    }
    void AnswerTwice() {
        const auto twice = [](sim::Link& link, const Message& message) {
            const auto req = message.As<GetBankCoinReq_trans>();
            GetCoinResult_trans result{};
            result.base.llGetCoinNum = req.base.llGetNum;
            result.ulPlayerNode = req.ulPlayerNode;
            result.ulPlayerNodeId = req.ulPlayerNodeId;
            link.Send(BANK_GET_COIN_Q2L, result);
            link.Send(BANK_GET_COIN_Q2L, result);
            return true;
        };
        Answer(twice, BANK_GET_COIN_L2Q);
        auto player = LoggedIn(10004);
        player->SendTake(3, BANK_PASSWORD);
        for (int answer = 0; answer < 2; ++answer) {
            EXPECT_EQ(+player->Await(BANK_GET_COIN_S2C).As<GetCoinResult>().llGetCoinNum, 3);
        }
        player->SendTake(3, BANK_PASSWORD);
        player.reset();  // and the answers to nobody
        Answer({});
    }
};

}  // namespace

TEST_F(HostileBackEndTest, EveryOneOfThemLeavesPlayersServedAndNothingBehind) {
    const wire::Bytes noise = Filled(0, wire::LARGEST);
    const struct {
        const char* what;
        std::function<void()> attack;
    } backEnds[] = {
        {"forged handles", [&] { SendFromEach(Forge); }},
        {"nonsense of 4096 bytes, of the right length and of none", [&] { SendFromEach(Babble); }},
        {"close at once", [&] { Replace(""); }},
        {"accept, never read, never answer", [&] { Replace({}); }},
        {"are noise of 4096 bytes", [&] { Replace(std::string(noise.begin(), noise.end())); }},
        {"are web servers", [&] { Replace("HTTP/1.1 400 Bad\r\nConnection: close\r\n\r\n"); }},
        {"do not answer", [&] { AnswerNothing(); }},
        {"answer twice", [&] { AnswerTwice(); }},
    };
    ServeQuietly(AttackSettings());
    ExpectServed();
    const int64_t coins = AllCoins();
    const long descriptors = DescriptorsOfAll();
    for (const auto& one : backEnds) {
        SCOPED_TRACE(one.what);
        EXPECT_LT(SlowestDuring(one.attack), AT_ONCE);
        EXPECT_TRUE(Eventually([&] { return AllLinked(); }, 15)) << platform.DoCommand("links");
        ExpectServed();
        EXPECT_TRUE(FallsTo(descriptors)) << Descriptors() << ", before " << descriptors;
        EXPECT_EQ(AllCoins(), coins);
    }
}

// Back-end servers that lie, babble or fall silent: no player is disconnected, and everything is
// as before once the real server is back.
#include <random>

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

class HostileBackEndTest : public UnderAttack {
  protected:
    // Of each message of every server but the log server, which has nothing to say. A stop switch
    // that is on would rightly empty the lobby.
    void Babble() {
        const wire::Bytes ones(wire::LARGEST, 0xFF);
        for (const ServerKind kind : sim::ALL_SERVERS) {
            for (const catalog::Message& row : catalog::All()) {
                if (kind == ServerKind::Log || row.direction != ToLobby(kind) ||
                    row.type == MSG_CONFIG_STOP_SWITCH_RES)
                    continue;
                for (const wire::Bytes& bytes :
                     {Filled(row.type, wire::LARGEST), Filled(row.type, row.size),
                      wire::Pack(row.type, ones.data(), ones.size()), wire::Pack(row.type)})
                    platform.Do([&] { platform.Server(kind).SendAll(bytes); });
            }
        }
    }
    // Something else on the port of every server, which hangs up at once or says that, never reads
    // and never answers. On noise the lobby hangs up.
    void Replace(const std::optional<std::string>& says) {
        using boost::asio::ip::tcp;
        for (const ServerKind kind : sim::ALL_SERVERS)
            platform.DoCommand(std::string("down ") + NameOf(kind));
        boost::asio::io_context io;
        std::deque<tcp::acceptor> listeners;
        for (const ServerKind kind : sim::ALL_SERVERS) {
            const tcp::endpoint at(boost::asio::ip::address_v4::loopback(), platform.Port(kind));
            listeners.emplace_back(io, at).non_blocking(true);
        }
        std::deque<tcp::socket> silent;
        for (tcp::acceptor& listener : listeners) {
            boost::system::error_code none;
            tcp::socket visitor(io);
            EXPECT_TRUE(Eventually([&] { return !listener.accept(visitor, none); }, 15));
            if (!says) continue;
            visitor.send(boost::asio::buffer(*says), 0, none);
            char byte = 0;
            while (!says->empty() && visitor.receive(boost::asio::buffer(&byte, 1), 0, none) > 0) {
            }
            silent.push_back(std::move(visitor));
        }
        listeners.clear();
        silent.clear();
        for (const ServerKind kind : sim::ALL_SERVERS)
            platform.DoCommand(std::string("up ") + NameOf(kind));
    }
    // The queue server has nothing to say for a while.
    void AnswerNothing() {
        auto player = LoggedIn(10004);
        const auto answer = [this](const sim::Platform::Interceptor& answers) {
            for (const catalog::Message& row : catalog::All()) {
                if (row.direction == catalog::Direction::LobbyToQueue)
                    platform.Intercept(ServerKind::Queue, row.type, answers);
            }
        };
        platform.Do([&] { answer([](sim::Link&, const Message&) { return true; }); });
        player->SendTake(1, BANK_PASSWORD);
        Connect(10003)->SendLogin();
        std::this_thread::sleep_for(milliseconds(300));
        platform.Do([&] { answer({}); });
    }
};

}  // namespace

TEST_F(HostileBackEndTest, EveryOneOfThemLeavesPlayersServedAndNothingBehind) {
    const struct {
        const char* what;
        std::function<void()> attack;
    } backEnds[] = {
        {"nonsense of 4096 bytes, of the right length and of none", [&] { Babble(); }},
        {"close at once", [&] { Replace({}); }},
        {"accept, never read, never answer", [&] { Replace(""); }},
        {"are noise of 4096 bytes", [&] { Replace(std::string(4096, 'n')); }},
        {"do not answer", [&] { AnswerNothing(); }},
    };
    ServeQuietly(CountedSettings());
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

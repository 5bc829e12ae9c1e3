// The lobby as a service: what it is asked on the command line and by signals, what it tells its
// supervisor, starts that fail, and an upgrade that nobody notices.
#include <gmock/gmock.h>

#include <boost/asio/local/datagram_protocol.hpp>

#include "SystemTest.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// Stands in for the supervisor, for the processes started while it lives.
class Supervisor {
  public:
    Supervisor() {
        m_socket.non_blocking(true);
        setenv("NOTIFY_SOCKET", ('@' + m_name).c_str(), 1);
    }
    ~Supervisor() { unsetenv("NOTIFY_SOCKET"); }

    // What was said since the last call, once `last` has been.
    std::string Heard(const std::string& last) {
        std::string all;
        Eventually([&] {
            char text[512];
            boost::system::error_code none;
            const size_t size = m_socket.receive(boost::asio::buffer(text), 0, none);
            if (size > 0) all.append(text, size) += '\n';
            return Has(all, last);
        });
        return all;
    }

  private:
    using Unix = boost::asio::local::datagram_protocol;
    const std::string m_name = "lobby-test-" + std::to_string(getpid());
    boost::asio::io_context m_io;
    Unix::socket m_socket{m_io, Unix::endpoint('\0' + m_name)};
};

constexpr const char* kNobody = "[disconnectcount]\nusernum=0\n";

}  // namespace

class ServiceTest : public SystemTest {
  protected:
    void WriteFiles() {
        lobby.Write("disconnectuserid.cfg", kNobody);
        lobby.Write("SensitiveName.cfg", "[config]\nSensitiveName=admin\n");
        lobby.Write("compete_info.cfg", "[compete_info]\nday_user_num=64,8\n");
    }
    // What the log says on a SIGHUP, the last of which is about LobbyServer.cfg.
    std::string Reload() {
        lobby.Configure(config);
        const size_t before = lobby.Output().size();
        const auto said = [&] { return lobby.Output().substr(before); };
        lobby.Signal(SIGHUP);
        Eventually([&] { return Has(said(), "'LobbyServer.cfg': "); });
        return said();
    }
    bool IsLetIn(int32_t user) {
        try {
            return Connect(user)->Login().ucErrNo == 0;
        } catch (const client::ConnectionLost&) {
            return false;
        }
    }
};

TEST_F(ServiceTest, TheCommandLineAnswersAndRefuses) {
    WriteFiles();
    config["listen"]["addr"] = "127.0.0.1:9100";
    lobby.Configure(config);
    const std::string directory = lobby.Directory();
    const struct {
        std::string arguments;
        int status;
        const char* says;
    } cases[] = {
        {" --version", 0, "LobbyServer 4."},
        {" --help", 0, "SIGUSR1"},
        {" --check " + directory, 0, "No problems found."},
        {" --check", 0, "No problems found."},
        {" --check " + directory + " more", 2, "\"more\""},
        {" -v", 2, "\"-v\""},
        {" start", 2, "\"start\""},
    };
    for (const auto& one : cases) {
        const Ended ended = Shell(directory + "/LobbyServer" + one.arguments);
        EXPECT_EQ(ended.status, one.status) << one.arguments;
        EXPECT_THAT(ended.output, HasSubstr(one.says));
    }
    EXPECT_FALSE(std::filesystem::exists(lobby.Directory() / "log"));
}

// A restart helps a lobby whose back-end is away, and not one whose configuration is wrong: the
// status tells a supervisor. Without one it is 0, whatever the fault.
TEST_F(ServiceTest, AStartThatFailsSaysWhyAndEndsInOrder) {
    const std::string taken = Loopback(platform.Port(ServerKind::Log));
    const struct {
        int status;
        std::string section, key, value, said, logged;
    } faults[] = {
        {0, "listen", "addr", "no-such.invalid:7", "the name cannot be resolved\n",
         "Create() error"},
        {0, "listen", "addr", taken, "Address already in use",
         "GameProvider::Create() error, host[127.0.0.1]"},
        {0, "connect", "queue_server", "no-such.invalid:7",
         "cannot connect to no-such.invalid:7 (the name cannot be resolved)\n", "Create() error"},
        {0, "connect", "center_server", "127.0.0.1:1", "cannot connect to", "Create() error"},
        {1, "connect", "center_server", "", "missing", "'center_server' error !"},
        {1, "connect", "log_server", ":80", "not of the form", "'log_server' error !"}};
    for (const auto& fault : faults) {
        config = Settings();
        config["listen"]["addr"] = Loopback(RedisServer::FreePort());
        config[fault.section][fault.key] = fault.value;
        for (const bool supervised : {false, true}) {
            SCOPED_TRACE(testing::Message() << fault.key << "=" << fault.value << supervised);
            std::optional<Supervisor> supervisor;
            if (supervised) supervisor.emplace();
            config["log"]["level"] = supervised ? "ERROR" : "ALL";
            lobby.Configure(config);
            lobby.Start();
            EXPECT_EQ(lobby.AwaitEnd(20), supervised ? fault.status : 0);
            EXPECT_THAT(lobby.Output(),
                        AllOf(HasSubstr("LobbyServer version[4."), HasSubstr("/LobbyServer.cfg]"),
                              HasSubstr(fault.logged)));
            EXPECT_EQ(lobby.LogHas("has been exit !"), !supervised) << "at its level";
            EXPECT_THAT(lobby.Errors(), HasSubstr("LobbyServer.cfg: section [" + fault.section +
                                                  "], key \"" + fault.key + "\": " + fault.said));
        }
    }
}

TEST_F(ServiceTest, AReloadTakesWhatIsRightAndKeepsTheOldOtherwise) {
    Supervisor supervisor;
    WriteFiles();
    config["log"]["level"] = "DEBUG";
    Serve();
    EXPECT_EQ(supervisor.Heard("READY=1"), "READY=1\nSTATUS=Serving players\n");
    const auto players = LogIn(10001, 20);
    std::jthread load([&](const std::stop_token& over) {
        for (size_t i = 0; !over.stop_requested(); ++i)
            players[i % players.size()]->KeepAlive();
    });
    lobby.Write("disconnectuserid.cfg",
                "[disconnectcount]\nusernum=1\n[disconnect]\nuser0=10030\n");
    lobby.Write("SensitiveName.cfg", "[config]\nSensitiveName=admin,root\n");
    lobby.Write("compete_info.cfg", "[compete_info]\nday_user_num=64,32,8\n");
    config["limits"]["0x1234"] = "3/1h drop";  // no such unit
    EXPECT_THAT(Reload(), AllOf(HasSubstr("'SensitiveName.cfg': fragments[2]"),
                                HasSubstr("'disconnectuserid.cfg': accounts[1]"),
                                HasSubstr("'compete_info.cfg': rounds by month[0], by day[3]"),
                                HasSubstr("'LobbyServer.cfg': kept as it was, LobbyServer.cfg:")));
    EXPECT_THAT(supervisor.Heard("READY=1"), StartsWith("RELOADING=1\nMONOTONIC_USEC="));
    EXPECT_TRUE(Eventually([&] { return !IsLetIn(10030); }));

    // Nothing of these is taken: the account stays disabled.
    lobby.Write("disconnectuserid.cfg", "[disconnectcount]\nusernum=none\n");
    lobby.Write("SensitiveName.cfg", "");
    std::filesystem::remove(lobby.Directory() / "compete_info.cfg");
    config["limits"] = {{"0xF0F1", "1000000/1m close"}, {"0x1234", "1/1m close"}};
    config["log"]["level"] = "ERROR";
    EXPECT_THAT(Reload(), AllOf(HasSubstr("'disconnectuserid.cfg': kept as it was, "),
                                HasSubstr("'SensitiveName.cfg': kept as it was, "),
                                HasSubstr("'compete_info.cfg': kept as it was, "),
                                HasSubstr("'LobbyServer.cfg': limits[2], log level[ERROR]")));
    supervisor.Heard("READY=1");
    EXPECT_FALSE(IsLetIn(10030));
    auto limited = Connect(10031);
    limited->Line().Send(0x1234);
    limited->Line().Send(0x1234);
    EXPECT_TRUE(Closed(*limited));
    EXPECT_FALSE(lobby.LogHas("more than count[1]"));  // below the new level
    lobby.Write("disconnectuserid.cfg", kNobody);
    Reload();
    EXPECT_TRUE(Eventually([&] { return IsLetIn(10030); }));
    load = {};  // it has ended
    for (auto& player : players)
        player->KeepAlive();
    supervisor.Heard("READY=1");
    lobby.Terminate();
    EXPECT_EQ(lobby.AwaitEnd(), 0);
    EXPECT_EQ(supervisor.Heard("STOPPING=1"), "STOPPING=1\nSTATUS=Ending\n");
}

TEST_F(ServiceTest, AnUpgradeDisconnectsAndRefusesNobody) {
    const Supervisor supervisor;
    config["log"]["level"] = "DEBUG";
    config["listen"]["reuse_port"] = "1";
    Serve();
    constexpr int kFirst = 30001, kPlayers = 1000 / SLOWER;
    platform.Do([&] { platform.TheWorld().AddPlayers(kFirst, kPlayers + 1); });
    auto players = LogIn(kFirst, kPlayers);
    LobbyProcess next;
    next.Configure(config);
    next.Start();
    ASSERT_TRUE(next.AwaitServing());

    // New ones come all the time; connect, ask and answer must work for each.
    std::atomic<int> admitted{0}, refused{0};
    std::jthread arrivals([&](const std::stop_token& over) {
        while (!over.stop_requested()) {
            try {
                Connect(20001)->KeepAlive();
                ++admitted;
            } catch (const std::exception&) {
                ++refused;
            }
        }
    });
    EXPECT_TRUE(Eventually([&] { return admitted > 50; }));
    lobby.Signal(SIGUSR1);
    EXPECT_TRUE(Eventually([&] { return lobby.LogHas("lobby server has been closed"); }));
    const int before = admitted;
    EXPECT_TRUE(Eventually([&] { return admitted > before + 200; }));
    arrivals = {};  // they have ended
    EXPECT_EQ(refused, 0);
    for (auto& player : players)
        player->KeepAlive();
    EXPECT_EQ(players[0]->BankLogin(BANK_PASSWORD).ucResultType, 0);
    EXPECT_FALSE(lobby.Ended());
    EXPECT_EQ(LoggedIn(kFirst + kPlayers)->UserId(), kFirst + kPlayers);
    players.clear();
    EXPECT_EQ(lobby.AwaitEnd(), 3);
    EXPECT_TRUE(lobby.LogHas("clients left[0]"));
    next.Terminate();
    EXPECT_EQ(next.AwaitEnd(), 0);
}

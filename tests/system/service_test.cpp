// The lobby as a service: what it is asked on the command line and by signals, what it tells its
// supervisor, and an upgrade that nobody notices.
#include <sys/socket.h>
#include <sys/un.h>

#include <thread>

#include "SystemTest.h"

namespace {

// Stands in for the supervisor, for the processes started while it lives.
class Supervisor {
  public:
    Supervisor() {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        const std::string text = "@lobby-test-" + std::to_string(getpid());
        text.copy(name.sun_path, text.size());
        name.sun_path[0] = '\0';
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size());
        if (bind(m_socket, reinterpret_cast<sockaddr*>(&name), size) != 0)
            throw std::runtime_error("no socket for a supervisor");
        setenv("NOTIFY_SOCKET", text.c_str(), 1);
    }
    ~Supervisor() {
        unsetenv("NOTIFY_SOCKET");
        close(m_socket);
    }
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    // What was said since the last call, once `last` has been.
    std::string Heard(const std::string& last) {
        std::string all;
        Eventually([&] {
            char text[512];
            const ssize_t size = recv(m_socket, text, sizeof(text), MSG_DONTWAIT);
            if (size > 0) all.append(text, static_cast<size_t>(size)) += '\n';
            return all.find(last) != std::string::npos;
        });
        return all;
    }

  private:
    const int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
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
    // SIGHUP, and the log's words on it, the last of which are about LobbyServer.cfg.
    std::string Reload() {
        const size_t before = lobby.Output().size();
        kill(lobby.Pid(), SIGHUP);
        std::string said;
        Eventually([&] {
            said = lobby.Output().substr(before);
            return said.find("'LobbyServer.cfg': ") != std::string::npos;
        });
        return said;
    }
};

TEST_F(ServiceTest, TheCommandLineAnswersAndRefuses) {
    WriteFiles();
    LobbySettings settings = Settings();
    settings["listen"]["addr"] = "127.0.0.1:9100";
    lobby.Configure(settings);
    const std::string directory = lobby.Directory();
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string says;
    };
    const Case cases[] = {
        {{"--version"}, 0, "LobbyServer 4."},
        {{"--help"}, 0, "SIGUSR1"},
        {{"--check", directory}, 0, "No problems found."},
        {{"--check"}, 0, "No problems found."},
        {{"--check", directory, "more"}, 2, "\"more\""},
        {{"-v"}, 2, "\"-v\""},
        {{"start"}, 2, "\"start\""},
    };
    for (const Case& one : cases) {
        ChildProcess process;
        std::vector<std::string> command = {directory + "/LobbyServer"};
        command.insert(command.end(), one.arguments.begin(), one.arguments.end());
        process.Start(command);
        ASSERT_TRUE(Eventually([&] { return process.Ended(); }));
        EXPECT_EQ(WEXITSTATUS(process.Status().value_or(-1)), one.status) << one.says;
        const std::string said = process.Said("stdout") + process.Said("stderr");
        EXPECT_TRUE(Has(said, one.says)) << said;
    }
    EXPECT_FALSE(std::filesystem::exists(lobby.Directory() / "log"));
}

// A restart helps a lobby whose back-end is away, and not one whose configuration is wrong.
TEST_F(ServiceTest, OnlyTheConfigurationsFaultEndsARestartLoop) {
    for (const bool supervised : {true, false}) {
        for (const char* center : {"", "127.0.0.1:1"}) {
            std::optional<Supervisor> supervisor;
            if (supervised) supervisor.emplace();
            LobbySettings settings = Settings();
            settings["listen"]["addr"] = "127.0.0.1:9100";
            settings["connect"]["center_server"] = center;
            settings["log"]["level"] = "ERROR";
            lobby.Configure(settings);
            lobby.Start();
            EXPECT_EQ(lobby.AwaitEnd(10), supervised && *center == '\0' ? 1 : 0) << center;
            EXPECT_TRUE(lobby.LogHas("LobbyServer version[4."));
            EXPECT_TRUE(lobby.LogHas("/LobbyServer.cfg]"));
        }
    }
}

TEST_F(ServiceTest, AReloadTakesWhatIsRightAndKeepsTheOldOtherwise) {
    Supervisor supervisor;
    WriteFiles();
    LobbySettings settings = Settings();
    settings["log"]["level"] = "DEBUG";
    port = Serve(lobby, settings);
    settings["listen"]["addr"] = "127.0.0.1:" + std::to_string(port);
    EXPECT_EQ(supervisor.Heard("READY=1"), "READY=1\nSTATUS=Serving players\n");
    std::vector<std::unique_ptr<Player>> players;
    for (int user = 10001; user < 10021; ++user)
        players.push_back(LoggedIn(user));
    std::atomic<bool> busy{true};
    std::thread load([&] {
        for (size_t i = 0; busy; ++i)
            players[i % players.size()]->KeepAlive();
    });

    lobby.Write("disconnectuserid.cfg",
                "[disconnectcount]\nusernum=1\n[disconnect]\nuser0=10030\n");
    lobby.Write("SensitiveName.cfg", "[config]\nSensitiveName=admin,root\n");
    lobby.Write("compete_info.cfg", "[compete_info]\nday_user_num=64,32,8\n");
    settings["limits"]["0x1234"] = "3/1h drop";  // no such unit
    lobby.Configure(settings);
    std::string said = Reload();
    for (const char* line :
         {"'SensitiveName.cfg': fragments[2]", "'disconnectuserid.cfg': accounts[1]",
          "'compete_info.cfg': rounds by month[0], by day[3]",
          "'LobbyServer.cfg': kept as it was, LobbyServer.cfg:"})
        EXPECT_NE(said.find(line), std::string::npos) << line << "\n" << said;
    const std::string heard = supervisor.Heard("READY=1");
    EXPECT_EQ(heard.find("RELOADING=1\nMONOTONIC_USEC="), 0u) << heard;
    EXPECT_TRUE(Eventually([&] {
        try {
            Connect(10030)->Login();
            return false;
        } catch (const client::ConnectionLost&) {
            return true;
        }
    }));

    // Nothing of these is taken: the account stays disabled.
    lobby.Write("disconnectuserid.cfg", "[disconnectcount]\nusernum=none\n");
    lobby.Write("SensitiveName.cfg", "");
    std::filesystem::remove(lobby.Directory() / "compete_info.cfg");
    settings["limits"] = {{"0xF0F1", "1000000/1m close"}, {"0x1234", "1/1m close"}};
    settings["log"]["level"] = "ERROR";
    lobby.Configure(settings);
    said = Reload();
    for (const char* line :
         {"'disconnectuserid.cfg': kept as it was, ", "'SensitiveName.cfg': kept as it was, ",
          "'compete_info.cfg': kept as it was, ", "'LobbyServer.cfg': limits[2], log level[ERROR]"})
        EXPECT_NE(said.find(line), std::string::npos) << line << "\n" << said;
    supervisor.Heard("READY=1");
    EXPECT_THROW(Connect(10030)->Login(), client::ConnectionLost);
    auto limited = Connect(10031);
    limited->Line().Send(0x1234);
    limited->Line().Send(0x1234);
    EXPECT_TRUE(Closed(*limited));
    EXPECT_FALSE(lobby.LogHas("more than count[1]"));  // below the new level
    lobby.Write("disconnectuserid.cfg", kNobody);
    Reload();
    EXPECT_TRUE(Eventually([&] {
        try {
            return Connect(10030)->Login().ucErrNo == 0;
        } catch (const client::ConnectionLost&) {
            return false;
        }
    }));
    busy = false;
    load.join();
    for (auto& player : players)
        player->KeepAlive();
    supervisor.Heard("READY=1");
    lobby.Terminate();
    EXPECT_EQ(lobby.AwaitEnd(10), 0);
    EXPECT_EQ(supervisor.Heard("STOPPING=1"), "STOPPING=1\nSTATUS=Ending\n");
}

TEST_F(ServiceTest, AnUpgradeDisconnectsAndRefusesNobody) {
    RaiseDescriptorLimit();
    Supervisor supervisor;
    LobbySettings settings = Settings();
    settings["log"]["level"] = "DEBUG";
    settings["listen"]["reuse_port"] = "1";
    port = Serve(lobby, settings);
    std::vector<std::unique_ptr<Player>> players;
    constexpr int kFirst = 30001, kPlayers = 1000 / SLOWER;
    platform.Do([&] { platform.TheWorld().AddPlayers(kFirst, kPlayers + 1); });
    for (int user = kFirst; user < kFirst + kPlayers; ++user)
        players.push_back(LoggedIn(user));
    LobbyProcess next;
    settings["listen"]["addr"] = "127.0.0.1:" + std::to_string(port);
    next.Configure(settings);
    next.Start();
    ASSERT_TRUE(next.AwaitServing());

    // New ones come all the time; connect, ask and answer must work for each.
    std::atomic<bool> busy{true};
    std::atomic<int> admitted{0}, refused{0};
    std::thread arrivals([&] {
        while (busy) {
            try {
                Connect(20001)->KeepAlive();
                ++admitted;
            } catch (const std::exception&) {
                ++refused;
            }
        }
    });
    EXPECT_TRUE(Eventually([&] { return admitted > 50; }));
    kill(lobby.Pid(), SIGUSR1);
    EXPECT_TRUE(Eventually([&] { return lobby.LogHas("lobby server has been closed"); }));
    const int before = admitted;
    EXPECT_TRUE(Eventually([&] { return admitted > before + 200; }));
    busy = false;
    arrivals.join();
    EXPECT_EQ(refused, 0);
    for (auto& player : players)
        player->KeepAlive();
    EXPECT_EQ(players[0]->BankLogin(BANK_PASSWORD).ucResultType, 0);
    EXPECT_FALSE(lobby.Ended());
    std::printf("%zu players stayed, %d came\n", players.size(), admitted.load());
    EXPECT_EQ(LoggedIn(kFirst + kPlayers)->UserId(), kFirst + kPlayers);
    players.clear();
    EXPECT_EQ(lobby.AwaitEnd(10), 3);
    EXPECT_TRUE(lobby.LogHas("clients left[0]"));
    next.Terminate();
    EXPECT_EQ(next.AwaitEnd(10), 0);
}

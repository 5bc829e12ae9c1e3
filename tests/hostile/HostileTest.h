// A lobby under attack, and another player who must not notice.
#pragma once

#include <filesystem>
#include <fstream>
#include <future>

#include "SystemTest.h"
#include "queue_server_msg.h"

// The longest that anybody waits for an answer meanwhile, in seconds; less than the lobby's own
// time-out, and generous to a machine that runs other tests.
inline constexpr double AT_ONCE = 2.0 * SLOWER;

class UnderAttack : public SystemTest {
  protected:
    UnderAttack() {
        platform.Do([&] { platform.TheWorld().AddPlayers(20001, 400); });
        RaiseDescriptorLimit();
    }

    // Short time-outs, and a send queue that bounds what one deaf client can hold.
    LobbySettings AttackSettings() {
        LobbySettings settings = Settings();
        settings["network"] = {{"interval", "1"},
                               {"timeout", "3"},
                               {"MAX_SEND_COUNT", "200"},
                               {"MAX_RECV_COUNT", "100"},
                               {"wakeup", WakeupUnderTest()}};
        settings["listen"]["maxconnection"] = "2300";
        settings["log"] = {{"level", "ERROR"}};
        return settings;
    }
    // The log is too quiet for Serve to see the start: waits for the port instead.
    void ServeQuietly(LobbySettings settings) {
        port = static_cast<uint16_t>(RedisServer::FreePort());
        settings["listen"]["addr"] = "127.0.0.1:" + std::to_string(port);
        lobby.Configure(settings);
        lobby.Start();
        ASSERT_TRUE(Eventually([&] { return lobby.Ended() || Reachable(); }, 30));
        bystander = LoggedIn(10001);
    }
    bool Reachable() {
        try {
            Connect(1)->KeepAlive();
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    // The queue server's link is connected a moment before the lobby sends on it; a login of that
    // moment is never answered.
    bool AllLinked() {
        bystander->KeepAlive();
        if (platform.DoCommand("links") != "queue=1 center=1 config=1 web=1 data=1 log=1\nok\n") {
            return false;
        }
        const size_t before = CountSeen(ServerKind::Queue, USER_INFO_L2Q);
        auto probe = Connect(10005);
        probe->SendLogin();
        probe->KeepAlive();
        return Eventually([&] { return CountSeen(ServerKind::Queue, USER_INFO_L2Q) > before; },
                          0.2);
    }
    // All servers at once: "down" or "up".
    void Switch(const std::string& direction) {
        for (const ServerKind kind : sim::ALL_SERVERS)
            platform.DoCommand(direction + " " + NameOf(kind));
    }
    // Runs the attack on a thread of its own while the bystander is served; the longest wait.
    double SlowestDuring(const std::function<void()>& attack) {
        auto running = std::async(std::launch::async, attack);
        double slowest = 0;
        do {
            slowest = std::max(slowest, Seconds([&] { bystander->KeepAlive(); }));
        } while (running.wait_for(milliseconds(50)) != std::future_status::ready);
        running.get();
        return slowest;
    }
    // Somebody new is served, whole: login, coins, list.
    void ExpectServed(int32_t user = 10002) {
        const double took = Seconds([&] {
            auto player = LoggedIn(user);
            EXPECT_EQ(player->Take(1, BANK_PASSWORD).ucResultType, 0);
            EXPECT_EQ(player->Save(1).ucResultType, 0);
        });
        EXPECT_LT(took, AT_ONCE);
    }
    template <class Work>
    static double Seconds(Work work) {
        const auto start = Clock::now();
        work();
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    long Descriptors() const {
        const std::filesystem::directory_iterator list(Proc() / "fd");
        return std::distance(begin(list), end(list));
    }
    bool FallsTo(long descriptors) {
        return Eventually([&] {
            bystander->KeepAlive();
            return Descriptors() <= descriptors;
        });
    }
    long ResidentKiB() const {
        std::ifstream file(Proc() / "statm");
        long total = 0, resident = 0;
        file >> total >> resident;
        return resident * (sysconf(_SC_PAGESIZE) / 1024);
    }

    std::unique_ptr<Player> bystander;

  private:
    std::filesystem::path Proc() const {
        return std::filesystem::path("/proc") / std::to_string(lobby.Pid());
    }
};

// A lobby under attack, and another player who must not notice.
#pragma once

#include <future>

#include <boost/asio/ip/tcp.hpp>

#include "SystemTest.h"

// The longest that anybody waits for an answer meanwhile, in seconds; less than the lobby's own
// time-out, and generous to a machine that runs other tests.
inline constexpr double AT_ONCE = 2.0 * SLOWER;

inline constexpr const char* kSample = PROJECT_SOURCE_DIR "/deploy/config/LobbyServer.cfg";

class UnderAttack : public SystemTest {
  protected:
    UnderAttack() {
        platform.Do([&] { platform.TheWorld().AddPlayers(20001, 400); });
        RaiseDescriptorLimit();
    }

    // As shipped, but for the addresses.
    LobbySettings ShippedSettings() {
        LobbySettings settings;
        std::ifstream sample(kSample);
        std::string section;
        for (std::string line; std::getline(sample, line);) {
            if (line.starts_with('[')) section = line.substr(1, line.find(']') - 1);
            const size_t at = line.find('=');
            if (at == std::string::npos || line.starts_with(';')) continue;
            settings[section][line.substr(0, at)] = line.substr(at + 1);
        }
        settings["connect"] = Settings()["connect"];
        settings["Redis"]["redis_server"] = redis.Address();
        return settings;
    }
    // With short time-outs and a quiet log.
    LobbySettings AttackSettings() {
        LobbySettings settings = ShippedSettings();
        settings["Redis"]["timeout"] = "1";
        settings["network"]["interval"] = "1";
        settings["network"]["timeout"] = "3";
        settings["log"] = {{"level", "ERROR"}};
        return settings;
    }
    // And with figures, whose threads take a second to end.
    LobbySettings CountedSettings() {
        LobbySettings settings = AttackSettings();
        metricsPort = RedisServer::FreePort();
        settings["metrics"]["addr"] = "127.0.0.1:" + std::to_string(metricsPort);
        return settings;
    }
    // The sum of the lobby's figures that begin so.
    double Figure(const std::string& begin) const {
        boost::asio::ip::tcp::iostream http("127.0.0.1", std::to_string(metricsPort));
        http << "GET /metrics HTTP/1.0\r\n\r\n" << std::flush;
        double sum = 0;
        for (std::string line; std::getline(http, line);) {
            if (line.starts_with(begin)) sum += std::stod(line.substr(line.rfind(' ')));
        }
        return sum;
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

    // The lobby sends on a link a moment after the server has it.
    bool AllLinked() {
        PassTime();
        return platform.DoCommand("links") ==
                   "queue=1 center=1 config=1 web=1 data=1 log=1\nok\n" &&
               Figure("lobby_link_up{") == 6;
    }
    // The bystander shows that he is there, and stays within the limits for messages.
    void PassTime() {
        std::this_thread::sleep_for(milliseconds(200));
        bystander->KeepAlive();
    }
    // Runs the attack on a thread of its own while the bystander is served; the longest wait.
    double SlowestDuring(const std::function<void()>& attack) {
        auto running = std::async(std::launch::async, attack);
        double slowest = 0;
        do {
            slowest = std::max(slowest, Took([&] { bystander->KeepAlive(); }));
        } while (running.wait_for(milliseconds(200)) != std::future_status::ready);
        running.get();
        return slowest;
    }
    // Somebody new is served, whole: login, coins, list.
    void ExpectServed(int32_t user = 10002) {
        const double took = Took([&] {
            auto player = LoggedIn(user);
            EXPECT_EQ(player->Take(1, BANK_PASSWORD).ucResultType, 0);
            EXPECT_EQ(player->Save(1).ucResultType, 0);
        });
        EXPECT_LT(took, AT_ONCE);
    }
    long Descriptors() const {
        return std::distance(std::filesystem::directory_iterator(Proc("fd")), {});
    }
    // Of a lobby that has all its links and, beside the connection that asks, its 8 to Redis: on a
    // busy machine some come seconds after the first players.
    long DescriptorsOfAll() {
        EXPECT_TRUE(Eventually(
            [&] { return AllLinked() && Count(redis.Command("CLIENT LIST"), "\n") == 8 + 1; }, 30));
        return Descriptors();
    }
    bool FallsTo(long descriptors) {
        return Eventually([&] {
            if (Descriptors() <= descriptors) return true;
            PassTime();
            return false;
        });
    }
    long ResidentKiB() const {
        long total = 0, resident = 0;
        std::ifstream(Proc("statm")) >> total >> resident;
        return resident * (sysconf(_SC_PAGESIZE) / 1024);
    }

    std::unique_ptr<Player> bystander;
    int metricsPort = 0;

  private:
    std::string Proc(const std::string& name) const {
        return "/proc/" + std::to_string(lobby.Pid()) + "/" + name;
    }
};

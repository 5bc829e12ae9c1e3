// Floods by clients that never log in, against the lobby as it is shipped: whoever makes one pays
// for it, nobody else waits, no link is lost, memory and log stay.
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <atomic>
#include <map>
#include <regex>

#include "Catalog.h"
#include "HostileTest.h"

namespace {

namespace fs = std::filesystem;

const fs::path kSamples = fs::path(PROJECT_SOURCE_DIR) / "deploy/config";

template <class T>
std::string Packed(uint16_t type, const T& message) {
    const wire::Bytes bytes = wire::Pack(type, message);
    return {bytes.begin(), bytes.end()};
}

// Messages of a type, zero but for their headers: a request of user 0, whom every new connection
// stands for.
std::string Empty(uint16_t type, size_t count = 1) {
    size_t size = wire::HEADER;
    for (const catalog::Message& row : catalog::All()) {
        if (row.direction == catalog::Direction::ClientToLobby && row.type == type) size = row.size;
    }
    const wire::Bytes one = wire::Pack(type, wire::Bytes(size).data(), size);
    std::string all;
    while (count-- > 0)
        all.append(one.begin(), one.end());
    return all;
}

// A socket that never waits.
class Rude {
  public:
    explicit Rude(uint16_t port, bool deaf = false) : m_fd(socket(AF_INET, SOCK_STREAM, 0)) {
        constexpr int kLeast = 1;
        constexpr int kSmall = 200;
        // What the kernels hold between the two is little, then.
        if (deaf) setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &kLeast, sizeof(kLeast));
        if (deaf) setsockopt(m_fd, IPPROTO_TCP, TCP_MAXSEG, &kSmall, sizeof(kSmall));
        sockaddr_in addr{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        connect(m_fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr));
        setsockopt(m_fd, IPPROTO_TCP, TCP_NODELAY, &kLeast, sizeof(kLeast));
    }
    Rude(Rude&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Rude& operator=(Rude&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Rude() {
        if (m_fd >= 0) close(m_fd);
    }
    // Bytes taken; below 0 when the lobby has closed.
    ssize_t Send(const char* bytes, size_t size) {
        const ssize_t sent = send(m_fd, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        return sent < 0 && errno == EAGAIN ? 0 : sent;
    }
    // What came is thrown away; false when the lobby has closed.
    bool Skim() {
        char bytes[4096];
        ssize_t n = 0;
        while ((n = recv(m_fd, bytes, sizeof(bytes), MSG_DONTWAIT)) > 0) {
        }
        return n < 0 && errno == EAGAIN;
    }

  private:
    int m_fd;
};

// What an attack did, and what it came to.
struct Outcome {
    uint64_t sent = 0;    // bytes
    uint64_t closed = 0;  // by the lobby
};

using Until = Clock::time_point;

// So many clients; the first of them sends what it has as fast as it can, and so do the others, or
// they send it byte by byte. Who is closed comes back.
struct Flood {
    int clients = 1;
    std::string what;
    bool reads = true;
    bool trickle = false;

    Outcome Run(uint16_t port, Until end) const {
        Outcome outcome;
        std::vector<Rude> crowd;
        std::vector<size_t> at(static_cast<size_t>(clients));
        for (int i = 0; i < clients; ++i)
            crowd.emplace_back(port, !reads);
        while (Clock::now() < end) {
            bool moved = false;
            for (size_t i = 0; i < crowd.size(); ++i) {
                const size_t size = trickle && i > 0 ? 1 : what.size() - at[i];
                const ssize_t sent = crowd[i].Send(what.data() + at[i], size);
                moved |= sent != 0;
                if (sent >= 0) at[i] = (at[i] + static_cast<size_t>(sent)) % what.size();
                if (sent >= 0) outcome.sent += static_cast<uint64_t>(sent);
                if (sent >= 0 && (!reads || crowd[i].Skim())) continue;
                ++outcome.closed;
                at[i] = 0;
                crowd[i] = Rude(port, !reads);
            }
            if (!moved) std::this_thread::sleep_for(milliseconds(1));
        }
        return outcome;
    }
};

Outcome ConnectAndLeave(uint16_t port, Until end) {
    Outcome outcome;
    while (Clock::now() < end) {
        const Rude one(port);
        ++outcome.closed;
    }
    return outcome;
}

// Signatures of 128 bytes that begin like many forbidden ones, twelve a client.
Outcome LongSignatures(uint16_t port, Until end) {
    std::string one = Empty(MODIFY_SIGNATURE_C2S);
    std::fill(one.end() - 128, one.end() - 1, 'a');
    Flood flood{21, {}};
    for (int i = 0; i < 12; ++i)
        flood.what += one;
    return flood.Run(port, end);
}

// So many that what each may hold is together more than the budget: they ask for the longest answer
// as often as it is given, and read none.
Outcome HoardLists(uint16_t port, Until end) {
    Outcome outcome;
    std::vector<std::pair<Rude, bool>> crowd;
    const auto user = [&](size_t i) { return 30001 + static_cast<int32_t>(i); };
    for (size_t i = 0; i < 3000; ++i) {
        tagLobbyClientConnectNotice notice{};
        notice.iUserID = user(i);
        notice.iLobbySiteID = 1;
        const std::string hello = Packed(CLIENT_CONNECT_NOTICE_C2S, notice);
        crowd.emplace_back(Rude(port, true), true);
        crowd.back().first.Send(hello.data(), hello.size());
    }
    // Spread over the time between two answers: each answer is work for the lobby.
    for (auto next = Clock::now(); next < end; next += milliseconds(100)) {
        for (size_t i = 0; i < crowd.size(); ++i, next += milliseconds(1)) {
            std::this_thread::sleep_until(next);
            auto& [client, open] = crowd[i];
            if (!open) continue;
            const std::string request =
                Packed(MSG_CLIENT_SERVER_INFO_REQ, GameServerInfoReq{{}, user(i)});
            open = client.Send(request.data(), request.size()) >= 0;
            outcome.closed += !open;
        }
    }
    return outcome;
}

// Every client sends of every type as much as the sample's limits let through, evenly.
Outcome JustBelow(uint16_t port, Until end) {
    const std::string sample = ReadFile(kSamples / "LobbyServer.cfg");
    const std::regex rule("\n(0x[0-9A-F]+|any)=(\\d+)/(\\d+)([sm]) ");
    struct Share {
        std::string message;
        double perSecond;
    };
    std::vector<Share> shares;
    for (std::sregex_iterator it(sample.begin(), sample.end(), rule), none; it != none; ++it) {
        const auto type = (*it)[1] == "any" ? MSG_KEEP_ALIVE : std::stoi((*it)[1], nullptr, 16);
        const double seconds = std::stod((*it)[3]) * ((*it)[4] == "m" ? 60 : 1);
        shares.push_back({Empty(static_cast<uint16_t>(type)), (std::stod((*it)[2]) - 2) / seconds});
    }
    EXPECT_GT(shares.size(), 10u);

    constexpr size_t kSlots = 50;
    constexpr milliseconds kSlot{20};
    std::vector<Rude> crowd;
    for (int i = 0; i < 4860; ++i)
        crowd.emplace_back(port);
    Outcome outcome;
    std::vector<bool> gone(crowd.size());
    auto next = Clock::now();
    for (size_t step = 0; Clock::now() < end; ++step, next += kSlot) {
        std::this_thread::sleep_until(next);
        const double second = static_cast<double>(step / kSlots);
        std::string now;
        for (size_t i = 0; i < shares.size(); ++i) {
            const double rate = shares[i].perSecond, phase = static_cast<double>(i) / 16;
            auto count =
                std::floor(rate * (second + 1) + phase) - std::floor(rate * second + phase);
            for (; count > 0; --count)
                now += shares[i].message;
        }
        for (size_t i = step % kSlots; i < crowd.size(); i += kSlots) {
            if (gone[i]) continue;
            const ssize_t sent = crowd[i].Send(now.data(), now.size());
            if (sent > 0) outcome.sent += static_cast<uint64_t>(sent);
            gone[i] = sent < 0 || !crowd[i].Skim();
            outcome.closed += gone[i];
        }
    }
    return outcome;
}

struct Attack {
    const char* name;
    std::function<Outcome(uint16_t port, Until end)> run;
    int seconds;
    const char* trace;  // of it in the log; null: the lobby closes nobody
    int fragments = 0;  // forbidden in names
    int budget = 0;     // MiB of buffers that it may fill, as shipped

    friend void PrintTo(const Attack& attack, std::ostream* out) { *out << attack.name; }
};

Attack Flooding(const char* name, Flood flood, int seconds = 5) {
    return {name, [=](uint16_t port, Until end) { return flood.Run(port, end); }, seconds,
            " more than count["};
}

// A key that would end its line in the log and begin another one there.
std::string ForgedLine() {
    ClientSubscribeMsg forged{};
    std::strcpy(forged.szKey, "k]\r\n[ERROR] [handler] handler sign : 15\x1b[2J\x7f");
    return Packed(CLIENT_SUBSCRIBE_MSG_C2S, forged);
}

const Attack kAttacks[] = {
    Flooding("one client relays as fast as it can", {1, Empty(MODIFY_GENDER_C2S, 500)}),
    Flooding("four clients ask for the tournament", {4, Empty(0x00F0, 500)}),
    Flooding("an unknown type", {1, Empty(0x7777, 500)}),
    Flooding("keep-alives whose echoes nobody reads", {100, Empty(MSG_KEEP_ALIVE, 500), false}, 6),
    Flooding("single bytes beside a flood", {51, Empty(MSG_KEEP_ALIVE, 500), true, true}, 6),
    {"a key that forges a line of the log",
     [](uint16_t port, Until end) {
         return Flood{1, ForgedLine()}.Run(port, end);
     },
     5, R"(key[k]\x0d\x0a[ERROR] [handler] handler sign : 15\x1b[2J\x7f])"},
    {"lists of servers that nobody reads", HoardLists, 8, " are more than the budget[", 0, 256},
    {"long signatures against 90,000 fragments", LongSignatures, 5, " more than count[", 90000},
    {"connect and leave", ConnectAndLeave, 5, "client has been closed !"},
    {"a whole lobby just below the limits", JustBelow, 10, nullptr},
};

class FloodTest : public UnderAttack, public testing::WithParamInterface<Attack> {
  protected:
    // As shipped, but for the addresses.
    void ServeShipped(const Attack& attack) {
        std::map<std::string, std::string> values = {{"redis_server", redis.Address()}};
        LobbySettings settings = Settings();
        for (const auto& [key, value] : settings["connect"])
            values[key] = value;
        port = static_cast<uint16_t>(RedisServer::FreePort());
        values["addr"] = "127.0.0.1:" + std::to_string(port);
        for (const auto& file : fs::directory_iterator(kSamples))
            lobby.Write(file.path().filename(), ReadFile(file.path()));
        std::string text = ReadFile(kSamples / "LobbyServer.cfg");
        for (const auto& [key, value] : values)
            text =
                std::regex_replace(text, std::regex("\n" + key + "=.*"), "\n" + key + "=" + value);
        lobby.Write("LobbyServer.cfg", text);
        if (attack.fragments > 0) {
            std::string names = "[config]\nSensitiveName=";
            for (int i = 0; i < attack.fragments; ++i)
                names += (i ? "," : "") + std::string("aaa") + std::to_string(i);
            lobby.Write("SensitiveName.cfg", names + "\n");
        }
        platform.Do([&] {
            platform.SetObserver({});  // it would keep every message
            auto& servers = platform.TheWorld().servers;
            for (uint16_t id = 5000; attack.budget > 0 && id < 6000; ++id) {
                servers[id] = servers.at(1200);
                servers[id].usServerID = id;
            }
        });
        lobby.Start();
        ASSERT_TRUE(Eventually([&] { return lobby.Ended() || Reachable(); }, 30));
        // The machine is to be the lobby's, whatever else it runs; without the right it is not.
        setpriority(PRIO_PROCESS, static_cast<id_t>(lobby.Pid()), -10);
    }
    size_t LogBytes() const {
        std::error_code none;
        return fs::file_size(lobby.Directory() / "log/LobbyServer.log", none);
    }
    // The longest that one of several players waited for an echo; each stays below the limits.
    double SlowestEcho(const std::atomic<bool>& over) {
        std::vector<std::unique_ptr<Player>> crowd;
        for (int i = 0; i < 16; ++i)
            crowd.push_back(LoggedIn(20001 + i));
        double slowest = 0;
        for (size_t i = 0; !over; ++i) {
            slowest = std::max(slowest, Took([&] { crowd[i % crowd.size()]->KeepAlive(); }));
            peak = std::max(peak, ResidentKiB());
            std::this_thread::sleep_for(milliseconds(15));
        }
        return slowest;
    }
    double SlowestBank(const std::atomic<bool>& over) {
        auto player = LoggedIn(20101);
        double slowest = 0;
        while (!over) {
            slowest = std::max(
                slowest, Took([&] { EXPECT_EQ(player->Take(1, BANK_PASSWORD).ucResultType, 0); }));
            std::this_thread::sleep_for(milliseconds(3100));
        }
        return slowest;
    }

    long peak = 0;  // resident KiB
};

TEST_P(FloodTest, EndsAtTheClientThatMakesIt) {
    const Attack& attack = GetParam();
    if (SLOWER > 1 && (attack.fragments + attack.budget > 0 || attack.trace == nullptr)) {
        GTEST_SKIP() << "it fills a processor by itself: an instrumented lobby answers late";
    }
    ServeShipped(attack);
    const long resident = ResidentKiB();
    const size_t log = LogBytes();
    std::atomic<bool> over{false};
    auto echo = std::async(std::launch::async, [&] { return SlowestEcho(over); });
    auto bank = std::async(std::launch::async, [&] { return SlowestBank(over); });
    const auto begin = Clock::now();
    const Outcome outcome = std::async(std::launch::async, [&] {
                                // Elsewhere an attacker has a machine of its own: here it takes
                                // what the lobby, the platform and the other players leave.
                                setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 10);
                                return attack.run(port, begin + seconds(attack.seconds));
                            }).get();
    const double took = std::chrono::duration<double>(Clock::now() - begin).count();
    const auto logged = static_cast<double>(LogBytes() - log) / took;
    over = true;
    const double echoed = echo.get(), booked = bank.get();
    EXPECT_LE(echoed, 0.25 * SLOWER);
    EXPECT_LE(booked, 1.0 * SLOWER);
    EXPECT_LE(peak, resident + (100 + attack.budget) * 1024 * SLOWER);
    EXPECT_LE(logged, 2e6);
    const std::string text = lobby.LogFile("LobbyServer.log");
    EXPECT_EQ(text.find("server has been closed !"), std::string::npos) << "a link was lost";
    if (attack.trace != nullptr) {
        EXPECT_NE(text.find(attack.trace), std::string::npos) << "it was not even noticed";
        EXPECT_GT(outcome.closed, 0u);
    } else {
        EXPECT_EQ(outcome.closed, 0u);
        EXPECT_GT(outcome.sent, 1000000u);
    }
    std::printf(
        "%-42s echo %3.0f ms, bank %3.0f ms, +%ld MiB, log %.2f MB/s, sent %.1f MB, "
        "closed %llu\n",
        attack.name, echoed * 1000, booked * 1000, (peak - resident) / 1024, logged / 1e6,
        static_cast<double>(outcome.sent) / 1e6, static_cast<unsigned long long>(outcome.closed));
}

INSTANTIATE_TEST_SUITE_P(Shipped, FloodTest, testing::ValuesIn(kAttacks), [](const auto& row) {
    return std::regex_replace(std::string(row.param.name), std::regex("[^a-z0-9]+"), "_");
});

}  // namespace

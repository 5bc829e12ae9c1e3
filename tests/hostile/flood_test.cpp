// Floods by clients that never log in, against the lobby as it is shipped: whoever makes one pays
// for it, nobody else waits, no link is lost, memory and log stay.
#include <netinet/tcp.h>

#include <atomic>
#include <regex>

#include "Catalog.h"
#include "HostileClients.h"
#include "HostileTest.h"

namespace {

// Messages of a type, zero but for their headers: a request of user 0, whom every new connection
// stands for.
std::string Empty(uint16_t type, size_t count = 1) {
    size_t size = wire::HEADER;
    for (const catalog::Message& row : catalog::All()) {
        if (row.direction == catalog::Direction::ClientToLobby && row.type == type) size = row.size;
    }
    std::string all;
    while (count-- > 0)
        all += Text(wire::Pack(type, wire::Bytes(size).data(), size));
    return all;
}

using boost::asio::ip::tcp;

// A socket that never waits.
class Rude {
  public:
    explicit Rude(uint16_t port, bool deaf = false) : m_socket(s_io, tcp::v4()) {
        constexpr int kLeast = 1, kSmall = 200;
        const int fd = m_socket.native_handle();
        // What the kernels hold between the two is little, then.
        if (deaf) setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kLeast, sizeof(kLeast));
        if (deaf) setsockopt(fd, IPPROTO_TCP, TCP_MAXSEG, &kSmall, sizeof(kSmall));
        m_socket.connect({boost::asio::ip::address_v4::loopback(), port}, m_error);
        m_socket.set_option(tcp::no_delay(true), m_error);
        m_socket.non_blocking(true, m_error);
    }
    // Bytes taken; below 0 when the lobby has closed.
    ssize_t Send(std::string_view bytes) {
        const size_t sent = m_socket.write_some(boost::asio::buffer(bytes), m_error);
        return m_error && !Waits() ? -1 : static_cast<ssize_t>(sent);
    }
    // What came is thrown away; false when the lobby has closed.
    bool Skim() {
        char bytes[4096];
        while (m_socket.read_some(boost::asio::buffer(bytes), m_error) > 0) {
        }
        return Waits();
    }

  private:
    bool Waits() const { return m_error == boost::asio::error::would_block; }

    static inline boost::asio::io_context s_io;
    tcp::socket m_socket;
    boost::system::error_code m_error;
};

// What an attack does until it is over, and what comes of it.
struct Outcome {
    std::atomic<bool> over{false};
    std::atomic<uint64_t> sent{0};    // bytes
    std::atomic<uint64_t> closed{0};  // by the lobby
};

// So many clients; the first of them sends what it has as fast as it can, and so do the others, or
// they send it byte by byte. Who is closed comes back.
struct Flood {
    int clients = 1;
    std::string what;
    bool reads = true;
    bool trickle = false;

    void operator()(uint16_t port, Outcome& outcome) const {
        std::vector<Rude> crowd;
        std::vector<size_t> at(static_cast<size_t>(clients));
        for (int i = 0; i < clients; ++i)
            crowd.emplace_back(port, !reads);
        while (!outcome.over) {
            bool moved = false;
            for (size_t i = 0; i < crowd.size(); ++i) {
                const size_t size = trickle && i > 0 ? 1 : what.size() - at[i];
                const ssize_t sent = crowd[i].Send({what.data() + at[i], size});
                moved |= sent != 0;
                if (sent >= 0) {
                    at[i] = (at[i] + static_cast<size_t>(sent)) % what.size();
                    outcome.sent += static_cast<uint64_t>(sent);
                    if (!reads || crowd[i].Skim()) continue;
                }
                ++outcome.closed;
                at[i] = 0;
                crowd[i] = Rude(port, !reads);
            }
            if (!moved) std::this_thread::sleep_for(milliseconds(1));
        }
    }
};

void ConnectAndLeave(uint16_t port, Outcome& outcome) {
    for (; !outcome.over; ++outcome.closed)
        const Rude one(port);
}

// So many that what each may hold is together more than the budget: they ask for the longest answer
// as often as it is given, and read none.
void HoardLists(uint16_t port, Outcome& outcome) {
    std::vector<std::optional<Rude>> crowd;  // without those who were closed
    constexpr int32_t kFirst = 30001;
    for (int32_t i = 0; i < 3000; ++i) {
        tagLobbyClientConnectNotice notice{};
        notice.iUserID = kFirst + i;
        notice.iLobbySiteID = 1;
        crowd.emplace_back(std::in_place, port, true)
            ->Send(Text(wire::Pack(CLIENT_CONNECT_NOTICE_C2S, notice)));
    }
    // Spread over the time between two answers: each answer is work for the lobby.
    for (auto next = Clock::now(); !outcome.over; next += milliseconds(100)) {
        for (size_t i = 0; i < crowd.size() && !outcome.over; ++i, next += milliseconds(1)) {
            std::this_thread::sleep_until(next);
            const GameServerInfoReq request{{}, kFirst + static_cast<int32_t>(i)};
            if (!crowd[i] ||
                crowd[i]->Send(Text(wire::Pack(MSG_CLIENT_SERVER_INFO_REQ, request))) >= 0)
                continue;
            crowd[i].reset();
            ++outcome.closed;
        }
    }
}

// Every client sends of every type as much as the sample's limits let through, evenly.
void JustBelow(uint16_t port, Outcome& outcome) {
    const std::string sample = ReadFile(kSample);
    const std::regex rule("\n(0x[0-9A-F]+|any)=(\\d+)/(\\d+)([sm]) ");
    std::vector<std::pair<std::string, double>> shares;  // a message, how often in a second
    for (std::sregex_iterator it(sample.begin(), sample.end(), rule), none; it != none; ++it) {
        const auto type = (*it)[1] == "any" ? MSG_KEEP_ALIVE : std::stoi((*it)[1], nullptr, 16);
        const double seconds = std::stod((*it)[3]) * ((*it)[4] == "m" ? 60 : 1);
        shares.emplace_back(Empty(static_cast<uint16_t>(type)),
                            (std::stod((*it)[2]) - 2) / seconds);
    }
    EXPECT_GT(shares.size(), 10u);
    constexpr size_t kSlots = 50;
    constexpr milliseconds kSlot{20};
    std::vector<std::optional<Rude>> crowd;  // without those who were closed
    for (int i = 0; i < 4860; ++i)
        crowd.emplace_back(port);
    auto next = Clock::now();
    for (size_t step = 0; !outcome.over; ++step, next += kSlot) {
        std::this_thread::sleep_until(next);
        const auto second = static_cast<double>(step / kSlots);
        std::string now;
        for (size_t i = 0; i < shares.size(); ++i) {
            const double rate = shares[i].second, phase = static_cast<double>(i) / 16;
            const auto upTo = [&](double time) { return std::floor(rate * time + phase); };
            for (double count = upTo(second + 1) - upTo(second); count > 0; --count)
                now += shares[i].first;
        }
        for (size_t i = step % kSlots; i < crowd.size(); i += kSlots) {
            if (!crowd[i]) continue;
            const ssize_t sent = crowd[i]->Send(now);
            if (sent > 0) outcome.sent += static_cast<uint64_t>(sent);
            if (sent >= 0 && crowd[i]->Skim()) continue;
            crowd[i].reset();
            ++outcome.closed;
        }
    }
}

struct Attack {
    const char* name;
    std::function<void(uint16_t port, Outcome& outcome)> run;
    const char* trace = " more than count[";  // of it in the log; null: the lobby closes nobody
    int fragments = 0;                        // forbidden in names
    int budget = 0;                           // MiB of buffers that it may fill, as shipped
    int seconds = 2;                          // at least, and until it has bitten

    friend void PrintTo(const Attack& attack, std::ostream* out) { *out << attack.name; }
};

// A key that would end its line in the log and begin another one there.
std::string ForgedLine() {
    ClientSubscribeMsg forged{};
    std::strcpy(forged.szKey, "k]\r\n[ERROR] [handler] handler sign : 15\x1b[2J\x7f");
    return Text(wire::Pack(CLIENT_SUBSCRIBE_MSG_C2S, forged));
}

// A signature of 128 bytes that begins like many forbidden ones.
std::string LongSignature() {
    std::string one = Empty(MODIFY_SIGNATURE_C2S);
    std::fill(one.end() - 128, one.end() - 1, 'a');
    return one;
}

const Attack kAttacks[] = {
    {"one client relays as fast as it can", Flood{1, Empty(MODIFY_GENDER_C2S, 500)}},
    {"four clients ask for the tournament", Flood{4, Empty(0x00F0, 500)}},
    {"an unknown type", Flood{1, Empty(0x7777, 500)}},
    {"keep-alives whose echoes nobody reads", Flood{100, Empty(MSG_KEEP_ALIVE, 500), false}},
    {"single bytes beside a flood", Flood{51, Empty(MSG_KEEP_ALIVE, 500), true, true}},
    {"a key that forges a line of the log", Flood{1, ForgedLine()},
     R"(key[k]\x0d\x0a[ERROR] [handler] handler sign : 15\x1b[2J\x7f])"},
    {"long signatures against 90,000 fragments", Flood{21, LongSignature()}, " more than count[",
     90000},
    {"lists of servers that nobody reads", HoardLists, " are more than the budget[", 0, 256},
    {"connect and leave", ConnectAndLeave, "client has been closed !"},
    {"a whole lobby just below the limits", JustBelow, nullptr, 0, 0, 7},
};

class FloodTest : public UnderAttack, public testing::WithParamInterface<Attack> {
  protected:
    using Crowd = std::vector<std::unique_ptr<Player>>;

    // Elsewhere an attacker has a machine of its own: here it takes what the lobby, the platform
    // and the other players leave, and so does whatever else runs. Without the right it is not so.
    static void SetUpTestSuite() { setpriority(PRIO_PROCESS, 0, -10); }
    static void StepBack() { setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 10); }

    void ServeShipped(const Attack& attack) {
        platform.Do([&] {
            platform.SetObserver({});  // it would keep every message
            auto& servers = platform.TheWorld().servers;
            for (uint16_t id = 5000; attack.budget > 0 && id < 6000; ++id) {
                servers[id] = servers.at(1200);
                servers[id].usServerID = id;
            }
        });
        const auto samples = std::filesystem::path(kSample).parent_path();
        for (const auto& file : std::filesystem::directory_iterator(samples))
            lobby.Write(file.path().filename(), ReadFile(file.path()));
        std::string names = "[config]\nSensitiveName=";
        for (int i = 0; i < attack.fragments; ++i)
            names += "aaa" + std::to_string(i) + ",";
        if (attack.fragments > 0) lobby.Write("SensitiveName.cfg", names + "\n");
        ServeQuietly(ShippedSettings());
    }
    std::string Log() const { return lobby.LogFile("LobbyServer.log"); }
    Crowd LogIn(int32_t first, int32_t count) {
        Crowd crowd;
        for (int32_t user = first; user < first + count; ++user)
            crowd.push_back(LoggedIn(user));
        return crowd;
    }
    // The longest that one of several players waits who ask in turn; each stays below the limits.
    template <class Ask>
    std::future<double> Slowest(const Crowd& crowd, milliseconds pause, const Outcome& outcome,
                                Ask ask) {
        return std::async(std::launch::async, [&crowd, pause, &outcome, ask] {
            double slowest = 0;
            for (size_t i = 0; !outcome.over; ++i) {
                slowest = std::max(slowest, Took([&] { ask(*crowd[i % crowd.size()]); }));
                std::this_thread::sleep_for(pause);
            }
            return slowest;
        });
    }
};

// How long the machine itself lets one wait, at most, on any of its processors.
class Standstill {
  public:
    Standstill() {
        for (unsigned cpu = 0; cpu < std::thread::hardware_concurrency(); ++cpu)
            m_threads.emplace_back([this, cpu](const std::stop_token& over) { Watch(cpu, over); });
    }
    double Longest() const { return m_longest; }

  private:
    void Watch(unsigned cpu, const std::stop_token& over) {
        cpu_set_t own;
        CPU_ZERO(&own);
        CPU_SET(cpu, &own);
        ::sched_setaffinity(0, sizeof(own), &own);
        while (!over.stop_requested()) {
            const double slept = Took([] { std::this_thread::sleep_for(milliseconds(5)); });
            const std::lock_guard guard(m_lock);
            m_longest = std::max(m_longest.load(), slept - 0.005);
        }
    }
    std::mutex m_lock;
    std::atomic<double> m_longest = 0;
    std::vector<std::jthread> m_threads;
};

TEST_P(FloodTest, EndsAtTheClientThatMakesIt) {
    const Attack& attack = GetParam();
    if (SLOWER > 1 && (attack.fragments + attack.budget > 0 || attack.trace == nullptr)) {
        GTEST_SKIP() << "it fills a processor by itself: an instrumented lobby answers late";
    }
    ServeShipped(attack);
    const Crowd talkers = LogIn(20001, 16), savers = LogIn(20101, 8);
    const long resident = ResidentKiB();
    const size_t log = Log().size();
    Outcome outcome;
    auto echo = Slowest(talkers, milliseconds(15), outcome, [](Player& one) { one.KeepAlive(); });
    auto bank = Slowest(savers, milliseconds(390), outcome,
                        [](Player& one) { EXPECT_EQ(one.Take(1, BANK_PASSWORD).ucResultType, 0); });
    const Standstill machine;
    Stopwatch watch;
    std::jthread attacker([&] {
        StepBack();
        attack.run(port, outcome);
    });
    long peak = 0;
    double took = 0;
    EXPECT_TRUE(Eventually(
        [&] {
            std::this_thread::sleep_for(milliseconds(30));
            peak = std::max(peak, ResidentKiB());
            took += watch.Lap();
            if (took < attack.seconds) return false;
            if (attack.trace == nullptr) return outcome.sent > 1000000;
            return outcome.closed > 0 && Has(Log(), attack.trace);
        },
        90))
        << "it was not even noticed";
    const auto logged = static_cast<double>(Log().size() - log) / took;
    outcome.over = true;
    const double echoed = echo.get(), booked = bank.get();
    const double still = machine.Longest();
    EXPECT_LE(echoed, 0.25 * SLOWER + 2 * still);
    EXPECT_LE(booked, 1.0 * SLOWER + 2 * still);
    EXPECT_LE(peak, resident + (100 + attack.budget) * 1024 * SLOWER);
    EXPECT_LE(logged, 2e6);
    EXPECT_FALSE(Has(Log(), "server has been closed !")) << "a link was lost";
    EXPECT_EQ(outcome.closed > 0, attack.trace != nullptr);
    std::printf("%.1f s, echo %.0f ms, bank %.0f ms, machine %.0f ms, +%ld MiB, log %.2f MB/s\n",
                took, echoed * 1000, booked * 1000, still * 1000, (peak - resident) / 1024,
                logged / 1e6);
}

INSTANTIATE_TEST_SUITE_P(Shipped, FloodTest, testing::ValuesIn(kAttacks), [](const auto& row) {
    return std::regex_replace(std::string(row.param.name), std::regex("[^a-z0-9]+"), "_");
});

}  // namespace

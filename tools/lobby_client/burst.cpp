// lobby_burst: logs many players in at once and lets each take coin once, for figures.
#include <poll.h>
#include <sys/resource.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>

#include "Player.h"

namespace {

using client::Clock;
using client::Message;

struct Settings {
    std::string host = "127.0.0.1";
    uint16_t port = 0;
    int32_t first = 20001;
    size_t players = 1000;
    int pid = 0;
    double timeout = 60;
};

struct Guest {
    std::unique_ptr<client::Player> player;
    Clock::time_point sent;
    bool done = false;
    double milliseconds = 0;
};

// Waits until every guest got an answer of that type; false when time is up.
template <class Check>
bool AwaitAll(std::vector<Guest>& guests, uint16_t type, Clock::time_point deadline, Check check) {
    size_t open = guests.size();
    std::vector<pollfd> fds(guests.size());
    while (open > 0 && Clock::now() < deadline) {
        for (size_t i = 0; i < guests.size(); ++i) {
            fds[i] = {guests[i].done ? -1 : guests[i].player->Line().Handle(), POLLIN, 0};
        }
        poll(fds.data(), fds.size(), 100);
        for (size_t i = 0; i < guests.size(); ++i) {
            Guest& guest = guests[i];
            if (guest.done || fds[i].revents == 0) continue;
            while (const auto message = guest.player->Line().Poll()) {
                if (message->type != type || !check(*message)) continue;
                guest.milliseconds =
                    std::chrono::duration<double, std::milli>(Clock::now() - guest.sent).count();
                guest.done = true;
                --open;
                break;
            }
        }
    }
    return open == 0;
}

double Percentile(const std::vector<Guest>& guests, double part) {
    std::vector<double> all;
    all.reserve(guests.size());
    for (const Guest& guest : guests)
        all.push_back(guest.milliseconds);
    std::sort(all.begin(), all.end());
    return all[std::min(all.size() - 1,
                        static_cast<size_t>(part * static_cast<double>(all.size())))];
}

long ResidentKb(int pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return 0;
}

double Seconds(Clock::time_point from) {
    return std::chrono::duration<double>(Clock::now() - from).count();
}

bool LogIn(std::vector<Guest>& guests, const Settings& s, Clock::time_point deadline) {
    const auto start = Clock::now();
    for (size_t i = 0; i < s.players; ++i) {
        const int32_t user = s.first + static_cast<int32_t>(i);
        guests.push_back({std::make_unique<client::Player>(s.host, s.port, user), Clock::now()});
        guests.back().player->SendLogin();
    }
    const bool all = AwaitAll(guests, LOBBY_AUTHEN_RES_S2C, deadline, [](const Message& message) {
        return message.As<LobbyAuthenRes>().ucErrNo == 0;
    });
    std::printf("logins: %zu in %.2f s, %.0f per second, p50 %.1f ms, p99 %.1f ms\n", s.players,
                Seconds(start), static_cast<double>(s.players) / Seconds(start),
                Percentile(guests, 0.5), Percentile(guests, 0.99));
    return all;
}

bool TakeAll(std::vector<Guest>& guests, Clock::time_point deadline) {
    const auto start = Clock::now();
    for (Guest& guest : guests) {
        guest.done = false;
        guest.sent = Clock::now();
        guest.player->SendTake(1, "888888");
    }
    const bool all = AwaitAll(guests, BANK_GET_COIN_S2C, deadline, [](const Message& message) {
        return message.As<GetCoinResult>().ucResultType == 0;
    });
    std::printf("takes: %zu in %.2f s, p50 %.1f ms, p99 %.1f ms\n", guests.size(), Seconds(start),
                Percentile(guests, 0.5), Percentile(guests, 0.99));
    return all;
}

// As many descriptors as the system allows.
void RaiseDescriptorLimit() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

int Burst(const Settings& s) {
    RaiseDescriptorLimit();
    std::vector<Guest> guests;
    guests.reserve(s.players);
    const auto deadline =
        Clock::now() + std::chrono::milliseconds(static_cast<long>(s.timeout * 1000));
    if (!LogIn(guests, s, deadline) || !TakeAll(guests, deadline)) {
        std::fprintf(stderr, "lobby_burst: not every player was answered in time\n");
        return 1;
    }
    if (s.pid > 0) std::printf("lobby's resident memory: %ld KiB\n", ResidentKb(s.pid));
    return 0;
}

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app{"Logs many players in at once; each then takes one coin."};
    Settings s;
    app.option_defaults()->always_capture_default();
    app.add_option("--host", s.host, "the lobby's host");
    app.add_option("--port", s.port, "the lobby's port")->required();
    app.add_option("--first", s.first, "first user id");
    app.add_option("--players", s.players, "how many")->check(CLI::Range(1, 100000));
    app.add_option("--pid", s.pid, "the lobby's process, for its memory");
    app.add_option("--timeout", s.timeout, "seconds for everything");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return Burst(s);
} catch (const std::exception& failure) {
    std::cerr << "lobby_burst: " << failure.what() << "\n";
    return 3;
}

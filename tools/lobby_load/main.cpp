// lobby_load: puts a lobby, or an echo server of the benchmarks, under load.
#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>

#include "BroadcastLoad.h"
#include "BulletinLoad.h"
#include "CycleLoad.h"
#include "EchoLoad.h"
#include "IdleLoad.h"
#include "PlayerLoad.h"

namespace {

void DeclareCommon(CLI::App& app, Settings& settings) {
    app.add_option("--host", settings.host, "IPv4 address of the server")->capture_default_str();
    app.add_option("-p,--port", settings.port)->capture_default_str();
    app.add_flag("--ws", settings.webSocket, "over WebSocket");
    app.add_option("-n,--connections", settings.connections)
        ->check(CLI::Range(1, 200000))
        ->capture_default_str();
    app.add_option("--connecting", settings.connecting, "connects or logins under way at once")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    app.add_option("--ramp", settings.ramp, "connections opened per second (0: no limit)");
    app.add_option("-d,--seconds", settings.seconds, "time measured")->capture_default_str();
    app.add_option("--warmup", settings.warmup, "seconds before it")->capture_default_str();
    app.add_option("--pid", settings.serverPid, "the server's process, to measure it");
    app.add_option("--json", settings.json, "write the result to this file (-: standard output)");
    app.add_flag("-q,--quiet", settings.quiet, "no progress lines");
}

void DeclareEcho(CLI::App& mode, Settings& settings) {
    mode.add_option("--size", settings.size, "bytes of a message, header included")
        ->check(CLI::Range(8, 4096))
        ->capture_default_str();
}

void DeclarePlayers(CLI::App& mode, Settings& settings) {
    mode.add_option("--first-user", settings.firstUser, "user id of the first player")
        ->capture_default_str();
    mode.add_option("--site", settings.site)->capture_default_str();
    mode.add_option("--token", settings.token)->capture_default_str();
    mode.add_option("--timeout", settings.timeout, "seconds to wait for an answer")
        ->capture_default_str();
}

std::string OperationNames() {
    std::string names;
    for (const Operation& operation : Operations())
        names += std::string(names.empty() ? "" : ", ") + operation.name;
    return names;
}

void DeclareModes(CLI::App& app, Settings& settings) {
    CLI::App* echo = app.add_subcommand("echo", "echoes, so many in flight or at a rate");
    DeclareEcho(*echo, settings);
    echo->add_option("--in-flight", settings.inFlight, "per connection")
        ->check(CLI::Range(1, 10000))
        ->capture_default_str();
    echo->add_option("--rate", settings.rate, "messages per second over all connections");
    echo->add_flag("--stopped", settings.stopped, "beside a WebSocket client that does not read");
    echo->add_flag("--flooder", settings.flooder, "beside a client that floods the server");
    DeclareEcho(*app.add_subcommand("cycle", "connect, one echo, close"), settings);
    DeclareEcho(*app.add_subcommand("idle", "connections that do nothing"), settings);
    app.add_subcommand("broadcast", "one message to all (lobby_echo only)")
        ->add_option("--rounds", settings.rounds)
        ->capture_default_str();
    DeclarePlayers(*app.add_subcommand("logins", "players who log in, as fast as it goes"),
                   settings);
    CLI::App* players = app.add_subcommand("players", "players who log in and do all sorts");
    DeclarePlayers(*players, settings);
    players->add_option("--rate", settings.rate, "operations per second over all players");
    players->add_option("--think", settings.think, "seconds between a player's operations");
    players->add_option("--mix", settings.mix, "name=weight,... of " + OperationNames());
    players->add_option("--seed", settings.seed);
    CLI::App* bulletins = app.add_subcommand("bulletins", "five bulletins to all players");
    DeclarePlayers(*bulletins, settings);
    bulletins->add_option("--control", settings.control, "the simulator's control port")
        ->required();
    bulletins->add_option("--rounds", settings.rounds)->capture_default_str();
    bulletins->add_option("--slow", settings.slow, "every so many-th player reads slowly");
}

std::unique_ptr<Load> Make(const Settings& settings) {
    if (settings.mode == "echo") return std::make_unique<EchoLoad>(settings);
    if (settings.mode == "cycle") return std::make_unique<CycleLoad>(settings);
    if (settings.mode == "idle") return std::make_unique<IdleLoad>(settings);
    if (settings.mode == "broadcast") return std::make_unique<BroadcastLoad>(settings);
    if (settings.mode == "bulletins") return std::make_unique<BulletinLoad>(settings);
    return std::make_unique<PlayerLoad>(settings);
}

int RunLoad(const Settings& settings) {
    const Result result = Make(settings)->Run();
    const std::string json = JsonReport(settings, result);
    if (settings.json == "-") {
        std::cout << json;
    } else {
        std::cout << TextReport(settings, result);
        if (!settings.json.empty() && !(std::ofstream(settings.json) << json << std::flush)) {
            throw std::runtime_error("cannot write " + settings.json);
        }
    }
    return result.errors.empty() && !result.figures.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app{"Load for a lobby. Ends with 1 when there were errors."};
    Settings settings;
    DeclareCommon(app, settings);
    DeclareModes(app, settings);
    app.require_subcommand(1);
    app.fallthrough();
    CLI11_PARSE(app, argc, argv);
    settings.mode = app.get_subcommands().front()->get_name();
    return RunLoad(settings);
} catch (const std::exception& failure) {
    std::cerr << "lobby_load: " << failure.what() << "\n";
    return 2;
}

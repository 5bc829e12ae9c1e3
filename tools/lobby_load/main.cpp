// lobby_load: puts a lobby, or an echo server of the benchmarks, under load.
#include <csignal>
#include <fstream>
#include <memory>

#include "BroadcastLoad.h"
#include "BulletinLoad.h"
#include "CycleLoad.h"
#include "EchoLoad.h"
#include "IdleLoad.h"
#include "PlayerLoad.h"
#include "RunTool.h"

namespace {

void DeclareCommon(CLI::App& app, Settings& settings) {
    app.option_defaults()->always_capture_default();
    app.add_option("--host", settings.host, "IPv4 address of the server");
    app.add_option("-p,--port", settings.port, "its port");
    app.add_flag("--ws", settings.webSocket, "over WebSocket");
    app.add_option("-n,--connections", settings.connections, "connections (players)")
        ->check(CLI::Range(1, 200000));
    app.add_option("--connecting", settings.connecting, "connects or logins under way at once")
        ->check(CLI::Range(1, 100000));
    app.add_option("--ramp", settings.ramp, "connections opened per second (0: no limit)");
    app.add_option("-d,--seconds", settings.seconds, "time measured");
    app.add_option("--warmup", settings.warmup, "seconds before it");
    app.add_option("--pid", settings.serverPid, "the server's process, to measure it (0: none)");
    app.add_option("--json", settings.json, "write the result to this file (-: standard output)");
    app.add_flag("-q,--quiet", settings.quiet, "no progress lines");
}

// A lobby sends bulletins once in 30 seconds unless configured: a few rounds will do.
constexpr uint32_t kBulletinRounds = 3;

CLI::Option* DeclareRounds(CLI::App& mode, Settings& settings) {
    return mode.add_option("--rounds", settings.rounds, "messages to all, one after another");
}

void DeclareEcho(CLI::App& mode, Settings& settings) {
    mode.add_option("--size", settings.size, "bytes of a message, header included")
        ->check(CLI::Range(8, 4096));
}

void DeclarePlayers(CLI::App& mode, Settings& settings) {
    mode.add_option("--first-user", settings.firstUser, "user id of the first player");
    mode.add_option("--site", settings.site, "site they log in at");
    mode.add_option("--token", settings.token, "login token of all of them")
        ->envname("LOBBY_TOKEN");
    mode.add_option("--timeout", settings.timeout, "seconds to wait for an answer");
}

std::string OperationNames() {
    std::string names;
    for (const Operation& operation : Operations())
        names += std::string(names.empty() ? "" : ", ") + operation.name;
    return names;
}

void DeclareEchoMode(CLI::App& echo, Settings& settings) {
    DeclareEcho(echo, settings);
    echo.add_option("--in-flight", settings.inFlight, "messages under way per connection")
        ->check(CLI::Range(1, 10000));
    echo.add_option("--rate", settings.rate,
                    "messages per second over all connections (0: no rate)");
    echo.add_flag("--stopped", settings.stopped, "beside a WebSocket client that does not read");
    echo.add_flag("--flooder", settings.flooder, "beside a client that floods the server");
    echo.add_option("--flood-type", settings.floodType, "number of the messages it floods with");
    echo.add_flag("--broadcast", settings.broadcast,
                  "one message to all instead (lobby_echo only)");
    DeclareRounds(echo, settings);
}

void DeclareModes(CLI::App& app, Settings& settings) {
    DeclareEchoMode(*app.add_subcommand("echo", "echoes, so many in flight or at a rate"),
                    settings);
    DeclareEcho(*app.add_subcommand("cycle", "connect, one echo, close"), settings);
    DeclareEcho(*app.add_subcommand("idle", "connections that do nothing"), settings);
    DeclarePlayers(*app.add_subcommand("logins", "players who log in, as fast as it goes"),
                   settings);
    CLI::App* players = app.add_subcommand("players", "players who log in and do all sorts");
    DeclarePlayers(*players, settings);
    players->add_option("--rate", settings.rate,
                        "operations per second over all players (0: no rate)");
    players->add_option("--think", settings.think, "seconds between a player's operations");
    players->add_option("--mix", settings.mix,
                        "name=weight,... of " + OperationNames() + "; empty: the usual one");
    players->add_option("--seed", settings.seed, "of the random choices");
    CLI::App* bulletins = app.add_subcommand("bulletins", "five bulletins to all players");
    DeclarePlayers(*bulletins, settings);
    bulletins->add_option("--control", settings.control, "the simulator's control port");
    DeclareRounds(*bulletins, settings)->default_str(std::to_string(kBulletinRounds));
    bulletins->add_option("--slow", settings.slow,
                          "every so many-th player reads slowly (0: none)");
}

std::unique_ptr<Load> Make(const Settings& settings) {
    if (settings.broadcast) return std::make_unique<BroadcastLoad>(settings);
    if (settings.mode == "echo") return std::make_unique<EchoLoad>(settings);
    if (settings.mode == "cycle") return std::make_unique<CycleLoad>(settings);
    if (settings.mode == "idle") return std::make_unique<IdleLoad>(settings);
    if (settings.mode == "bulletins") return std::make_unique<BulletinLoad>(settings);
    return std::make_unique<PlayerLoad>(settings);
}

// Rounds end by themselves.
void SetUsualTimes(const CLI::App& app, Settings& settings) {
    const bool inRounds = settings.broadcast || settings.mode == "bulletins";
    if (settings.mode == "bulletins" && app.get_subcommand("bulletins")->count("--rounds") == 0) {
        settings.rounds = kBulletinRounds;
    }
    if (inRounds && app.count("--seconds") == 0) settings.seconds = 40.0 * settings.rounds;
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

// The first Ctrl-C ends the run and prints what was measured, a second one ends the program.
void ReportWhenInterrupted() {
    struct sigaction action {};
    action.sa_handler = [](int) { Loop::Interrupt(); };
    action.sa_flags = SA_RESETHAND;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) try {
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app{
        "Load for a lobby.\nExit status: 0 done, 1 there were errors, 2 wrong use, "
        "3 it could not run."};
    Settings settings;
    DeclareCommon(app, settings);
    DeclareModes(app, settings);
    app.set_help_all_flag("--help-all", "the help of all subcommands");
    app.require_subcommand(1);
    app.fallthrough();
    return RunTool("lobby_load", app, argc, argv, [&] {
        settings.mode = app.get_subcommands().front()->get_name();
        SetUsualTimes(app, settings);
        ReportWhenInterrupted();
        return RunLoad(settings);
    });
} catch (const std::exception& error) {
    return SayFailure("lobby_load", error);
}

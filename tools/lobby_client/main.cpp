// lobby_client: a player on the command line.
#include "Commands.h"
#include "Console.h"
#include "RunTool.h"

namespace {

struct Settings {
    std::string host = "127.0.0.1";
    uint16_t port = 0;
    int32_t user = 0;
    double timeout = 10;
    bool webSocket = false;
    bool watch = false;
    client::Manner manner;
    std::vector<std::string> words;
};

void Declare(CLI::App& app, Settings& s) {
    app.option_defaults()->always_capture_default();
    app.footer(client::CommandHelp());
    app.add_option("--host", s.host, "the lobby's host");
    app.add_option("--port", s.port, "the lobby's port")->required();
    app.add_option("--user", s.user, "user id")->required();
    app.add_option("--token", s.manner.token, "login token; - asks for it")->envname("LOBBY_TOKEN");
    app.add_option("--site", s.manner.site, "lobby site");
    app.add_option("--bank-password", s.manner.bankPassword, "bank password; - asks for it")
        ->envname("LOBBY_BANK_PASSWORD");
    app.add_option("--timeout", s.timeout, "seconds to wait for an answer")
        ->check(CLI::Range(0.001, 86400.0));
    app.add_flag("--ws", s.webSocket, "connect through WebSocket");
    app.add_flag("--watch", s.watch, "stay and print what the lobby pushes");
    app.add_flag("--json", s.manner.json, "print answers as JSON, one per line");
    app.add_option("commands", s.words, "commands and their words");
}

// The steps of the command line, and passwords that were left to be asked for.
std::vector<client::Step> Prepare(Settings& s) {
    for (auto* secret : {&s.manner.token, &s.manner.bankPassword}) {
        const bool isToken = secret == &s.manner.token;
        if (*secret == "-") *secret = client::AskSecret(isToken ? "Token" : "Bank password");
    }
    std::vector<client::Step> steps;
    std::string error;
    if (client::Parse(s.words, steps, error)) return steps;
    throw std::invalid_argument(error + "; --help lists the commands");
}

// 0, 1 or, by exception, 3.
int Play(const Settings& s, const std::vector<client::Step>& steps) {
    const auto patience = std::chrono::milliseconds(static_cast<long>(s.timeout * 1000));
    client::Player player(s.host, s.port, s.user, patience,
                          s.webSocket ? client::Transport::WebSocket : client::Transport::Tcp);
    player.OnPush([&](const client::Message& message) { ShowPush(message, s.manner); });
    bool all = true;
    if (steps.empty() && !s.watch) return client::Interact(player, s.manner);
    for (const client::Step& step : steps)
        all = Run(step, player, s.manner) && all;
    if (s.watch) player.Watch(client::Clock::now() + std::chrono::hours(24 * 365));
    return all ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app{"Plays a player of the lobby."};
    Settings settings;
    Declare(app, settings);
    return RunTool("lobby_client", app, argc, argv,
                   [&] { return Play(settings, Prepare(settings)); });
} catch (const std::exception& error) {
    return SayFailure("lobby_client", error);
}

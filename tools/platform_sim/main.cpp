// platform_sim: the six back-end servers of the platform in one program.
#include <unistd.h>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>

#include "PageServer.h"
#include "Platform.h"
#include "RunTool.h"

namespace {

struct Settings {
    std::array<uint16_t, sim::SERVERS> ports{};
    uint16_t controlPort = 0;
    std::string accounts;
    std::string portsFile;
    uint16_t pagePort = 0;
    std::string webRoot;
    std::string lobbyAddress;
    int32_t players = 0;
    bool quiet = false;
    bool dump = false;
};

void Declare(CLI::App& app, Settings& settings) {
    for (const sim::ServerKind kind : sim::ALL_SERVERS) {
        app.add_option(std::string("--") + sim::NameOf(kind) + "-port",
                       settings.ports[static_cast<size_t>(kind)],
                       "port of this server; 0 takes a free one");
    }
    app.add_option("--control-port", settings.controlPort, "port for control commands");
    app.add_option("--ports-file", settings.portsFile, "write the ports there, too");
    app.add_option("--web-root", settings.webRoot, "serve the player's page from this folder");
    app.add_option("--page-port", settings.pagePort, "port of the player's page");
    app.add_option("--lobby-address", settings.lobbyAddress,
                   "where the page finds the lobby, ws://host:port");
    app.add_option("--accounts", settings.accounts, "JSON file with players and other tables");
    app.add_option("--players", settings.players, "add this many players from 20001 on")
        ->check(CLI::Range(0, 1000000));
    app.add_flag("--quiet", settings.quiet, "do not print messages");
    app.add_flag("--dump-accounts", settings.dump, "print the tables as JSON and end");
}

// "queue=1234 center=... control=..."
std::string PortsLine(sim::Platform& platform, uint16_t control) {
    std::string line;
    for (const sim::ServerKind kind : sim::ALL_SERVERS) {
        line += std::string(sim::NameOf(kind)) + "=" + std::to_string(platform.Port(kind)) + " ";
    }
    return line + "control=" + std::to_string(control);
}

// Appears whole: whoever waits for the file may read it at once.
bool WritePorts(const std::string& path, const std::string& line) {
    const std::string part = path + ".part";
    {
        std::ofstream file(part);
        file << line << "\n";
        if (!file.flush()) return false;
    }
    return std::rename(part.c_str(), path.c_str()) == 0;
}

// The page's visitor plays the first player.
sim::PageConfig VisitorOf(const Settings& settings, const sim::World& world) {
    if (world.players.empty()) return {settings.lobbyAddress, 0, "", ""};
    const sim::Player& player = world.players.begin()->second;
    return {settings.lobbyAddress, player.id, player.token, player.bankPassword};
}

int Serve(const Settings& settings, sim::World world) try {
    const sim::PageConfig visitor = VisitorOf(settings, world);
    sim::Platform platform(std::move(world));
    if (!settings.quiet) {
        platform.SetPrinter([](const std::string& line) { std::cout << line << std::endl; });
    }
    for (const sim::ServerKind kind : sim::ALL_SERVERS) {
        platform.Open(kind, settings.ports[static_cast<size_t>(kind)]);
    }
    std::string line = PortsLine(platform, platform.OpenControl(settings.controlPort));
    std::unique_ptr<sim::PageServer> page;
    if (!settings.webRoot.empty()) {
        page = std::make_unique<sim::PageServer>(settings.webRoot, settings.pagePort, visitor);
        line += " page=" + std::to_string(page->Port());
    }
    std::cout << "ports " << line << std::endl;
    if (!settings.portsFile.empty() && !WritePorts(settings.portsFile, line)) {
        throw std::runtime_error("cannot write " + settings.portsFile);
    }
    platform.ReadCommandsFrom(STDIN_FILENO);
    platform.Run(true);
    return 0;
} catch (const boost::system::system_error& failure) {
    throw std::runtime_error(std::string("cannot listen: ") + failure.what());
}

int Start(const Settings& settings) {
    sim::World world = sim::DefaultWorld();
    std::string error;
    if (!settings.accounts.empty() && !sim::LoadWorld(settings.accounts, world, error)) {
        throw std::runtime_error(settings.accounts + ": " + error);
    }
    world.AddPlayers(20001, settings.players);
    if (!settings.dump) return Serve(settings, std::move(world));
    std::cout << sim::DumpWorld(world);
    return 0;
}

}  // namespace

int main(int argc, char** argv) try {
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app{
        "Plays the platform's back-end servers for lobbies on this machine.\nExit status: 0 "
        "ended, 2 wrong use, 3 it could not run."};
    Settings settings;
    Declare(app, settings);
    return RunTool("platform_sim", app, argc, argv, [&] { return Start(settings); });
} catch (const std::exception& error) {
    return SayFailure("platform_sim", error);
}

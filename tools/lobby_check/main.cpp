// lobby_check: says what is wrong with a configuration before the lobby reads it.
#include "ConfigCheck.h"
#include "RunTool.h"

namespace {

void PrintKeys() {
    for (const ConfigFile& file : kConfigFiles) {
        std::cout << file.name << "\n";
        for (const ConfigKey& key : file.keys) {
            std::cout << "  [" << key.section << "] " << key.name << "   " << key.meaning << " ("
                      << RangeOf(key) << ")\n";
        }
    }
}

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app(
        "Checks the four configuration files of a LobbyServer.\nExit status: 0 nothing "
        "found, 1 problems found, 2 wrong usage.");
    std::string path = ".";
    bool keys = false;
    app.add_option("path", path, "the directory of the files, or one of them")
        ->capture_default_str();
    app.add_flag("--keys", keys, "print every key with its meaning, default and bounds");
    const auto run = [&] {
        if (!keys) return check::TellProblems("lobby_check", path);
        PrintKeys();
        return 0;
    };
    return RunTool("lobby_check", app, argc, argv, run);
} catch (const std::exception& error) {
    return SayFailure("lobby_check", error, 2);
}

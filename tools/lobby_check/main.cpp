// lobby_check: says what is wrong with a configuration before the lobby reads it.
#include <CLI/CLI.hpp>

#include <iostream>

#include "ConfigCheck.h"

namespace {

std::string DefaultOf(const ConfigKey& key) {
    if (key.kind == ConfigKind::Integer) return std::to_string(key.defaultValue);
    return key.required ? "none" : "";
}

void PrintKeys() {
    for (const ConfigFile& file : kConfigFiles) {
        std::cout << file.name << "\n";
        for (const ConfigKey& key : file.keys) {
            const std::string value = DefaultOf(key);
            std::cout << "  [" << key.section << "] " << key.name << (value.empty() ? "" : " = ")
                      << value << "   " << key.meaning << "\n";
        }
    }
}

// The process's exit status.
int Check(const std::string& directory) {
    std::filesystem::current_path(directory);
    const auto problems = check::CheckDirectory(".");
    // On standard error, where a supervisor keeps them.
    for (const check::Problem& problem : problems)
        std::cerr << check::TextOf(problem) << "\n";
    if (!problems.empty()) return 1;
    std::cout << "No problems found.\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app(
        "Checks the four configuration files of a LobbyServer. Exit status: 0 nothing "
        "found, 1 problems found, 2 wrong usage.");
    std::string directory = ".";
    bool keys = false;
    app.add_option("directory", directory, "where the files are")->capture_default_str();
    app.add_flag("--keys", keys, "print every key, its default and its meaning");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (!keys) return Check(directory);
    PrintKeys();
    return 0;
} catch (const std::exception& error) {
    std::cerr << "lobby_check: " << error.what() << "\n";
    return 2;
}

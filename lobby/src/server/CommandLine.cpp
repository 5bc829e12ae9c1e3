#include "CommandLine.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "Common/Log.h"
#include "Common/Supervisor.h"
#include "Common/Text.h"
#include "ConfigCheck.h"

namespace {

constexpr const char* kVersion = LOBBY_VERSION ".0";
constexpr const char* kUsage =
    "Usage: LobbyServer                      serves until SIGTERM\n"
    "       LobbyServer --check [PATH]       checks a directory or a file, and ends\n"
    "       LobbyServer --version | --help\n"
    "It reads LobbyServer.cfg and three files beside it in the directory of the executable, and\n"
    "writes to log/ there. Signals: SIGTERM ends it within 5 seconds. SIGHUP has it read "
    "forbidden\n"
    "names, disabled accounts, the tournament, limits and the log level again. SIGUSR1 lets "
    "nobody\n"
    "else in, and ends it when the last player has left.\n"
    "Exit status of --check: 0 nothing found, 1 problems found, 2 wrong usage.\n";

std::filesystem::path ExecutableDirectory() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

// Whether no start can get past this, whatever becomes of the machines around.
bool PreventsStart(const check::Problem& problem) {
    return problem.file == "LobbyServer.cfg" &&
           (problem.section.empty() || SameText(problem.section, "connect") ||
            (SameText(problem.section, "listen") && SameText(problem.key, "addr")));
}

}  // namespace

std::optional<int> AnswerArguments(int argc, char** argv) {
    if (argc < 2) return {};
    const std::string first = argv[1];
    if (first == "--check" && argc <= 3)
        return check::TellProblems("LobbyServer", argc == 3 ? argv[2] : ExecutableDirectory());
    if (first == "--version" && argc == 2) {
        std::printf("LobbyServer %s\n", kVersion);
    } else if (first == "--help" && argc == 2) {
        std::fputs(kUsage, stdout);
    } else {
        std::fprintf(stderr, "LobbyServer: what is asked for with \"%s\"?\n%s", argv[argc - 1],
                     kUsage);
        return EXIT_USAGE;
    }
    return EXIT_SUCCESS;
}

void SayWhatStarts() {
    std::error_code error;
    const auto file = std::filesystem::canonical("LobbyServer.cfg", error);
    LogAlways("main", "LobbyServer version[%s], configuration[%s], process[%d]", kVersion,
              error ? "LobbyServer.cfg" : file.c_str(), static_cast<int>(getpid()));
}

// A supervisor that is told to start the lobby again after a failure would do so for ever over a
// mistake in the configuration; the status lets it tell the two apart.
int StatusOfFailedStart() {
    if (!HasSupervisor()) return EXIT_SUCCESS;
    const auto problems = check::CheckDirectory(".");
    return std::any_of(problems.begin(), problems.end(), PreventsStart) ? EXIT_CONFIGURATION
                                                                        : EXIT_SUCCESS;
}

// What the process is asked for by its arguments, and what it says when it ends.
#pragma once

#include <optional>

// Exit statuses for a supervisor that asked to be told (NOTIFY_SOCKET); to anybody else a failed
// start and a drained lobby end with 0, too.
inline constexpr int EXIT_CONFIGURATION = 1;  // as lobby_check's: starting again changes nothing
inline constexpr int EXIT_USAGE = 2;
inline constexpr int EXIT_DRAINED = 3;

// Answers --version, --help and --check [PATH], and refuses everything else; the status to end
// with. None without arguments: the lobby is to start. Thread: main.
std::optional<int> AnswerArguments(int argc, char** argv);

// Says the version and the configuration file in the log, whatever its level.
void SayWhatStarts();

// The status of a start that failed, once the log has said why.
int StatusOfFailedStart();

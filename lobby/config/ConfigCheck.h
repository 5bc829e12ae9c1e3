// The dry run of a configuration: everything the lobby would stumble over, and what it would
// silently read differently from what its writer meant.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "ConfigKeys.h"

namespace check {

struct Problem {
    std::string file;
    int line;  // 0 when no line is at fault
    std::string section;
    std::string key;
    std::string reason;
};

// `LobbyServer.cfg:4: section [network], key "interval": not a whole number: "x"`.
std::string TextOf(const Problem& problem);

// What is wrong with a key's value; empty when nothing is.
std::string FaultOf(const ConfigKey& key, const std::string& value);

// Every problem of one file, in the order of its lines; what concerns no single line last.
std::vector<Problem> CheckFile(const ConfigFile& file, const std::filesystem::path& directory);

// Every problem of the four files of a directory.
std::vector<Problem> CheckDirectory(const std::filesystem::path& directory);

// Checks a directory, or one file, which is told by its name, endings such as .dpkg-dist included,
// and prints what is wrong on standard error, where a supervisor keeps it. The exit status for a
// program of that name: 0 nothing found, 1 problems found, 2 nothing to check, which is said, too.
int TellProblems(const char* program, const std::filesystem::path& path);

}  // namespace check

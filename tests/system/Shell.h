// A shell's command.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

struct Ended {
    int status;
    std::string output;  // both of its outputs
};

inline Ended Shell(const std::string& command) {
    FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
    std::string output;
    for (int c; (c = std::fgetc(pipe)) != EOF;)
        output += static_cast<char>(c);
    return {WEXITSTATUS(pclose(pipe)), output};
}

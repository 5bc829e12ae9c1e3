// What a player can be told to do on the command line.
#pragma once

#include <string>
#include <vector>

#include "Player.h"

namespace client {

// How answers are shown, and the passwords that commands use without naming them.
struct Manner {
    bool json = false;
    int32_t site = 1;
    std::string token = "token";
    std::string bankPassword = "888888";
};

// One command with its words; see Parse.
struct Step {
    const struct Command* command;
    std::vector<std::string> words;
};

// Cuts the words of the command line into steps. False and a sentence in `error` when a command
// is unknown, its words are missing, or a number does not fit its field. Asks for passwords given
// as "-".
bool Parse(const std::vector<std::string>& words, std::vector<Step>& steps, std::string& error);

// Runs one step and prints its answer; true when the answer says success. Throws ConnectionLost,
// TimedOut.
bool Run(const Step& step, Player& player, const Manner& manner);

// Prints a message that nobody asked for.
void ShowPush(const Message& message, const Manner& manner);

// The commands with their words, one per line.
std::string CommandHelp();
std::vector<std::string> CommandNames();

}  // namespace client

// The interactive mode: commands typed at a prompt, while what the lobby pushes shows as it comes.
#pragma once

#include "Commands.h"

namespace client {

// Until the input ends or "quit" is typed. At a terminal with a prompt, history and completion;
// otherwise one command a line. 0 when all commands succeeded, 1 when one was refused or not
// answered. Throws ConnectionLost. Thread: the only one.
int Interact(Player& player, const Manner& manner);

// Words of a line, as a shell cuts them: by blanks, but not within "..." or '...'.
std::vector<std::string> SplitLine(const std::string& line);

// Asks for a secret on the terminal without showing it. Throws std::runtime_error without one.
std::string AskSecret(const std::string& name);

}  // namespace client

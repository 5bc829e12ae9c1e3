// What players ask of a lobby.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Link.h"

// What the requests of one player are filled from.
struct PlayerFacts {
    int32_t id;
    int32_t site;
    int32_t partner;    // the player coins are given to
    uint32_t turn = 0;  // operations so far: alternates what has two sides
};

enum class AnswerCode : uint8_t { None, Byte8, Int8, Int12 };  // width and offset of the result

// One row per operation. The lobby refuses or drops an operation that follows the same one of the
// player too soon; gap, in seconds, stays clear of that, with a second to spare since the lobby
// counts whole seconds.
struct Operation {
    const char* name;
    uint16_t answer;  // message type
    uint8_t gap;
    uint8_t weight;  // in the usual mix
    AnswerCode code;
    void (*send)(Link& link, const PlayerFacts& player);
};

std::span<const Operation> Operations();

// The result in an answer; 0 is success.
int32_t CodeOf(const Operation& operation, std::string_view answer);
// A list comes in several messages, of which only the last completes the operation.
bool IsComplete(const Operation& operation, std::string_view answer);

// Weights by operation from "name=weight,..."; those not named get 0. An empty text means the
// usual mix. Throws std::invalid_argument with a text for the user.
std::vector<uint32_t> ParseMix(const std::string& text);

void SendLogin(Link& link, const PlayerFacts& player, const std::string& token);

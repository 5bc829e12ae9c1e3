// What a run of the load generator was asked to do.
#pragma once

#include <cstdint>
#include <string>

#include "Game/NetMessage.h"

struct Settings {
    std::string mode;
    std::string host = "127.0.0.1";
    uint16_t port = 9100;
    bool webSocket = false;
    uint32_t connections = 100;
    uint32_t connecting = 128;  // connects (or logins) under way at once
    double ramp = 0;            // connections opened per second; 0: no limit
    double seconds = 10;        // measured
    double warmup = 1;          // before, not measured
    int serverPid = 0;
    std::string json;  // file for the result, "-" for standard output
    bool quiet = false;

    // Echo modes.
    uint32_t size = 64;      // whole message
    uint32_t inFlight = 1;   // per connection
    double rate = 0;         // messages or operations per second over all; 0: closed loop
    uint32_t rounds = 20;    // broadcasts
    bool stopped = false;    // beside a WebSocket client that does not read
    bool flooder = false;    // beside a client that sends as fast as the server takes it ...
    uint16_t floodType = MSG_KEEP_ALIVE;  // ... messages of this type
    bool broadcast = false;  // one message to all instead; lobby_echo only

    // Players.
    int32_t firstUser = 20001;
    int32_t site = 1;
    std::string token = "token";
    std::string mix;      // "take=5,save=5"; empty: the usual one
    double think = 0;     // seconds between two operations of a player, on average
    double timeout = 10;  // for every answer
    uint32_t seed = 1;
    uint16_t control = 9110;  // the simulator's control port, for bulletins
    uint32_t slow = 0;        // every so many-th player reads slowly; 0: none
};

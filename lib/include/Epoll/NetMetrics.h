// Public header: what the network framework counts.
#pragma once

#include "Common/Metrics.h"
#include "Common/TypeCounters.h"

// Why the framework itself ended a connection.
enum class NetClose : uint8_t {
    SendRing,     // so many messages wait for the peer that no more fit its ring
    ReceiveRing,  // so many reads wait for the worker that no more are taken
    Idle,         // a client sent nothing for the time-out
    BadMessage,   // no message header, or a body that cannot be decoded
    BadFrame,     // a WebSocket frame too large, or a close frame
    Limit,        // a client beyond the configured number
    Budget,       // the buffers of all connections are too many, and this client holds many
};
inline constexpr size_t NET_CLOSES = 7;

// Messages with the clients or with the back-end servers.
struct PeerMessages {
    explicit PeerMessages(const TypePlaces& places) : in(places), out(places) {}

    TypeCounters in;   // delivered to the application
    TypeCounters out;  // queued for sending
};

// The framework's counters, grouped by the thread that counts most in them so that the threads do
// not share cache lines. Any thread.
struct NetMetrics {
    explicit NetMetrics(const TypePlaces& places) : clients(places), backEnds(places) {}

    PeerMessages& Of(bool client) { return client ? clients : backEnds; }
    void CountClose(NetClose reason) { closes[static_cast<size_t>(reason)].Add(); }

    // Poll threads.
    alignas(64) Counter recordsQueued;  // events handed to the worker
    std::array<Counter, NET_CLOSES> closes;
    Counter budget;    // buffers that may be in use, constant; 0: any number
    Counter standIns;  // a poll thread read instead of a worker that made no progress

    // Message worker.
    alignas(64) Counter recordsTaken;  // ... and taken by it
    Counter bytesIn;                   // WebSocket framing included
    Counter clientsOpened;
    Counter clientsClosed;
    Counter upgrades;      // clients that became WebSockets
    DurationCounter pass;  // from one look at the queue to the end of the work found there
    PeerMessages clients;
    PeerMessages backEnds;

    // Send thread, or the worker for it.
    alignas(64) Counter bytesOut;  // WebSocket framing included
    Counter messagesSettled;       // written or dropped; the rest of those counted above waits
};

// The blocks of a pool: 4 KiB each, which stay the process's once they are made. Counted always,
// as what happened before anybody looked matters. Any thread.
struct PoolCounters {
    Counter made;                  // from the heap
    alignas(64) Counter taken;     // handed out
    alignas(64) Counter returned;  // read this before `taken`
};
inline PoolCounters g_SendBlocks;     // messages to send
inline PoolCounters g_ReceiveBlocks;  // received bytes

// Set before the framework starts.
inline MetricsSlot<NetMetrics> g_NetMetrics;

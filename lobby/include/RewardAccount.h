// Whom a reward is booked for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LobbyPlayer.h"

// What a booking tells the queue server about its player.
struct RewardAccount {
    RewardAccount() = default;
    explicit RewardAccount(const LobbyPlayer& player);

    int32_t iUserID = 0;
    int32_t iSiteID = 0;
    int32_t iClientSiteType = 0;
    int32_t iTeamTag = 0;
    int32_t iLianyunFlag = 0;
    uint16_t usRegisterType = 0;
    char szOutAccount[64] = {};
};

// Remembers the accounts of sessions that have closed, because the data server may still grant what
// such a session asked for. The newest so many are kept: it answers within seconds, in which fewer
// players leave. Only confirmed logins have an account, so that nobody can push others out without
// accounts of his own.
// Thread: message worker.
class ClosedAccounts {
  public:
    // Before the session's node id is cleared.
    void Keep(const LobbyPlayer& player);
    // The account of that incarnation of that node, or null.
    const RewardAccount* Find(uint64_t handle, uint64_t nodeId) const;

  private:
    static constexpr size_t kMost = 8192;
    struct Closed {
        uint64_t handle, nodeId;
        RewardAccount account;
    };

    std::vector<Closed> m_ring;
    size_t m_next = 0;  // the oldest entry, once the ring is full
};

#include "RewardAccount.h"

#include <algorithm>

#include "MsgView.h"

RewardAccount::RewardAccount(const LobbyPlayer& player)
    : iUserID(player.m_iUserID),
      iSiteID(player.m_iSiteID),
      iClientSiteType(player.iAccountsourceid),
      iTeamTag(player.iTeamTag),
      iLianyunFlag(player.iLianyunFlag),
      usRegisterType(player.usRegisterType) {
    CopyText(szOutAccount, player.szOutAccount);
}

void ClosedAccounts::Keep(const LobbyPlayer& player) {
    if (!player.m_bConfirmed) return;
    const Closed closed{NodeHandle(&player), player, RewardAccount(player)};
    if (m_ring.size() < kMost) {
        m_ring.push_back(closed);
    } else {
        m_ring[m_next] = closed;
        m_next = (m_next + 1) % kMost;
    }
}

const RewardAccount* ClosedAccounts::Find(uint64_t handle, uint64_t nodeId) const {
    const auto found = std::find_if(m_ring.begin(), m_ring.end(), [&](const Closed& closed) {
        return closed.nodeId == nodeId && closed.handle == handle;
    });
    return found != m_ring.end() ? &found->account : nullptr;
}

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
    const Closed closed{NodeHandle(&player), player, RewardAccount(player)};
    const RewardAccount& a = closed.account;
    // Without figures the user id of the answer's record tells as much.
    if (a.iClientSiteType == 0 && a.iTeamTag == 0 && a.iLianyunFlag == 0 && a.usRegisterType == 0 &&
        a.szOutAccount[0] == '\0') {
        return;
    }
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

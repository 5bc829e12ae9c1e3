#include "LobbyPlayer.h"

#include <cstring>

namespace {

std::atomic<uint64_t> g_ulLastNodeId{0};

uint64_t NextNodeId() {
    uint64_t id = ++g_ulLastNodeId;
    // 0 stands for a closed node.
    while (id == 0)
        id = ++g_ulLastNodeId;
    return id;
}

}  // namespace

void LobbyPlayer::Initialize() {
    PlayerNode::Initialize();
    m_ulQueueCount = 0;
    m_iUserID = 0;
    m_iSiteID = 0;
    m_lpNext = nullptr;
    m_lpPrior = nullptr;
    m_cLoginType = 0;
    m_iLoginSiteID = 0;
    m_uGameID = 0;
    iLastBankLoginTime = 0;
    iLastGetCoinTime = 0;
    iLastSaveCoinTime = 0;
    iLastModifyPdTime = 0;
    iLastModifyPassWordTime = 0;
    iLastRefreshCoinTime = 0;
    iLastServerInfoReqTime = 0;
    llControlNum = 0;
    iMachineIndex = 0;
    iPlayGameTime = 0;
    iAllYuanBaoAmount = 0;
    iAccountsourceid = 0;
    isBindingmobile = 0;
    iFriendPropNum = 0;
    llGameCoin = 0;
    llBankCoin = 0;
    m_bDelOnline = true;
    iTeamTag = 0;
    iLianyunFlag = 0;
    usRegisterType = 0;
    std::memset(szReserve1, 0, sizeof(szReserve1));
    std::memset(szOutAccount, 0, sizeof(szOutAccount));
    std::memset(szReserve3, 0, sizeof(szReserve3));
    m_tLastExchangeCoinTime = 0;
    m_Usage = {};
    m_bEarlySubscriber = false;
    m_ulPlayerNodeId.store(NextNodeId(), std::memory_order_release);
}

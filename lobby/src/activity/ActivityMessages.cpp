// Messages of clients and of the data server on their way to the activities, and rewards.
//
// A reward is granted by the data server: the activity asks it to move one record, its answer comes
// back with the session's handle, reaches the activity if the session is still there, and is booked
// with the queue server either way.
#include <cstdio>

#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"

namespace {

LobbyPlayer* PlayerOf(IPlayerNode* node) {
    return static_cast<LobbyPlayer*>(node);
}

void LogStrayResult(const LobbyActivitySingleProgressUpdateRes& r) {
    constexpr const char* kTag = "ActivitySystem::UpdateLobbyActivityProgressRes";
    const tagDBUserActivityProgressData& p = r.progress;
    __log(_ERROR, kTag,
          "iUserId:%d, iActivityId:%d, iError:%d, iProgress:%d, iLevel:%d, iConfig:%d, "
          "iGameCoin:%d, iGameCoinSourceId:%d, iYuanBaoNum:%d, iYuanBaoNumSourceId:%d",
          p.iUserId, p.iActivityId, r.iError, r.iProgress, r.iLevel, r.iConfig, r.iGameCoin,
          r.iGameCoinSourceId, r.iYuanBaoNum, r.iYuanBaoNumSourceId);
    __log(_ERROR, kTag,
          "userid[%d], gameid[%d], Activity_id[%d],iGameCoin[%d],iLotterynum[%d],iDiamondnum[%d],"
          "iRedpacketnum[%d],iProgress1[%d],iProgress2[%d],iUpdateTime[%d], result[%d]!",
          p.iUserId, p.iGameId, p.iActivityId, p.iGamecoin, p.iLotterynum, p.iDiamondnum,
          p.iRedpacketnum, p.iProgress1, p.iProgress2, static_cast<int>(p.updateTime), r.iError);
}

}  // namespace

void ActivitySystem::DeliverToHandler(IActivityHandler* handler, unsigned short type, void* data,
                                      long length, LobbyPlayer* player) {
    tagDBUserActivityProgressData* record = nullptr;
    if (!handler->isOpen() ||
        !FindProgressByUserID(player->m_iUserID, handler->getActivityId(), &record)) {
        return;
    }
    if (type == CLIENT_USER_PROGRESS_REQ) {
        handler->HandlerUserProgressReq(type, data, length, player, nullptr, record);
    } else {
        handler->OnActivityMessage(type, data, length, player, nullptr, record);
    }
}

// Other types have no length of their own.
bool ActivitySystem::IsRequestWhole(unsigned short type, long length) {
    constexpr int kSize = sizeof(UserProgressReq);
    if (type != CLIENT_USER_PROGRESS_REQ || length == kSize) return true;
    __log(_ERROR, "ActivitySystem::HandleActivityMessage",
          "buffer length is not match ! length[%lld] != sizeof(%d)", static_cast<long long>(length),
          kSize);
    return false;
}

void ActivitySystem::HandleUserProgressReq(unsigned short type, void* data, long length,
                                           LobbyPlayer* player) {
    const auto request = ReadMsg<UserProgressReq>(data, length);
    if (IActivityHandler* const handler = FindHandler(request.iActivityId)) {
        DeliverToHandler(handler, type, data, length, player);
    }
}

void ActivitySystem::HandleActivityMessage(unsigned short type, void* data, long length,
                                           IPlayerNode* player) {
    if (player == nullptr || !IsRequestWhole(type, length)) return;
    if (type == CLIENT_USER_PROGRESS_REQ) {
        HandleUserProgressReq(type, data, length, PlayerOf(player));
        return;
    }
    for (const auto& [id, handler] : m_mapActivityHandler) {
        DeliverToHandler(handler, type, data, length, PlayerOf(player));
    }
}

void ActivitySystem::HandleActivityMessage(int activityId, unsigned short type, void* data,
                                           long length, IPlayerNode* player) {
    IActivityHandler* const handler = FindHandler(activityId);
    if (handler == nullptr || player == nullptr || !IsRequestWhole(type, length)) return;
    DeliverToHandler(handler, type, data, length, PlayerOf(player));
}

void ActivitySystem::HandleGlobalActivityMessage(unsigned short type, void* data, long length) {
    for (const auto& [id, handler] : m_mapActivityHandler) {
        handler->OnGlobalActivityMessage(type, data, length, m_mapActivityProgress);
    }
}

void ActivitySystem::HandleGlobalActivityMessage(int activityId, unsigned short type, void* data,
                                                 long length) {
    std::printf("HandleGlobalActivityMessage lType : %d\n", type);
    if (IActivityHandler* const handler = FindHandler(activityId)) {
        handler->OnGlobalActivityMessage(type, data, length, m_mapActivityProgress);
    }
}

bool ActivitySystem::SendData(IPlayerNode* player, unsigned short type, void* data, long length,
                              long encode) {
    return m_pGameProvider != nullptr &&
           m_pGameProvider->SendData(player, type, data, length, encode);
}

void ActivitySystem::SendMessageToAllClient(unsigned short type, void* data, long length,
                                            long /*encode*/) {
    if (m_pGameProvider != nullptr) m_pGameProvider->SendMsgToAllLobbyClent(type, data, length);
}

void ActivitySystem::UpdateLobbyActivityProgress(LobbyActivitySingleProgressUpdate& update) {
    AssertWorker();
    if (m_pGameProvider != nullptr) {
        m_pGameProvider->SendMsgToDataServer(ACT_SINGLE_PROGRESS_UPDATE, &update, sizeof(update));
    }
}

void ActivitySystem::UpdateLobbyActivityProgressRes(unsigned short type, void* data, long length) {
    if (length != static_cast<long>(sizeof(LobbyActivitySingleProgressUpdateRes))) {
        __log(_ERROR, "ActivitySystem::UpdateLobbyActivityProgressRes",
              "buffer length is not match ! length[%d] < sizeof(%d)", static_cast<int>(length),
              static_cast<int>(sizeof(LobbyActivitySingleProgressUpdateRes)));
        return;
    }
    if (m_pGameProvider == nullptr) return;
    const auto result = ReadMsg<LobbyActivitySingleProgressUpdateRes>(data, length);
    LobbyPlayer* const player =
        m_pGameProvider->FindPlayerByHandle(result.ulPlayerNode, result.ulPlayerNodeId);
    if (player == nullptr) {
        LogStrayResult(result);
    } else {
        HandleActivityMessage(result.progress.iActivityId, type, data, length, player);
    }
    if (result.iError == 0) BookRewards(result, player);
}

// The data server has granted the reward, so it is booked even when the session that asked is
// gone, with what was known of that session. A forged handle may stand for anybody: then the reward
// goes to the user the record names, with the data of his session if one is in this lobby.
RewardAccount ActivitySystem::AccountOf(const LobbyActivitySingleProgressUpdateRes& result,
                                        const LobbyPlayer* player) {
    if (player != nullptr) return RewardAccount(*player);
    const RewardAccount* const closed =
        m_pGameProvider->Closed().Find(result.ulPlayerNode, result.ulPlayerNodeId);
    if (closed != nullptr) return *closed;
    const int userId = result.progress.iUserId;
    if (const LobbyPlayer* const here = m_pGameProvider->GetPlayerByUserID(userId)) {
        return RewardAccount(*here);
    }
    RewardAccount unknown;
    unknown.iUserID = userId;
    return unknown;
}

void ActivitySystem::BookRewards(const LobbyActivitySingleProgressUpdateRes& result,
                                 const LobbyPlayer* player) {
    if (result.iGameCoin <= 0 && result.iYuanBaoNum < 1) return;
    const RewardAccount account = AccountOf(result, player);
    const int activityId = result.progress.iActivityId;
    if (result.iGameCoin > 0) {
        m_pGameProvider->BookReward(account, activityId, result.iGameCoinSourceId, result.iGameCoin,
                                    1);
    }
    if (result.iYuanBaoNum >= 1) {
        m_pGameProvider->BookReward(account, activityId, result.iYuanBaoNumSourceId,
                                    result.iYuanBaoNum, 2);
    }
}

#include "activitySystem/ActivitySystem.h"

#include <cstdio>
#include <cstring>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "DataServerHandler.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "Period.h"
#include "activitySystem/ActivityClientMsg.h"

namespace {

constexpr long kReloadSeconds = 1800;
constexpr int kMaxBatch =
    (BUFFER_SIZE - sizeof(tagUserActivityProgressUpdate)) / sizeof(tagDBUserActivityProgressData);
static_assert(kMaxBatch == 46);

LobbyPlayer* PlayerOf(IPlayerNode* node) {
    return static_cast<LobbyPlayer*>(node);
}

void LogRecord(const tagDBUserActivityProgressData& r) {
    __log(_DEBUG, "ActivitySystem::AddActivityProgress",
          "userid[%d], gameid[%d], activityid[%d], gamecoin[%d], lotterynum[%d], diamondnum[%d], "
          "redpacketnum[%d], progress[%d,%d,%d,%d,%d,%d,%d,%d,%d,%d], datetime[%lld], "
          "updatetime[%lld], isupdate[%d]",
          r.iUserId, r.iGameId, r.iActivityId, r.iGamecoin, r.iLotterynum, r.iDiamondnum,
          r.iRedpacketnum, r.iProgress1, r.iProgress2, r.iProgress3, r.iProgress4, r.iProgress5,
          r.iProgress6, r.iProgress7, r.iProgress8, r.iProgress9, r.iProgress10,
          static_cast<long long>(r.lDateTime), static_cast<long long>(r.updateTime), r.isUpdate);
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

ActivitySystem* ActivitySystem::s_pActivitySystem = nullptr;

ActivitySystem::ActivitySystem() {
    getActivityCfg();
}

ActivitySystem* ActivitySystem::getInstance() {
    if (s_pActivitySystem == nullptr) s_pActivitySystem = new ActivitySystem;
    return s_pActivitySystem;
}

void ActivitySystem::destroyInstance() {
    delete s_pActivitySystem;
    s_pActivitySystem = nullptr;
}

void ActivitySystem::SetGameProvider(GameProvider* provider) {
    m_pGameProvider = dynamic_cast<LobbyServer*>(provider);
    m_lTimerStamp = 0;
}

CIniFile* ActivitySystem::getActivityCfg() {
    m_factoryConfig.InitFile("factoryActivity.cfg");
    return &m_factoryConfig;
}

void ActivitySystem::OnTimer(long now) {
    AssertWorker();
    if (m_lTimerStamp == 0) m_lTimerStamp = ClockNow();
    if (!PeriodPassed(m_lTimerStamp, now, kReloadSeconds)) return;
    getActivityCfg();
    if (m_pGameProvider == nullptr) return;
    if (DataServerHandler* const handler = m_pGameProvider->GetDataServerHandler()) {
        handler->SendActivityConfigReq(0);
    }
}

void ActivitySystem::AddActivityHandler(IActivityHandler* handler) {
    if (handler != nullptr) m_mapActivityHandler.emplace(handler->getActivityId(), handler);
}

void ActivitySystem::RemoveActivityHandler(IActivityHandler* handler) {
    if (handler != nullptr) RemoveActivityHandler(handler->getActivityId());
}

void ActivitySystem::RemoveActivityHandler(int activityId) {
    m_mapActivityHandler.erase(activityId);
}

IActivityHandler* ActivitySystem::FindHandler(int activityId) const {
    const auto at = m_mapActivityHandler.find(activityId);
    return at == m_mapActivityHandler.end() ? nullptr : at->second;
}

bool ActivitySystem::IsForPlayer(IActivityHandler* handler, const LobbyPlayer* player) {
    return handler->isOpen() &&
           (handler->getSiteId() == 0 || handler->getSiteId() == player->m_iSiteID);
}

void ActivitySystem::SetActivityConfig(const tagDBActivityConfigData& row, bool /*finished*/) {
    AssertWorker();
    __log(_DEBUG, "ActivitySystem::SetActivityConfig", "iActivityId : %d", row.iActivityId);
    m_mapActivityConfig[row.iActivityId] = row;
    if (IActivityHandler* const handler = FindHandler(row.iActivityId)) {
        handler->setActivityConfig(row);
    }
}

void ActivitySystem::AddActivityProgress(LobbyPlayer* player,
                                         const tagDBUserActivityProgressData* record) {
    if (player == nullptr) return;
    if (record == nullptr) {
        std::printf("userid:%d, pItem == null\n", player->m_iUserID);
        AddMissingRecords(player);
        return;
    }
    std::printf("userid:%d, AddActivityProgress,iActivityId[%d]!!!!!\n", player->m_iUserID,
                record->iActivityId);
    AddRecord(player, *record);
}

void ActivitySystem::AddRecord(LobbyPlayer* player, const tagDBUserActivityProgressData& record) {
    IActivityHandler* const handler = FindHandler(record.iActivityId);
    if (handler == nullptr || !IsForPlayer(handler, player)) return;
    tagDBUserActivityProgressData* stored = nullptr;
    if (FindProgressByUserID(player->m_iUserID, record.iActivityId, &stored)) {
        __log(_ERROR, "ActivitySystem::AddActivityProgress", "userid:%d, activityid:%d exist!",
              player->m_iUserID, record.iActivityId);
        return;
    }
    stored = &m_mapActivityProgress.emplace(player->m_iUserID, record)->second;
    LogRecord(*stored);
    handler->startInit(player, stored, false);
}

void ActivitySystem::AddMissingRecords(LobbyPlayer* player) {
    for (const auto& [id, handler] : m_mapActivityHandler) {
        std::printf("activityid:%d, isopen:%d, siteid:%d:%d\n", id, handler->isOpen(),
                    handler->getSiteId(), player->m_iSiteID);
        tagDBUserActivityProgressData* stored = nullptr;
        if (!IsForPlayer(handler, player) || handler->getConfig().isMultiGame != 0 ||
            FindProgressByUserID(player->m_iUserID, id, &stored)) {
            continue;
        }
        tagDBUserActivityProgressData record;
        ZeroMsg(record);
        record.iUserId = player->m_iUserID;
        record.iActivityId = id;
        std::printf("111111111111111iUserID:%d, iActivityId:%d\n", record.iUserId, id);
        stored = &m_mapActivityProgress.emplace(player->m_iUserID, record)->second;
        handler->startInit(player, stored, true);
    }
}

int ActivitySystem::FindProgressByUserID(int userId, int activityId,
                                         tagDBUserActivityProgressData** out) {
    const auto [begin, end] = m_mapActivityProgress.equal_range(userId);
    for (auto at = begin; at != end; ++at) {
        if (at->second.iActivityId != activityId) continue;
        *out = &at->second;
        return 1;
    }
    return 0;
}

void ActivitySystem::SendProgressBatch(int count) {
    tagUserActivityProgressUpdate head;
    ZeroMsg(head);
    head.iCount = count;
    std::memcpy(m_updateBuffer, &head, sizeof(head));
    const size_t length = sizeof(head) + count * sizeof(tagDBUserActivityProgressData);
    if (m_pGameProvider != nullptr) {
        m_pGameProvider->SendMsgToDataServer(ACT_PROGRESS_UPDATE, m_updateBuffer,
                                             static_cast<long>(length));
    }
}

void ActivitySystem::RemoveActivityProgress(LobbyPlayer* player) {
    AssertWorker();
    if (player == nullptr) return;
    __log(_DEBUG, "ActivitySystem::RemoveActivityProgress", "userid[%d]", player->m_iUserID);
    const auto [begin, end] = m_mapActivityProgress.equal_range(player->m_iUserID);
    int count = 0;
    for (auto at = begin; at != end; ++at) {
        tagDBUserActivityProgressData record = at->second;
        if (record.isUpdate == 0) continue;
        std::printf("userid:%d, activityId:%d, update\n", record.iUserId, record.iActivityId);
        if (count == kMaxBatch) {
            SendProgressBatch(count);
            count = 0;
        }
        record.updateTime = ClockNow();
        std::memcpy(m_updateBuffer + sizeof(tagUserActivityProgressUpdate) + count * sizeof(record),
                    &record, sizeof(record));
        ++count;
    }
    if (count > 0) SendProgressBatch(count);
    m_mapActivityProgress.erase(begin, end);
}

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

void ActivitySystem::SetUserAccountTypeConfig(void* data, long length) {
    constexpr const char* kTag = "ActivitySystem::SetUserAccountTypeConfig";
    if (length != static_cast<long>(sizeof(UserAccountTypeConfig))) {
        __log(_ERROR, kTag, "buffer length is not match ! length[%d] != sizeof(%d)",
              static_cast<int>(length), static_cast<int>(sizeof(UserAccountTypeConfig)));
        return;
    }
    m_userAccountTypeConfig = ReadMsg<UserAccountTypeConfig>(data, length);
    const UserAccountTypeConfig& c = m_userAccountTypeConfig;
    __log(_DEBUG, kTag,
          "highpay[%d], highyb[%d], lowpay[%d], lowyb[%d], machineindex[%d], playtimes[%d]",
          c.iHighPayamount, c.iHighYbamount, c.iLowPayamount, c.iLowYbamount, c.iMachineIndex,
          c.iPlayTimes);
}

int ActivitySystem::GetUserAccountType(int payAmount, int machineIndex, int playTimes,
                                       int ingotAmount) const {
    const UserAccountTypeConfig& c = m_userAccountTypeConfig;
    const int64_t sum = int64_t{c.iHighPayamount} + c.iHighYbamount + c.iLowPayamount +
                        c.iLowYbamount + c.iMachineIndex + c.iPlayTimes;
    if (sum == 0) return 0;
    if (payAmount >= c.iHighPayamount && ingotAmount <= c.iHighYbamount) return 4;
    if (c.iLowPayamount <= payAmount && payAmount < c.iHighPayamount &&
        ingotAmount <= c.iLowYbamount) {
        return 3;
    }
    if (machineIndex > c.iMachineIndex) return 1;
    return playTimes < c.iPlayTimes ? 2 : 0;
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
        m_pGameProvider->m_closedAccounts.Find(result.ulPlayerNode, result.ulPlayerNodeId);
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

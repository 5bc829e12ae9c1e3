// The players' progress records.
//
// A login asks the data server for the player's records; they are filed as they come, and the end
// of the list makes empty ones for the open activities that have none. Activities change a record
// in place and mark it. When the session closes, what is marked is written back in batches and all
// of it forgotten: the next login asks again.
#include <cstdio>
#include <cstring>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "activitySystem/ActivitySystem.h"

namespace {

constexpr int kMaxBatch =
    (BUFFER_SIZE - sizeof(tagUserActivityProgressUpdate)) / sizeof(tagDBUserActivityProgressData);
static_assert(kMaxBatch == 46);

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

}  // namespace

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
        Zeroed<tagDBUserActivityProgressData> record;
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
    Zeroed<tagUserActivityProgressUpdate> head;
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

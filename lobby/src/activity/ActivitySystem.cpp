// The registry itself: its handlers, their configuration and the timer.
//
// An activity's row comes from the data server, after its link comes up and every 30 minutes; its
// handler is registered by the lobby before that and opens and closes by the row. Both outlive any
// player; the records of the players, in ActivityProgress.cpp, do not.
#include "activitySystem/ActivitySystem.h"

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "DataServerHandler.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "Period.h"

namespace {

constexpr long kReloadSeconds = 1800;

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

#include "RelayGuard.h"

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "LobbyMetrics.h"

bool RelayGuard::MayAsk(const LobbyPlayer& asker, bool login) {
    AssertWorker();
    if (m_ulStrangerRate == 0 || login || asker.m_bConfirmed) return true;
    if (const long now = ClockUptime(); now != m_lStrangerTime) {
        m_lStrangerTime = now;
        m_ulStrangers = 0;
    }
    if (m_ulStrangers >= m_ulStrangerRate) return false;
    ++m_ulStrangers;
    return true;
}

bool RelayGuard::Refuse(const IPlayerNode* link, uint16_t type, const char* why) {
    AssertWorker();
    ++m_ulRefused;
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->notRelayed.Add();
    if (const long now = ClockUptime(); now != m_lRefusedTime) {
        m_lRefusedTime = now;
        __log(_WARN, "LobbyServer::Relay",
              "node[0x%08x], type[0x%x] is not relayed, [%llu] so far, %s", NodeTag(link), type,
              static_cast<unsigned long long>(m_ulRefused), why);
    }
    return false;
}

#include "SessionList.h"

#include <algorithm>

#include "Common/WorkerThread.h"
#include "LobbyPlayer.h"

LobbyPlayer* SessionList::Next(const LobbyPlayer* player) {
    return player->m_lpNext;
}

void SessionList::Insert(LobbyPlayer* player) {
    AssertWorker();
    player->m_lpNext = m_lpHead;
    if (m_lpHead != nullptr) m_lpHead->m_lpPrior = player;
    m_lpHead = player;
    m_mapUserSessions[player->m_iUserID].push_back(player);
}

bool SessionList::Remove(LobbyPlayer* player) {
    AssertWorker();
    if (player->m_lpPrior != nullptr) {
        player->m_lpPrior->m_lpNext = player->m_lpNext;
    } else if (m_lpHead == player) {
        m_lpHead = player->m_lpNext;
    }
    if (player->m_lpNext != nullptr) player->m_lpNext->m_lpPrior = player->m_lpPrior;
    player->m_lpNext = nullptr;
    player->m_lpPrior = nullptr;

    const auto entry = m_mapUserSessions.find(player->m_iUserID);
    if (entry == m_mapUserSessions.end()) return false;
    const auto erased = std::erase(entry->second, player);
    if (entry->second.empty()) m_mapUserSessions.erase(entry);
    return erased != 0;
}

const std::vector<LobbyPlayer*>& SessionList::Of(int userID) const {
    AssertWorker();
    static const std::vector<LobbyPlayer*> none;
    const auto entry = m_mapUserSessions.find(userID);
    return entry != m_mapUserSessions.end() ? entry->second : none;
}

LobbyPlayer* SessionList::Find(int userID, const LobbyPlayer* except) const {
    const std::vector<LobbyPlayer*>& sessions = Of(userID);
    const auto found = std::find_if(sessions.rbegin(), sessions.rend(),
                                    [&](const LobbyPlayer* player) { return player != except; });
    return found != sessions.rend() ? *found : nullptr;
}

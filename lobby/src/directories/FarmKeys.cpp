#include "FarmKeys.h"

#include <algorithm>

#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "LobbyPlayer.h"
#include "MsgView.h"

namespace {

// The tags of the client's requests, which operators know.
constexpr char kSubscribe[] = "LobbyClientHandler::subscribe";
constexpr char kUnsubscribe[] = "LobbyClientHandler::unsubscribe";

unsigned long NodeIdOf(const LobbyPlayer& player) {
    return player;
}

// A line per subscriber of the key, and one per entry that is to go.
void LogRemoval(const std::vector<PublishPlayer>& subscribers, const LobbyPlayer& player) {
    if (!LogEnabled(_DEBUG)) return;
    for (const PublishPlayer& s : subscribers) {
        __log(_DEBUG, kUnsubscribe, "userid[%d, %d] ulPlayerNodeId[%d, %d]", player.m_iUserID,
              s.iUserID, static_cast<int>(NodeIdOf(player)), static_cast<int>(s.ulPlayerNodeId));
    }
    for (const PublishPlayer& s : subscribers) {
        if (s.iUserID != player.m_iUserID) continue;
        __log(_DEBUG, kUnsubscribe, "userid[%d] ulPlayerNodeId[%d]", s.iUserID,
              static_cast<int>(s.ulPlayerNodeId));
    }
}

}  // namespace

bool FarmKeys::IsAllowed(const std::string& key) const {
    AssertWorker();
    if (key.empty()) {
        __log(_ERROR, "LobbyServer::IsExistSubscribeKey", "szKey is nullptr.");
        return false;
    }
    return std::any_of(
        m_lSubscribeKeyInfo.begin(), m_lSubscribeKeyInfo.end(),
        [&key](const WebFarmSubscribeKeyInfo& info) { return TextOf(info.szKey) == key; });
}

void FarmKeys::Subscribe(LobbyPlayer& player, const std::string& key) {
    AssertWorker();
    AddSubscriber(player, key);
    auto& keys = m_mapPlayerToStrKey[player.m_iUserID];
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
}

void FarmKeys::AddSubscriber(LobbyPlayer& player, const std::string& key) {
    auto& subscribers = m_mapStrKeyToPlayer[key];
    const PublishPlayer entry{player.m_iUserID, NodeHandle(&player), NodeIdOf(player)};
    const bool known =
        std::any_of(subscribers.begin(), subscribers.end(), [&entry](const PublishPlayer& s) {
            return s.iUserID == entry.iUserID && s.ulPlayerNodeId == entry.ulPlayerNodeId;
        });
    if (!known) {
        subscribers.push_back(entry);
        return;
    }
    __log(_DEBUG, kSubscribe, "userid[%d] ulPlayerNodeId[%d] key[%s] modify subscribe success ",
          entry.iUserID, static_cast<int>(entry.ulPlayerNodeId), key.c_str());
}

void FarmKeys::RemoveSubscriber(const LobbyPlayer& player, const std::string& key, bool logEach) {
    const auto it = m_mapStrKeyToPlayer.find(key);
    if (it == m_mapStrKeyToPlayer.end()) {
        __log(_ERROR, kUnsubscribe, "userid[%d] m_mapStrKeyToPlayer not find key[%s]",
              player.m_iUserID, key.c_str());
        return;
    }
    if (logEach) LogRemoval(it->second, player);
    std::erase_if(it->second,
                  [&player](const PublishPlayer& s) { return s.iUserID == player.m_iUserID; });
}

void FarmKeys::Unsubscribe(const LobbyPlayer& player, const std::string& key) {
    AssertWorker();
    if (!key.empty()) {
        RemoveSubscriber(player, key, true);
        __log(_DEBUG, kUnsubscribe, "userid[%d] key[%s] unsubscribe success", player.m_iUserID,
              key.c_str());
    }
    const auto it = m_mapPlayerToStrKey.find(player.m_iUserID);
    if (it == m_mapPlayerToStrKey.end()) {
        __log(_ERROR, kUnsubscribe, "userid[%d] m_mapPlayerToStrKey not find key[%s]",
              player.m_iUserID, key.c_str());
        return;
    }
    if (!key.empty()) {
        // The user's list stays, even when it is empty now; the close of the session removes it.
        std::erase(it->second, key);
        return;
    }
    for (const std::string& each : it->second)
        RemoveSubscriber(player, each, false);
    m_mapPlayerToStrKey.erase(it);
    __log(_DEBUG, kUnsubscribe, "userid[%d] ulPlayerNodeId[%d] all key unsubscribe success",
          player.m_iUserID, static_cast<int>(NodeIdOf(player)));
}

void FarmKeys::DropEarly(const LobbyPlayer& player) {
    AssertWorker();
    const auto nobody = m_mapPlayerToStrKey.find(0);
    if (nobody == m_mapPlayerToStrKey.end()) return;
    // A key stays while another connection without a notice has it.
    std::erase_if(nobody->second, [&](const std::string& key) {
        auto& subscribers = m_mapStrKeyToPlayer[key];
        std::erase_if(subscribers, [&player](const PublishPlayer& s) {
            return s.iUserID == 0 && s.ulPlayerNodeId == NodeIdOf(player);
        });
        return std::none_of(subscribers.begin(), subscribers.end(),
                            [](const PublishPlayer& s) { return s.iUserID == 0; });
    });
    if (nobody->second.empty()) m_mapPlayerToStrKey.erase(nobody);
}

const std::vector<PublishPlayer>* FarmKeys::SubscribersOf(const std::string& key) const {
    AssertWorker();
    const auto it = m_mapStrKeyToPlayer.find(key);
    return it == m_mapStrKeyToPlayer.end() ? nullptr : &it->second;
}

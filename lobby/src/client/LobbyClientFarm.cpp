// Clients' subscriptions to farm message keys. A user stands among a key's subscribers exactly as
// long as the key stands among the user's keys.
#include <algorithm>

#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "MsgView.h"

namespace {

unsigned long NodeIdOf(const LobbyPlayer& player) {
    return player;
}

// Adds the player once per connection. One user on two connections stands twice.
void AddSubscriber(std::vector<PublishPlayer>& subscribers, LobbyPlayer& player,
                   const std::string& key) {
    const PublishPlayer entry{player.m_iUserID, NodeHandle(&player), NodeIdOf(player)};
    const bool known =
        std::any_of(subscribers.begin(), subscribers.end(), [&entry](const PublishPlayer& s) {
            return s.iUserID == entry.iUserID && s.ulPlayerNodeId == entry.ulPlayerNodeId;
        });
    if (!known) {
        subscribers.push_back(entry);
        return;
    }
    __log(_DEBUG, "LobbyClientHandler::subscribe",
          "userid[%d] ulPlayerNodeId[%d] key[%s] modify subscribe success ", entry.iUserID,
          static_cast<int>(entry.ulPlayerNodeId), key.c_str());
}

// A line per subscriber of the key, and one per entry that is to go.
void LogRemoval(const std::vector<PublishPlayer>& subscribers, const LobbyPlayer& player) {
    static constexpr char tag[] = "LobbyClientHandler::unsubscribe";
    if (!LogEnabled(_DEBUG)) return;
    for (const PublishPlayer& s : subscribers) {
        __log(_DEBUG, tag, "userid[%d, %d] ulPlayerNodeId[%d, %d]", player.m_iUserID, s.iUserID,
              static_cast<int>(NodeIdOf(player)), static_cast<int>(s.ulPlayerNodeId));
    }
    for (const PublishPlayer& s : subscribers) {
        if (s.iUserID != player.m_iUserID) continue;
        __log(_DEBUG, tag, "userid[%d] ulPlayerNodeId[%d]", s.iUserID,
              static_cast<int>(s.ulPlayerNodeId));
    }
}

// Removes every entry of the user, on whichever connection it was made: when the old connection
// of a user who came back closes, the subscriptions of the new one go with it. A key keeps its
// subscriber list when the last one goes. Each entry leaves its lines for one key alone (each): a
// player who closes would write one for every other subscriber of all of his keys.
void RemoveFromKey(LobbyServer& server, const LobbyPlayer& player, const std::string& key,
                   bool each) {
    const auto it = server.m_mapStrKeyToPlayer.find(key);
    if (it == server.m_mapStrKeyToPlayer.end()) {
        __log(_ERROR, "LobbyClientHandler::unsubscribe",
              "userid[%d] m_mapStrKeyToPlayer not find key[%s]", player.m_iUserID, key.c_str());
        return;
    }
    if (each) LogRemoval(it->second, player);
    std::erase_if(it->second,
                  [&player](const PublishPlayer& s) { return s.iUserID == player.m_iUserID; });
}

}  // namespace

void LobbyClientHandler::subscribe(IPlayerNode* node, void* data, long length) {
    static constexpr char tag[] = "LobbyClientHandler::subscribe";
    if (node == nullptr) {
        __log(_ERROR, tag, "lpPlayer");
        return;
    }
    if (length != static_cast<long>(sizeof(ClientSubscribeMsg))) {
        __log(_ERROR, tag, "size[%d] != length[%d] not match",
              static_cast<int>(sizeof(ClientSubscribeMsg)), static_cast<int>(length));
        return;
    }
    LobbyPlayer& player = *static_cast<LobbyPlayer*>(node);
    const auto msg = ReadMsg<ClientSubscribeMsg>(data, length);
    const std::string key = TextStr(msg.szKey);
    if (!m_lpLobbyServer->IsExistSubscribeKey(key)) {
        __log(_ERROR, tag, "key[%s] [%s]not exist", key.c_str(), key.c_str());
        return;
    }
    __log(_DEBUG, tag, "userid[%d] ulPlayerNodeId[%d] key[%s] subscribe ", player.m_iUserID,
          static_cast<int>(NodeIdOf(player)), key.c_str());
    if (key.empty()) return;  // an empty key means every key when unsubscribing

    if (player.m_iUserID == 0) player.m_bEarlySubscriber = true;
    AddSubscriber(m_lpLobbyServer->m_mapStrKeyToPlayer[key], player, key);
    auto& keys = m_lpLobbyServer->m_mapPlayerToStrKey[player.m_iUserID];
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
}

void LobbyClientHandler::unsubscribe(IPlayerNode* node, const std::string& key) {
    static constexpr char tag[] = "LobbyClientHandler::unsubscribe";
    if (node == nullptr) {
        __log(_ERROR, tag, "lpPlayer");
        return;
    }
    const LobbyPlayer& player = *static_cast<LobbyPlayer*>(node);
    if (!key.empty()) {
        RemoveFromKey(*m_lpLobbyServer, player, key, true);
        __log(_DEBUG, tag, "userid[%d] key[%s] unsubscribe success", player.m_iUserID, key.c_str());
    }
    auto& keysOfUser = m_lpLobbyServer->m_mapPlayerToStrKey;
    const auto it = keysOfUser.find(player.m_iUserID);
    if (it == keysOfUser.end()) {
        __log(_ERROR, tag, "userid[%d] m_mapPlayerToStrKey not find key[%s]", player.m_iUserID,
              key.c_str());
        return;
    }
    if (!key.empty()) {
        // The user's list stays, even when it is empty now; the close of the session removes it.
        std::erase(it->second, key);
        return;
    }
    for (const std::string& each : it->second)
        RemoveFromKey(*m_lpLobbyServer, player, each, false);
    keysOfUser.erase(it);
    __log(_DEBUG, tag, "userid[%d] ulPlayerNodeId[%d] all key unsubscribe success",
          player.m_iUserID, static_cast<int>(NodeIdOf(player)));
}

void LobbyClientHandler::DropEarlySubscriptions(const LobbyPlayer& player) {
    auto& keysOfUser = m_lpLobbyServer->m_mapPlayerToStrKey;
    const auto nobody = keysOfUser.find(0);
    if (!player.m_bEarlySubscriber || nobody == keysOfUser.end()) return;
    // A key stays while another connection without a notice has it.
    std::erase_if(nobody->second, [&](const std::string& key) {
        auto& subscribers = m_lpLobbyServer->m_mapStrKeyToPlayer[key];
        std::erase_if(subscribers, [&player](const PublishPlayer& s) {
            return s.iUserID == 0 && s.ulPlayerNodeId == NodeIdOf(player);
        });
        return std::none_of(subscribers.begin(), subscribers.end(),
                            [](const PublishPlayer& s) { return s.iUserID == 0; });
    });
    if (nobody->second.empty()) keysOfUser.erase(nobody);
}

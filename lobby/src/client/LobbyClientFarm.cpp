// Clients' subscriptions to farm message keys.
#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "MsgView.h"

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
          static_cast<int>(player.m_ulPlayerNodeId.load()), key.c_str());
    if (key.empty()) return;  // an empty key means every key when unsubscribing

    if (player.m_iUserID == 0) player.m_bEarlySubscriber = true;
    m_lpLobbyServer->Farm().Subscribe(player, key);
}

void LobbyClientHandler::unsubscribe(IPlayerNode* node, const std::string& key) {
    if (node == nullptr) {
        __log(_ERROR, "LobbyClientHandler::unsubscribe", "lpPlayer");
        return;
    }
    m_lpLobbyServer->Farm().Unsubscribe(*static_cast<LobbyPlayer*>(node), key);
}

void LobbyClientHandler::DropEarlySubscriptions(const LobbyPlayer& player) {
    if (player.m_bEarlySubscriber) m_lpLobbyServer->Farm().DropEarly(player);
}

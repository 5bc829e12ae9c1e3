// Farm messages: subscribable keys, publishing and the record of direct deliveries.
#include <algorithm>
#include <cstring>

#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "ConfigServerHandler.h"
#include "LobbyServer.h"
#include "LogServerHandler.h"
#include "MsgView.h"
#include "log_server_msg.h"

void LobbyServer::publish(const std::string& key, const LobbyTransferFarmNotice& notice) {
    AssertWorker();
    static constexpr char tag[] = "LobbyServer::publish";
    const auto* const subscribers = m_Farm.SubscribersOf(key);
    if (subscribers == nullptr) {
        __log(_DEBUG, tag, "no plyaer subscribe msg key[%s]", key.c_str());
        return;
    }
    Zeroed<ClientPublishMsg> msg;
    msg.iMainID = notice.iMainID;
    msg.iSubID = notice.iSubID;
    std::memcpy(msg.szKey, key.data(), std::min(key.size(), sizeof(msg.szKey)));
    std::memcpy(msg.szMsgContent, notice.szMsgContent, sizeof(msg.szMsgContent));
    for (const PublishPlayer& subscriber : *subscribers) {
        __log(_DEBUG, tag, "user_id[%d] ulPlayerNode[%d] key[%s] publish", subscriber.iUserID,
              static_cast<int>(subscriber.ulPlayerNode), key.c_str());
        // A node closed or reused since it subscribed gets nothing.
        LobbyPlayer* const player =
            FindPlayerByHandle(subscriber.ulPlayerNode, subscriber.ulPlayerNodeId);
        if (player != nullptr) {
            SendData(player, CLIENT_PUBLISH_MSG_S2C, &msg, sizeof(msg), ENCODE_NONE);
        }
    }
    __log(_DEBUG, tag, "publish  111111111111");
}

void LobbyServer::RequestSubscribeKeyCfg() {
    static constexpr char tag[] = "LobbyServer::RequestSubscribeKeyCfg";
    if (GetConfigServerHandler() == nullptr) {
        __log(_ERROR, tag, "m_pConfigServer is nullptr.");
        return;
    }
    Zeroed<WebFarmSubscribeKeyReq> msg;
    const int sent = SendMsgToConfigServer(MSG_CONFIG_SUBSCRIBE_KEY_REQ,
                                           reinterpret_cast<unsigned char*>(&msg), sizeof(msg));
    __log(sent != 0 ? _DEBUG : _ERROR, tag, "get subscribe key req");
}

void LobbyServer::SendFarmTransferLog(const BulletinTransferFarmNotice* message) {
    if (message == nullptr) {
        __log(_ERROR, "LobbyServer::SendFarmTransferLog", "pMsg is nullptr.");
        return;
    }
    Zeroed<LobbyFarmTransferLog> record;
    record.iMainID = message->iMainID;
    record.iSubID = message->iSubID;
    record.iUserID = message->iUserID;
    // The port tells which of the lobbies delivered it.
    record.iTransferPort = m_iPort;
    std::memcpy(record.szMsgContent, message->szMsgContent, sizeof(record.szMsgContent));
    GetLogServerHandler()->SendMsgToLogServer(MSG_LOG_FARM_TRANSFER, &record, sizeof(record));
}

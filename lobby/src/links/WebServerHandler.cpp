#include "WebServerHandler.h"

#include <cstring>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "DispatchTable.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "Period.h"

namespace {

using Web = WebServerHandler;

constexpr auto kWebDispatch = LinkMessages<Web>({
    {MSG_WEB_RECHARGE_NOTICE, &Web::HandleRechargeSucessNotice},
    {MSG_WEB_CONSUME_NOTICE, &Web::HandleConsumeSucessNotice},
    {MSG_WEB_SYNC_USER_DATA, &Web::HandleSychUserDataMsg},
    {MSG_WEB_WIN_BULLETIN, &Web::HandlerWinBulletinNotice},
    {MSG_WEB_SYS_BULLETIN, &Web::HandlerSysBulletinNotice},
    {MSG_WEB_FARM_TRANSFER, &Web::HandleFarmTransferMsg},
});

constexpr uint16_t kMaxBroadcast = 5;

}  // namespace

int64_t WebServerHandler::ConnectServer() {
    const int64_t status = Open([this] { RegisteWebServer(m_lpWebServer); });
    // Registration follows whatever the status; without a node it only leaves its log line.
    if (status != 0) RegisteWebServer(nullptr);
    return status;
}

int WebServerHandler::RegisteWebServer(IPlayerNode* node) {
    __log(_DEBUG, "WebServerHandler::RegisteWebServer", "register bulletin server!!!");
    if (node == nullptr) return 1;
    Zeroed<RegisterWebServerReq> msg;
    const bool sent =
        m_lpLobbyServer->SendData(node, MSG_WEB_REGISTER_REQ, &msg, sizeof(msg), ENCODE_NONE);
    return sent ? 0 : 1;
}

bool WebServerHandler::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return false;
    if (!kWebDispatch.Call(*this, type, data, length)) {
        __log(_ERROR, "WebServerHandler::OnNetMessage",
              "webserver response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node),
              static_cast<unsigned>(type));
    }
    return true;
}

void WebServerHandler::OnTimer(long now) {
    AssertWorker();
    // The first tick starts the pace by the clock, not by its argument.
    if (!m_lLastSend) m_lLastSend = static_cast<long>(ClockNow());
    // The pace goes on when nothing is queued: a bulletin that comes late waits for the next beat.
    if (!PeriodPassed(*m_lLastSend, now, m_lpLobbyServer->m_iSendBulletinTime)) return;

    std::memset(m_sendBuffer, 0, sizeof(m_sendBuffer));
    uint16_t count = 0;
    char* to = m_sendBuffer + offsetof(WinBulletinNotice, bulletinItem);
    WinCoinBulletinNotice_2 item;
    while (count < kMaxBroadcast && m_lBulletinItem.Take(item)) {
        std::memcpy(to + count * sizeof(item), &item, sizeof(item));
        ++count;
    }
    if (count == 0) return;
    std::memcpy(m_sendBuffer + offsetof(WinBulletinNotice, usBulletNum), &count, sizeof(count));
    __log(_WARN, "WebServerHandler::OnTimer", "send bullet num[%d], leftsize[%d]....", count,
          static_cast<int>(m_lBulletinItem.Size()));
    m_lpLobbyServer->SendMsgToAllLobbyClent(
        MSG_CLIENT_BULLETIN, m_sendBuffer,
        static_cast<long>(offsetof(WinBulletinNotice, bulletinItem) + count * sizeof(item)));
}

void WebServerHandler::PushIntoBulletinNotice(WinCoinBulletinNotice_2& item) {
    m_lBulletinItem.Push(item);
}

void WebServerHandler::HandlerWinBulletinNotice(void* data, long length) {
    static constexpr char tag[] = "WebServerHandler::HandlerWinBulletinNotice";
    if (length != static_cast<long>(sizeof(WinCoinBulletinNotice))) {
        // The line names 576, the size of an older version of the message; log readers know it.
        __log(_ERROR, tag, "buffer length is not match ! length[%d] != sizeof(%d)",
              static_cast<int>(length), 576);
        return;
    }
    // Texts are copied with their full arrays, terminated or not. No channel: for everybody.
    const auto msg = ReadMsg<WinCoinBulletinNotice>(data, length);
    Zeroed<WinCoinBulletinNotice_2> item;
    item.usBulletType = msg.usBulletType;
    item.iUserId = msg.iUserId;
    item.iGameId = msg.iGameId;
    item.iServerId = msg.iServerId;
    item.iAwardType = msg.iAwardType;
    item.iAwardNum = msg.iAwardNum;
    std::memcpy(item.szNickName, msg.szNickName, sizeof(item.szNickName));
    std::memcpy(item.szUserName, msg.szUserName, sizeof(item.szUserName));
    std::memcpy(item.szServerName, msg.szServerName, sizeof(item.szServerName));
    std::memcpy(item.szContent, msg.szContent, sizeof(item.szContent));
    PushIntoBulletinNotice(item);
    __log(_WARN, tag, "receive bulletin. size[%d].", static_cast<int>(m_lBulletinItem.Size()));
}

void WebServerHandler::HandlerSysBulletinNotice(void* data, long length) {
    constexpr size_t offset = offsetof(SysBulletinNotice, bulletinItem);
    const auto count =
        ReadItem<uint16_t>(data, length, offsetof(SysBulletinNotice, usBulletNum), 0);
    // Backwards, so that the first item of the message ends at the front.
    for (size_t i = ItemsWithin<SysBulletinCommon>(length, offset, count); i-- > 0;) {
        const auto from = ReadItem<SysBulletinCommon>(data, length, offset, i);
        Zeroed<WinCoinBulletinNotice_2> item;
        item.usBulletType = from.usBulletType;
        std::memcpy(item.szContent, from.szContent, sizeof(item.szContent));
        std::memcpy(item.cChannelId, from.cChannelId, sizeof(item.cChannelId));
        PushIntoBulletinNotice(item);
    }
    __log(_WARN, "WebServerHandler::HandlerSysBulletinNotice", "receive bulletin. size[%d].",
          static_cast<int>(m_lBulletinItem.Size()));
}

void WebServerHandler::HandleFarmTransferMsg(void* data, long length) {
    static constexpr char tag[] = "WebServerHandler::HandleFarmTransferMsg";
    if (length != static_cast<long>(sizeof(BulletinTransferFarmNotice))) {
        __log(_ERROR, tag, "length[%d] != FarmNoticeClientMsg[%d]", static_cast<int>(length),
              static_cast<int>(sizeof(BulletinTransferFarmNotice)));
        return;
    }
    const auto msg = ReadMsg<BulletinTransferFarmNotice>(data, length);
    Zeroed<LobbyTransferFarmNotice> notice;
    notice.iMainID = msg.iMainID;
    notice.iSubID = msg.iSubID;
    notice.iUserID = msg.iUserID;
    std::memcpy(notice.szMsgContent, msg.szMsgContent, sizeof(notice.szMsgContent));
    const std::string key = TextStr(msg.szMessageKey);
    __log(_DEBUG, tag, "user_id[%d] main_id[%d] sub_id[%d] msg_key[%s] 转发农场消息", msg.iUserID,
          msg.iMainID, msg.iSubID, key.c_str());

    // The key is looked up first, so that an empty one leaves its line for direct messages, too.
    // Published messages are not recorded.
    if (m_lpLobbyServer->IsExistSubscribeKey(key) && msg.iMainID == FARM_PUBLISH_MAIN_ID &&
        msg.iSubID == FARM_PUBLISH_SUB_ID) {
        __log(_DEBUG, tag, "user_id[%d] main_id[%d] sub_id[%d] msg_key[%s] 转发推送消息",
              msg.iUserID, msg.iMainID, msg.iSubID, key.c_str());
        m_lpLobbyServer->publish(key, notice);
    } else if (DeliverFarmNotice(notice)) {
        m_lpLobbyServer->SendFarmTransferLog(&msg);
    }
}

// To the user's first session, or with an id of 0 and below to every session. True when at least
// one copy was queued for sending.
bool WebServerHandler::DeliverFarmNotice(LobbyTransferFarmNotice& notice) {
    bool sent = false;
    LobbyPlayer* next = nullptr;
    for (LobbyPlayer* player = m_lpLobbyServer->GetClientLobbyPlayer(); player != nullptr;
         player = next) {
        next = player->m_lpNext;  // before a failed send can unlink the session
        if (notice.iUserID > 0 && player->m_iUserID != notice.iUserID) continue;
        sent |= m_lpLobbyServer->SendData(player, MSG_CLIENT_FARM_NOTICE, &notice, sizeof(notice),
                                          ENCODE_NONE);
        if (notice.iUserID > 0) break;
    }
    return sent;
}

void WebServerHandler::HandleRechargeSucessNotice(void* data, long length) {
    m_lpLobbyServer->HandleRechargeSucessNotice(data, length);
}

void WebServerHandler::HandleConsumeSucessNotice(void* data, long length) {
    m_lpLobbyServer->HandleConsumeSucessNotice(data, length);
}

void WebServerHandler::HandleSychUserDataMsg(void* data, long length) {
    m_lpLobbyServer->HandleSychUserDataMsg(data, length);
}

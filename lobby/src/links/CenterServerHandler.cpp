#include "CenterServerHandler.h"

#include <cstdio>

#include "Common/Log.h"
#include "DispatchTable.h"
#include "LobbyServer.h"
#include "MsgView.h"

namespace {

using Center = CenterServerHandler;

constexpr auto kCenterDispatch = LinkMessages<Center>({
    {MSG_CENTER_SERVER_INFO, &Center::OnCenterServerInfoNotice},
    {MSG_CENTER_SERVER_UPDATE, &Center::OnCenterServerInfoUpdate},
    {MSG_CENTER_SERVER_TERMINATE, &Center::OnCenterTerminateNotice},
    {MSG_CENTER_SITE_GAME_LIST, &Center::OnCenterServerGameListNotice},
    {MSG_CENTER_SITE_GAME_TERMINATE, &Center::OnCenterSiteGameTerminateNotice},
    {MSG_CENTER_KICK_OUT, &Center::OnCenterNoticeKickOut},
    {MSG_CENTER_SERVER_CLOSE, &Center::OnCenterServerCloseNotice},
});

constexpr char kNotEqual[] = "buffer length is not match ! length[%d] != sizeof(%d)";
// The "<" is printed where equality is checked as well; operators search for it.
constexpr char kTooLong[] = "buffer length is not match ! length[%d] < sizeof(%d)";
constexpr char kCloseText[] = "server close notice, game_id[%u], server_id[%u]";
constexpr char kInfoNoticeTag[] = "CenterServerHandler::OnCenterServerInfoNotice";

constexpr int kMaxSiteEntries = 50;

// Calls take(entry, index) for those of a site list that the message holds. Neither site list
// closes the link over a bad count: the message is dropped, and false.
template <class Entry>
bool ForEachEntry(const void* data, long length, size_t offset, int32_t count, const auto& take) {
    if (count < 0 || count > kMaxSiteEntries) return false;
    const size_t entries = ItemsWithin<Entry>(length, offset, static_cast<size_t>(count));
    for (size_t i = 0; i < entries; ++i)
        take(ReadItem<Entry>(data, length, offset, i), static_cast<int>(i));
    return true;
}

}  // namespace

int64_t CenterServerHandler::ConnectServer() {
    return Open([this] { CallCenterServerInfo(m_lpCenterServer); });
}

void CenterServerHandler::CallCenterServerInfo(IPlayerNode* node) {
    __log(_DEBUG, "CenterServerHandler::CallCenterServerInfo", "start CallCenterServerInfo!!!");
    if (node == nullptr) return;
    Zeroed<tagServerRegisterReq> msg;
    msg.iRegisterType = 3;  // a lobby; its game and server ids are 0
    m_lpLobbyServer->SendData(node, MSG_CENTER_REGISTER_REQ, &msg, sizeof(msg), ENCODE_NONE);
}

bool CenterServerHandler::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return false;
    // Unknown types are swallowed without a line: the center announces more than lobbies need.
    kCenterDispatch.Call(*this, type, data, length);
    return true;
}

void CenterServerHandler::refreshShowGameList() {
    m_ServerList.refreshShowGameList(m_GameSiteList);
}

// A notice of another size comes from a center of another version or from a torn stream; closing
// the link has everything sent anew.
template <class Notice>
std::optional<Notice> CenterServerHandler::ReadWhole(const char* tag, const void* data,
                                                     long length) {
    if (length == static_cast<long>(sizeof(Notice))) return ReadMsg<Notice>(data, length);
    __log(_ERROR, tag, kNotEqual, static_cast<int>(length), static_cast<int>(sizeof(Notice)));
    m_lpLobbyServer->Close(m_lpCenterServer);
    return std::nullopt;
}

// Only the upper bound is checked; the count is held neither against 10 nor against the length.
void CenterServerHandler::OnCenterServerInfoNotice(void* data, long length) {
    using Notice = tagServerInfoNotice;
    if (length > static_cast<long>(sizeof(Notice))) {
        __log(_ERROR, kInfoNoticeTag, kTooLong, static_cast<int>(length),
              static_cast<int>(sizeof(Notice)));
        m_lpLobbyServer->Close(m_lpCenterServer);
        return;
    }
    const auto count = ReadItem<uint16_t>(data, length, offsetof(Notice, usListCount), 0);
    std::printf("%s -> listcount[%d]\n", "OnCenterServerInfoNotice", count);

    // The last record rebuilds the show lists. Where the message ends before its count does, that
    // is the last record it holds: the batch must still become visible.
    constexpr size_t offset = offsetof(Notice, ServerInfoList);
    const size_t records = ItemsWithin<tagServerInfo>(length, offset, count);
    for (size_t i = 0; i < records; ++i) {
        auto info = ReadItem<tagServerInfo>(data, length, offset, i);
        std::printf("gameid[%d] serverid[%d] servername[%s] telecomip[%s] port[%d]\n",
                    info.usGameID, info.usServerID, TextStr(info.szServerName).c_str(),
                    TextStr(info.szTelecomIP).c_str(), info.usServerPort);
        m_ServerList.InsertInfo(info, m_GameSiteList, i + 1 == records);
    }
}

void CenterServerHandler::OnCenterServerInfoUpdate(void* data, long length) {
    static constexpr char tag[] = "CenterServerHandler::OnCenterServerInfoUpdate";
    auto msg = ReadWhole<tagUpdateServerInfo>(tag, data, length);
    if (msg) m_ServerList.UpdateInfo(*msg, m_GameSiteList);
}

void CenterServerHandler::OnCenterServerCloseNotice(void* data, long length) {
    static constexpr char tag[] = "CenterServerHandler::OnCenterServerCloseNotice";
    auto msg = ReadWhole<tagServerCloseNotice>(tag, data, length);
    if (!msg) return;
    __log(_DEBUG, tag, kCloseText, msg->usGameID, msg->usServerID);
    m_ServerList.CloseInfo(*msg, m_GameSiteList);
}

void CenterServerHandler::OnCenterTerminateNotice(void* data, long length) {
    static constexpr char tag[] = "CenterServerHandler::OnCenterTerminateNotice";
    auto msg = ReadWhole<tagTerminateNotice>(tag, data, length);
    if (!msg) return;
    // The words of the close notice: log readers find both by them.
    __log(_DEBUG, tag, kCloseText, msg->usGameID, msg->usServerID);
    m_ServerList.DeleteInfo(*msg, m_GameSiteList, true);
}

void CenterServerHandler::OnCenterServerGameListNotice(void* data, long length) {
    static constexpr char tag[] = "CenterServerHandler::OnCenterServerGameListNotice";
    using Notice = tagLoginMobileCenterSiteGameListMsg;
    if (data == nullptr) return;
    const auto count = ReadItem<int32_t>(data, length, offsetof(Notice, iListCount), 0);
    const auto take = [this](tagSiteMobileGameList entry, int index) {
        if (LogEnabled(_DEBUG)) {
            __log(_DEBUG, tag,
                  "LoginMibileCenterSiteGameListMsg size[%d], gameID[%d], siteID[%d], "
                  "szGamename[%s]!",
                  index, entry.iGameID, entry.iSiteID, TextStr(entry.szGameName).c_str());
        }
        m_GameSiteList.InsertInfo(entry);
    };
    if (!ForEachEntry<tagSiteMobileGameList>(data, length, offsetof(Notice, GameList), count, take))
        __log(_ERROR, tag, "LoginMibileCenterSiteGameListMsg size[%d] error!", count);
}

void CenterServerHandler::OnCenterSiteGameTerminateNotice(void* data, long length) {
    using Notice = tagLoginCenterSiteGameTerminateNotice;
    const auto count = ReadItem<int32_t>(data, length, offsetof(Notice, iSiteGameListCount), 0);
    const auto take = [this](TerminateGameSiteInfo key, int) { m_GameSiteList.DeleteInfo(key); };
    if (!ForEachEntry<TerminateGameSiteInfo>(data, length, offsetof(Notice, siteGameInfo), count,
                                             take)) {
        __log(_ERROR, "CenterServerHandler::OnCenterSiteGameTerminateNotice",
              "LoginCenterSiteGameTerminateNotice size[%d] error!", count);
    }
}

void CenterServerHandler::OnCenterNoticeKickOut(void* data, long length) {
    if (length != static_cast<long>(sizeof(NoticeLobbyKickOut))) {
        __log(_ERROR, kInfoNoticeTag, kTooLong, static_cast<int>(length),
              static_cast<int>(sizeof(NoticeLobbyKickOut)));
        m_lpLobbyServer->Close(m_lpCenterServer);
        return;
    }
    // The user logged in on another lobby: whichever session is here makes way.
    const auto msg = ReadMsg<NoticeLobbyKickOut>(data, length);
    __log(_DEBUG, "CenterServerHandler::OnCenterNoticeKickOut", "recv kickout userid[%d]",
          msg.iUserID);
    m_lpLobbyServer->KickOutLobbyPlayer(msg.iUserID, nullptr);
}

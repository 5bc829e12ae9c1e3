#include "CenterServer.h"

#include <algorithm>

namespace sim {
namespace {

// Length up to the last used record.
template <class Msg, size_t N, class Record>
wire::Bytes Shortened(uint16_t type, const Msg& msg, Record (Msg::*)[N], size_t count) {
    return wire::Pack(type, &msg, sizeof(msg) - (N - count) * sizeof(Record));
}

// Records in as many messages as they fill; none in none.
template <class Msg, class Record, size_t N>
void SendParts(Link& link, uint16_t type, const std::vector<Record>& records,
               Record (Msg::*list)[N], auto Msg::*counter) {
    for (size_t at = 0; at < records.size(); at += N) {
        const size_t count = std::min(N, records.size() - at);
        Msg part{};
        std::copy_n(&records[at], count, part.*list);
        part.*counter = static_cast<std::remove_reference_t<decltype(part.*counter)>>(count);
        link.Send(Shortened(type, part, list, count));
    }
}

// A message about one game server.
template <class Msg>
Msg About(const tagServerInfo& server) {
    Msg msg{};
    msg.usGameID = server.usGameID;
    msg.usServerID = server.usServerID;
    return msg;
}

}  // namespace

CenterServer::CenterServer(Platform& platform) : BackEnd(platform, ServerKind::Center) {
    On(MSG_CENTER_REGISTER_REQ, &CenterServer::OnRegister);
    On(MSG_CENTER_KICK_OUT, &CenterServer::OnKickOut);
}

// The site lists first: the lobby joins the two when the last server record is in.
void CenterServer::OnRegister(Link& link, const tagServerRegisterReq&) {
    using Sites = tagLoginMobileCenterSiteGameListMsg;
    SendParts(link, MSG_CENTER_SITE_GAME_LIST, TheWorld().sites, &Sites::GameList,
              &Sites::iListCount);
    std::vector<tagServerInfo> servers;
    for (const auto& entry : TheWorld().servers)
        servers.push_back(entry.second);
    SendParts(link, MSG_CENTER_SERVER_INFO, servers, &tagServerInfoNotice::ServerInfoList,
              &tagServerInfoNotice::usListCount);
}

void CenterServer::OnKickOut(Link& link, const NoticeLobbyKickOut& notice) {
    SendAll(MSG_CENTER_KICK_OUT, notice, &link);
}

void CenterServer::PutServer(const tagServerInfo& server) {
    TheWorld().servers[server.usServerID] = server;
    tagServerInfoNotice notice{};
    notice.usListCount = 1;
    notice.ServerInfoList[0] = server;
    SendAll(Shortened(MSG_CENTER_SERVER_INFO, notice, &tagServerInfoNotice::ServerInfoList, 1));
}

void CenterServer::RemoveServer(const tagServerInfo& server) {
    SendAll(MSG_CENTER_SERVER_TERMINATE, About<tagTerminateNotice>(server));
    TheWorld().servers.erase(server.usServerID);
}

void CenterServer::UpdateServer(tagServerInfo& server, uint16_t online, uint8_t open) {
    server.usOnlineCount = online;
    server.ucOpenFlag = open;
    auto update = About<tagUpdateServerInfo>(server);
    update.usOnlineCount = online;
    update.ucOpenFlag = open;
    SendAll(MSG_CENTER_SERVER_UPDATE, update);
}

void CenterServer::SetOpen(tagServerInfo& server, bool open) {
    server.ucOpenFlag = open;
    auto notice = About<tagServerCloseNotice>(server);
    notice.cCloseServer = open;
    SendAll(MSG_CENTER_SERVER_CLOSE, notice);
}

void CenterServer::PutSiteGame(const tagSiteMobileGameList& entry) {
    TheWorld().sites.push_back(entry);
    tagLoginMobileCenterSiteGameListMsg msg{};
    msg.iListCount = 1;
    msg.GameList[0] = entry;
    SendAll(Shortened(MSG_CENTER_SITE_GAME_LIST, msg,
                      &tagLoginMobileCenterSiteGameListMsg::GameList, 1));
}

bool CenterServer::WithdrawSiteGame(int32_t site, int32_t game) {
    const auto gone = std::erase_if(TheWorld().sites, [&](const tagSiteMobileGameList& entry) {
        return entry.iSiteID == site && entry.iGameID == game;
    });
    tagLoginCenterSiteGameTerminateNotice notice{};
    notice.iSiteGameListCount = 1;
    notice.siteGameInfo[0] = {site, game};
    if (gone) {
        SendAll(Shortened(MSG_CENTER_SITE_GAME_TERMINATE, notice,
                          &tagLoginCenterSiteGameTerminateNotice::siteGameInfo, 1));
    }
    return gone != 0;
}

void CenterServer::KickOut(int32_t userId) {
    NoticeLobbyKickOut notice{};
    notice.iUserID = userId;
    SendAll(MSG_CENTER_KICK_OUT, notice);
}

}  // namespace sim

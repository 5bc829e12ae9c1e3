#include "Common/Log.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace {

constexpr const char* kTag = "LobbyServer::UpdateActivityUserPropInfo";

tagDBUpdateUserPropInfo MakeBooking(int userId, int siteId, int activityId, int sourceId, int value,
                                    int type, int clientSiteType) {
    tagDBUpdateUserPropInfo booking;
    ZeroMsg(booking);
    booking.iUserID = userId;
    booking.iSiteID = siteId;
    booking.iActivityID = activityId;
    booking.iType = type;
    booking.iValue = value;
    booking.iSourceID = sourceId;
    booking.iClientSiteType = clientSiteType;
    return booking;
}

}  // namespace

void LobbyServer::UpdateActivityUserPropInfo(LobbyPlayer* player, int activityId, int sourceId,
                                             int value, int type) {
    if (player == nullptr) {
        __log(_ERROR, "UpdateUserRedpacket", "PlayerNode is Null");
        return;
    }
    auto booking = MakeBooking(player->m_iUserID, player->m_iSiteID, activityId, sourceId, value,
                               type, player->iAccountsourceid);
    CopyText(booking.szOutAccount, player->szOutAccount);
    booking.iTeamTag = player->iTeamTag;
    booking.iLianyunFlag = player->iLianyunFlag;
    booking.usRegisterType = player->usRegisterType;
    const bool sent = SendData(m_lpQueueServerHandler->m_lpQueueServer, ACT_UPDATE_USER_PROP,
                               &booking, sizeof(booking), ENCODE_NONE);
    __log(sent ? _DEBUG : _ERROR, kTag,
          "UserId[%d],GameId[%d],SiteID[%d],ActivityID[%d],sourceid[%d], type[%d], value[%d], "
          "ClientType[%d] outaccount[%s]",
          booking.iUserID, booking.iGameID, booking.iSiteID, activityId, sourceId, type, value,
          booking.iClientSiteType, TextStr(booking.szOutAccount).c_str());
}

void LobbyServer::UpdateActivityUserPropInfo(int userId, int siteId, int activityId, int sourceId,
                                             int value, int type, int clientSiteType) {
    auto booking =
        MakeBooking(userId, siteId, activityId, sourceId, value, type, clientSiteType);
    if (SendData(m_lpQueueServerHandler->m_lpQueueServer, ACT_UPDATE_USER_PROP, &booking,
                 sizeof(booking), ENCODE_NONE)) {
        return;
    }
    __log(_ERROR, kTag,
          "UserId[%d],GameId[%d],SiteID[%d],ActivityID[%d],sourceid[%d], type[%d], value[%d], "
          "ClientType[%d]",
          userId, booking.iGameID, siteId, activityId, sourceId, type, value, clientSiteType);
}

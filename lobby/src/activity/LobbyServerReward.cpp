#include "Common/Log.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace {

constexpr const char* kTag = "LobbyServer::UpdateActivityUserPropInfo";

tagDBUpdateUserPropInfo MakeBooking(const RewardAccount& account, int activityId, int sourceId,
                                    int value, int type) {
    Zeroed<tagDBUpdateUserPropInfo> booking;
    booking.iUserID = account.iUserID;
    booking.iSiteID = account.iSiteID;
    booking.iActivityID = activityId;
    booking.iType = type;
    booking.iValue = value;
    booking.iSourceID = sourceId;
    booking.iClientSiteType = account.iClientSiteType;
    CopyText(booking.szOutAccount, account.szOutAccount);
    booking.iTeamTag = account.iTeamTag;
    booking.iLianyunFlag = account.iLianyunFlag;
    booking.usRegisterType = account.usRegisterType;
    return booking;
}

}  // namespace

void LobbyServer::UpdateActivityUserPropInfo(LobbyPlayer* player, int activityId, int sourceId,
                                             int value, int type) {
    if (player == nullptr) {
        __log(_ERROR, "UpdateUserRedpacket", "PlayerNode is Null");
        return;
    }
    BookReward(RewardAccount(*player), activityId, sourceId, value, type);
}

void LobbyServer::BookReward(const RewardAccount& account, int activityId, int sourceId, int value,
                             int type) {
    auto booking = MakeBooking(account, activityId, sourceId, value, type);
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
    RewardAccount account;
    account.iUserID = userId;
    account.iSiteID = siteId;
    account.iClientSiteType = clientSiteType;
    auto booking = MakeBooking(account, activityId, sourceId, value, type);
    if (SendData(m_lpQueueServerHandler->m_lpQueueServer, ACT_UPDATE_USER_PROP, &booking,
                 sizeof(booking), ENCODE_NONE)) {
        return;
    }
    __log(_ERROR, kTag,
          "UserId[%d],GameId[%d],SiteID[%d],ActivityID[%d],sourceid[%d], type[%d], value[%d], "
          "ClientType[%d]",
          userId, booking.iGameID, siteId, activityId, sourceId, type, value, clientSiteType);
}

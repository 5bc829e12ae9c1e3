// What comes on the links: for each the types that are known, who takes them, and what is said of
// the others. LogServerHandler takes none.
#include <cstdio>

#include "BankInfoDef_Trans.h"
#include "CenterServerHandler.h"
#include "Common/Log.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "DispatchTable.h"
#include "LobbyServer.h"
#include "QueueServerHandler.h"
#include "WebServerHandler.h"
#include "activitySystem/ActivitySystem.h"
#include "activitySystem/Activity_Data_Msg.h"
#include "compete_msg.h"
#include "queue_server_msg.h"

namespace {

using Queue = QueueServerHandler;
using Center = CenterServerHandler;
using Config = ConfigServerHandler;
using Web = WebServerHandler;
using Data = DataServerHandler;

constexpr auto kQueue = LinkMessages<Queue>({
    {USER_INFO_Q2L, &Queue::OnUserInfoRes},
    {BANK_LOGIN_Q2L, &Queue::OnBankLoginRes},
    {BANK_GET_COIN_Q2L, &Queue::OnGetCoinRes},
    {BANK_SAVE_COIN_Q2L, &Queue::OnSaveCoinRes},
    {BANK_MODIFY_PASSWD_Q2L, &Queue::OnModifyBankPasswd},
    {MODIFY_PASSWORD_Q2L, &Queue::OnModifyPasswd},
    {MODIFY_NICKNAME_Q2L, &Queue::OnModifyNickName},
    {MODIFY_GENDER_Q2L, &Queue::OnModifyGender},
    {MODIFY_SIGNATURE_Q2L, &Queue::OnModifyPersonalSignature},
    {MODIFY_FACE_ID_Q2L, &Queue::OnModifyFaceId},
    {BINDING_MOBILE_Q2L, &Queue::OnBindingMobile},
    {REAL_NAME_Q2L, &Queue::OnRealNameAuthen},
    {MODIFY_FACE_FRAME_Q2L, &Queue::OnModifyFaceFrame},
    {EXCHANGE_COIN_Q2L, &Queue::OnUserExchangeCoinRes},
    {REFRESH_COIN_Q2L, &Queue::OnRechargeRefreshCoin},
    {MSG_QUEUE_COMPETE_USER_INFO_RES, &Queue::OnCompeteLobbyUserInfoRes},
});

constexpr auto kCenter = LinkMessages<Center>({
    {MSG_CENTER_SERVER_INFO, &Center::OnCenterServerInfoNotice},
    {MSG_CENTER_SERVER_UPDATE, &Center::OnCenterServerInfoUpdate},
    {MSG_CENTER_SERVER_TERMINATE, &Center::OnCenterTerminateNotice},
    {MSG_CENTER_SITE_GAME_LIST, &Center::OnCenterServerGameListNotice},
    {MSG_CENTER_SITE_GAME_TERMINATE, &Center::OnCenterSiteGameTerminateNotice},
    {MSG_CENTER_KICK_OUT, &Center::OnCenterNoticeKickOut},
    {MSG_CENTER_SERVER_CLOSE, &Center::OnCenterServerCloseNotice},
});

constexpr auto kConfig = LinkMessages<Config>({
    {MSG_CONFIG_VIP_LEVEL_RES, &Config::OnVipLevelConfigRes},
    {MSG_CONFIG_VIP_PHOTO_RES, &Config::OnVipPhotoConfigRes},
    {MSG_CONFIG_VIP_FRAME_RES, &Config::OnVipFrameConfigRes},
    {MSG_CONFIG_STOP_SWITCH_RES, &Config::OnConfigLobbySwitchRes},
    {MSG_CONFIG_SUBSCRIBE_KEY_RES, &Config::OnSubscribeKeyRes},
});

constexpr auto kWeb = LinkMessages<Web>({
    {MSG_WEB_RECHARGE_NOTICE, &Web::HandleRechargeSucessNotice},
    {MSG_WEB_CONSUME_NOTICE, &Web::HandleConsumeSucessNotice},
    {MSG_WEB_SYNC_USER_DATA, &Web::HandleSychUserDataMsg},
    {MSG_WEB_WIN_BULLETIN, &Web::HandlerWinBulletinNotice},
    {MSG_WEB_SYS_BULLETIN, &Web::HandlerSysBulletinNotice},
    {MSG_WEB_FARM_TRANSFER, &Web::HandleFarmTransferMsg},
});

constexpr auto kData = LinkMessages<Data>({
    {ACT_ACCOUNT_TYPE_RES, &Data::HandleAccountTypeRes},
    {ACT_CONFIG_RES, &Data::HandleActivityConfigRes},
    {ACT_PROGRESS_RES, &Data::HandleActivityProgressRes},
    {ACT_SINGLE_PROGRESS_RES, &Data::HandleSingleProgressRes},
    {ACT_UPDATE_ACK, &Data::HandleUpdateActivityProgressRes},
});

}  // namespace

bool Queue::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return false;
    if (kQueue.Call(*this, type, data, length)) return true;
    __log(_ERROR, "QueueServerHandler::OnNetMessage",
          "databaseserver response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node), type);
    return true;
}

// Unknown types are swallowed without a line: the center announces more than lobbies need.
bool Center::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return false;
    kCenter.Call(*this, type, data, length);
    return true;
}

int32_t Config::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return 0;
    if (kConfig.Call(*this, type, data, length)) return 1;
    __log(_ERROR, "ConfigServerHandler::OnNetMessage", "config server rsp type invalid! type[%x]",
          type);
    return 1;
}

bool Web::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return false;
    if (kWeb.Call(*this, type, data, length)) return true;
    __log(_ERROR, "WebServerHandler::OnNetMessage",
          "webserver response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node), type);
    return true;
}

bool Data::OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length) {
    if (!IsMine(node)) return false;
    std::printf("DataServerHandler::OnNetMessage type:%x\n", type);
    if (kData.Call(*this, type, data, length)) return true;
    if (type >= ACT_GLOBAL_1 && type <= ACT_GLOBAL_3) {
        ActivitySystem::getInstance()->HandleGlobalActivityMessage(type, data, length);
        return true;
    }
    __log(_ERROR, "DataServerHandler::OnNetMessage",
          "databaseserver response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node), type);
    return true;
}

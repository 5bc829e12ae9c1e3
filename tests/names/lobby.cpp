// Names of the lobby.
#include "BankInfoDef_Trans.h"
#include "CenterServerHandler.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "LogServerHandler.h"
#include "Names.h"
#include "QueueServerHandler.h"
#include "Settings.h"
#include "Tools.h"
#include "WebServerHandler.h"
#include "activityHandler/Activity20171211.h"
#include "activityHandler/Activity20180901.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "compete_msg.h"
#include "eventSystem/EventDispatcher.h"
#include "lobby_client_msg.h"
#include "log_server_msg.h"
#include "queue_server_msg.h"

namespace {

using Node = IPlayerNode;
using Player = LobbyPlayer;
using Server = LobbyServer;
using Client = LobbyClientHandler;
using Queue = QueueServerHandler;
using Center = CenterServerHandler;
using Config = ConfigServerHandler;
using Data = DataServerHandler;
using Web = WebServerHandler;
using Log = LogServerHandler;

// The process, its peers and their routing.
static_assert(Named<&Server::m_Reconnect, &Server::m_competeConfig, &Server::m_LobbyRedisServer,
                    &Server::m_iLobbyStopSwitch, &Server::m_iSendBulletinTime, &Server::m_lTimer,
                    &Server::m_pActivitySystem, &Server::m_iPort, &m_ConfigFile,
                    &m_ConfigSensitiveNameCfg, &m_ConfigFileDiscUserID>);
static_assert(
    Named<&Server::Start, As<int64_t (Server::*)(const char*, Node*&)>(&Server::ConnectServer),
          &Server::StartLobbyService, &Server::ConnectRedis, &Server::OnNetMessage,
          &Server::OnClosed, &Server::OnTimer, &Server::OnCreatePlayer,
          &Server::CheckforClientIsReady, &Server::SendMsgToDataServer,
          &Server::SendMsgToConfigServer, &Server::SendMsgToPlayerByID,
          &Server::GetQueueServerHandler, &Server::GetLogServerHandler,
          &Server::GetLobbyClientHandler, &Server::GetDataServerHandler,
          &Server::HandleRechargeSucessNotice, &Server::HandleConsumeSucessNotice,
          As<void (LobbyHandlers::*)(void*, long)>(&Server::HandleSychUserDataMsg),
          As<void (LobbyHandlers::*)(Node*, void*, long)>(&Server::HandleSychUserDataMsg)>);

// Sessions.
static_assert(
    Named<&Player::operator->, &Player::Initialize, &Player::m_ulQueueCount, &Player::m_iUserID,
          &Player::m_iSiteID, &Player::m_szToken, &Player::m_lpNext, &Player::m_lpPrior,
          &Player::m_cLoginType, &Player::m_iLoginSiteID, &Player::m_szChannelID,
          &Player::m_uGameID, &Player::m_ulPlayerNodeId, &Player::iLastBankLoginTime,
          &Player::iLastGetCoinTime, &Player::iLastSaveCoinTime, &Player::iLastModifyPdTime,
          &Player::iLastModifyPassWordTime, &Player::iLastRefreshCoinTime,
          &Player::iLastServerInfoReqTime, &Player::llControlNum, &Player::iMachineIndex,
          &Player::iPlayGameTime, &Player::iAllYuanBaoAmount, &Player::iAccountsourceid,
          &Player::isBindingmobile, &Player::iFriendPropNum, &Player::llGameCoin,
          &Player::llBankCoin, &Player::m_bDelOnline, &Player::iTeamTag, &Player::iLianyunFlag,
          &Player::usRegisterType, &Player::szReserve1, &Player::szOutAccount, &Player::szReserve3,
          &Player::m_tLastExchangeCoinTime>);
static_assert(
    Named<&Server::OnLobbyClientConnectNotice, &Server::GetPlayerByUserID,
          &Server::SendMsgToAllLobbyClent, &Server::KickOutLobbyPlayer,
          &Server::KickOutAllLobbyPlayer, &Server::SendKickOutNoticeToCenter,
          &Server::loadSensitiveNameCfg, &Server::isContainSensitiveName, &Server::GetVipLevel,
          &Client::OnLobbyClientConnectNotice, &Client::OnNetMessage, &Client::OnClosed,
          &Client::DealDisconnect, &Client::OnTimer, &Client::GetPlayerByUserID,
          &Client::SendMsgToPlayerByID, &Client::SendMsgToAllLobbyClent>);

// Requests of clients and the queue server's answers.
static_assert(Named<&Client::HandleBankLoginReq, &Client::HandleGetCoinReq,
                    &Client::HandleSaveCoinReq, &Client::HandleModifyBankPasswdReq,
                    &Client::HandleModifyPassWordReq, &Client::HandleModifyNickName,
                    &Client::HandleModifyGender, &Client::HandleModifyPersonalSignature,
                    &Client::HandleModifyFaceId, &Client::HandleBindingMobileReq,
                    &Client::HandleRealNameAuthenReq, &Client::HandleModifyFaceFrameReq,
                    &Client::HandleRechargeSucessNotice, &Client::HandleConsumeSucessNotice,
                    &Client::CallBackRechargeSuccess, &Client::HandleRechargeRefreshCoinReq,
                    &Client::HandleClientExchangeCoinReq, &Client::HandleClientServerInfoReq,
                    &Client::HandleClientCompeteInfoReq, &Client::subscribe, &Client::unsubscribe,
                    As<void (Client::*)(void*, long)>(&Client::HandleSychUserDataMsg),
                    As<void (Client::*)(Node*, void*, long)>(&Client::HandleSychUserDataMsg)>);
static_assert(
    Named<&Queue::ConnectServer, &Queue::KeepAlive, &Queue::OnNetMessage, &Queue::OnClosed,
          &Queue::HandleUserInfoRes, &Queue::OnBankLoginRes, &Queue::OnGetCoinRes,
          &Queue::OnSaveCoinRes, &Queue::OnModifyBankPasswd, &Queue::OnModifyPasswd,
          &Queue::OnModifyNickName, &Queue::OnModifyGender, &Queue::OnModifyPersonalSignature,
          &Queue::OnModifyFaceId, &Queue::OnBindingMobile, &Queue::OnRealNameAuthen,
          &Queue::OnModifyFaceFrame, &Queue::OnRechargeRefreshCoin, &Queue::OnUserExchangeCoinRes,
          &Queue::OnCompeteLobbyUserInfoRes>);
static_assert(Named<&RechargeRefresReq_trans::iUserId, &RechargeRefresRes_trans::iUserId,
                    &RechargeRefresRes_trans::iError, &RechargeRefresRes_trans::llCurGameCoin,
                    &RechargeRefresRes_trans::llTotalRechageNum,
                    &RechargeRefresRes_trans::llBankCoin, &ModifyPassWordRes_trans::ucResultType>);

// The other links and their directories.
static_assert(
    Named<&Center::ConnectServer, &Center::CallCenterServerInfo, &Center::KeepAlive,
          &Center::OnNetMessage, &Center::OnClosed, &Center::refreshShowGameList,
          &Center::OnCenterServerInfoNotice, &Center::OnCenterServerInfoUpdate,
          &Center::OnCenterServerCloseNotice, &Center::OnCenterTerminateNotice,
          &Center::OnCenterServerGameListNotice, &Center::OnCenterSiteGameTerminateNotice,
          &Center::OnCenterNoticeKickOut, &Center::m_ServerList, &Center::m_GameSiteList,
          &ServerList::InsertInfo, &ServerList::UpdateInfo, &ServerList::CloseInfo,
          &ServerList::DeleteInfo, &ServerList::refreshShowGameList, &ServerList::SendServerList,
          &ServerList::m_gameServerMap, &ServerList::m_showSiteMap, &Server::SendRoomInfoToClient,
          &GameSiteList::InsertInfo, &GameSiteList::DeleteInfo, &GameSiteList::m_gameSiteMap,
          &GameSiteInfo::iSiteID, &GameSiteInfo::iGameID> &&
    HasTypes<GAMESITEMAP> && LOGIN_LOBBY == 1 && LOGIN_GAME == 2);
static_assert(
    Named<&Config::ConnectServer, &Config::LoadConfigs, &Config::KeepAlive,
          &Config::SendLobbyStopSwitchReqToConfig, &Config::OnNetMessage, &Config::OnClosed,
          &Config::OnVipLevelConfigRes, &Config::OnVipPhotoConfigRes, &Config::OnVipFrameConfigRes,
          &Config::OnConfigLobbySwitchRes, &Config::OnSubscribeKeyRes>);
static_assert(
    Named<&Web::ConnectServer, &Web::RegisteWebServer, &Web::KeepAlive, &Web::OnNetMessage,
          &Web::OnClosed, &Web::PushIntoBulletinNotice, &Web::OnTimer,
          &Web::HandlerWinBulletinNotice, &Web::HandlerSysBulletinNotice,
          &Web::HandleFarmTransferMsg, &Web::m_lBulletinItem, &Server::IsExistSubscribeKey,
          &Server::publish, &Server::RequestSubscribeKeyCfg, &Server::SendFarmTransferLog,
          &Server::GetClientLobbyPlayer, &PublishPlayer::iUserID, &PublishPlayer::ulPlayerNode,
          &PublishPlayer::ulPlayerNodeId, &Log::ConnectServer, &Log::KeepAlive, &Log::OnNetMessage,
          &Log::OnClosed, &Log::SendMsgToLogServer>);
using Compete = CompeteConfig;
static_assert(
    Named<&Compete::OnTimer, &Compete::ReadConfig, &Compete::SetCalcMonthMinute,
          &Compete::SetCalcDayMinute, &Compete::GetCalcMonthMinute, &Compete::GetCalcDayMinute,
          &Compete::m_iMonthOpenDay, &Compete::m_iMonthOpenHour, &Compete::m_iMonthOpenMinute,
          &Compete::m_iMonthAwardCoin, &Compete::m_usMonthTurnNum, &Compete::m_vMonthTurnsUsers,
          &Compete::m_iDayOpenHour, &Compete::m_iDayOpenMinute, &Compete::m_iDayAwardCoin,
          &Compete::m_usDayMaxFreeCount, &Compete::m_usDayTurnNum, &Compete::m_iDayCompeteCostCoin,
          &Compete::m_vDayTurnsUsers, &Compete::m_iCalcMonthMinute, &Compete::m_iCalcDayMinute>);
static_assert(Named<&LobbyRedisServer::StartRedisServer, &LobbyRedisServer::IsLobbyOnline,
                    &LobbyRedisServer::InsertLobbyOnline, &LobbyRedisServer::DelLobbyOnline,
                    &APHashRedis, &GetAbsDays, &GetDiffDays, &Tools::intervalDays,
                    &Tools::secondIsNewDay, &Tools::analyzeSiteID, &MyDate::year, &MyDate::month,
                    &MyDate::day, &ReconnectService::OnConnected>);

// Activities.
using Events = EventDispatcher;
using Listener = EventListener;
static_assert(
    Named<&Listener::init, &Listener::getType, &Listener::isOpen, &Listener::dispatchEvent,
          &Events::getInstance, &Events::destroyInstance, &Events::addEventListener,
          &Events::removeEventListener, &Events::dispatchEvent> &&
    HasTypes<EVENTFUNC, EVENISOPENFUNC, MAP_EVENTLISTENER>);
using System = ActivitySystem;
using Update = LobbyActivitySingleProgressUpdate;
static_assert(
    Named<&System::getInstance, &System::destroyInstance,
          As<void (System::*)(GameProvider*)>(&System::SetGameProvider), &System::getActivityCfg,
          &System::AddActivityHandler,
          As<void (System::*)(IActivityHandler*)>(&System::RemoveActivityHandler),
          As<void (System::*)(int)>(&System::RemoveActivityHandler), &System::SetActivityConfig,
          &System::AddActivityProgress, &System::RemoveActivityProgress,
          &System::UpdateActivityProgress, &System::FindProgressByUserID, &System::SendData,
          &System::SendMessageToAllClient, &System::SetUserAccountTypeConfig,
          &System::GetUserAccountType,
          As<void (System::*)(Update&)>(&System::UpdateLobbyActivityProgress),
          &System::UpdateLobbyActivityProgressRes, &System::OnTimer,
          As<void (System::*)(unsigned short, void*, long, Node*)>(&System::HandleActivityMessage),
          As<void (System::*)(int, unsigned short, void*, long, Node*)>(
              &System::HandleActivityMessage),
          As<void (System::*)(unsigned short, void*, long)>(&System::HandleGlobalActivityMessage),
          As<void (System::*)(int, unsigned short, void*, long)>(
              &System::HandleGlobalActivityMessage)>);
static_assert(
    Named<&Data::ConnectServer, &Data::KeepAlive, &Data::OnNetMessage, &Data::OnClosed,
          &Data::RegistDataServerReq, &Data::SendActivityConfigReq, &Data::SendActivityProgressReq,
          &Data::SendUpdateActivityProgressReq, &Data::HandleActivityConfigRes,
          &Data::HandleActivityProgressRes, &Data::HandleUpdateActivityProgressRes, &Data::OnTimer,
          As<void (Server::*)(Player*, int, int, int, int)>(&Server::UpdateActivityUserPropInfo),
          As<void (Server::*)(int, int, int, int, int, int, int)>(
              &Server::UpdateActivityUserPropInfo)>);
using Progress = tagDBUserActivityProgressData;
struct Activity : IActivityHandler {
    explicit Activity(GameProvider* provider) : IActivityHandler(1, provider) {
        m_sActivityConfig.iSiteId = m_pGameProvider == nullptr ? 0 : 1;
    }
    void Initialization() override {}
    void startInit(Node*, Progress*, bool) override {}
    void onActicityClosed() override {}
    void onInitialize(Node*, Progress*, void*, void*, int) override {}
    void onSitdown(Node*, Progress*, void*, void*, int) override {}
    void onReady(Node*, Progress*, void*, void*, int) override {}
    void onGameStart(Node*, Progress*, void*, void*, int) override {}
    void onGameEnd(Node*, Progress*, void*, void*, int) override {}
    void onReGame(Node*, Progress*, void*, void*, int) override {}
    bool checkIsOpen() override { return true; }
    void onSetActivityConfig() override {}
};
static_assert(Named<&Activity::getActivityId, &Activity::getSiteId, &Activity::update,
                    &Activity::init, &Activity::addEventListener, &Activity::removeEventListener,
                    &Activity::removeAllEventListener, &Activity::setActivityConfig,
                    &Activity::updateIsOpen, &Activity::isOpen, &Activity::OnActivityMessage,
                    &Activity::OnGlobalActivityMessage, &Activity::HandlerUserProgressReq> &&
              HasTypes<Activity20171211, Activity20180901, DBSiteActivityConfig>);

// Every message beside those above.
static_assert(
    HasTypes<
        tagLobbyClientConnectNotice, UserInfoReq, UserInfoRes, LobbyKickOutNotice,
        NoticeLobbyKickOut, LobbyAuthenRes, UserBankLoginReq_trans, GetBankCoinReq_trans,
        SaveCoinReq_trans, ModifyBankPasswdReq_trans, LoginBankResult_trans, GetCoinResult_trans,
        SaveCoinRes_trans, ModifyBankPasswdRes_trans, UserBankLoginReq, GetBankCoinReq, SaveCoinReq,
        ModifyBankPasswdReq, LoginBankResult, GetCoinResult, SaveCoinRes, ModifyBankPasswdRes,
        tagModifyPassWordReq, ModifyPassWordReq_trans, tagModifyPassWordRes,
        ModifyNickNameReq_trans, ModifyNickNameRes_trans, ModifyGenderReq_trans,
        ModifyGenderRes_trans, ModifyPersonalSignatureReq_trans, ModifyPersonalSignatureRes_trans,
        ModifyFaceIdReq_trans, ModifyFaceIdRes_trans, BindingMobileReq_trans,
        BindingMobileRes_trans, RealNameAuthenReq_trans, RealNameAuthenRes_trans,
        ModifyFaceFrameReq_trans, ModifyFaceFrameRes_trans, RechargeSucessNotice, SychUserLobbyData,
        RechargeReFreshCoinReq, RechargeReFreshCoinRes, ExchangeGameCoinReq, ExchangeGameCoinRes,
        ExchangeGameCoinNotify, QueueExchangeCoinReq, QueueExchangeCoinRes, UserExchangeCoinLog> &&
    HasTypes<tagServerRegisterReq, tagServerInfoNotice, tagUpdateServerInfo, tagTerminateNotice,
             tagServerCloseNotice, tagLoginMobileCenterSiteGameListMsg,
             tagLoginCenterSiteGameTerminateNotice, GameServerInfoReq, tagGameServer,
             tagVipLevelConfigRes, tagVipPhotoConfigRes, tagVipFrameConfig, RegisterWebServerReq,
             WinCoinBulletinNotice, SysBulletinNotice, WinBulletinNotice, ClientSubscribeMsg,
             ClientUnsubscribeMsg, ClientPublishMsg, BulletinTransferFarmNotice,
             LobbyTransferFarmNotice, LobbyFarmTransferLog, WebFarmSubscribeKeyReq,
             ClientLobbyCompeteReq, CompeteLobbyUserInfoReq, CompeteLobbyUserInfoRes,
             LobbyClientCompeteRes, RegisterActSystemServerReq, tagDBGameActivityConfigReq,
             UserAccountTypeConfig, tagDBSiteActivityList, tagDBUserActivityProgressReq,
             tagDBActivityProgressList, tagUserActivityProgressUpdate,
             LobbyActivitySingleProgressUpdateRes, UserProgressReq, tagDBUpdateUserPropInfo,
             ActivityCloseNotice>);

}  // namespace

void UseTheLobby(Server& lobby, ConsumeSucessNotice* notice, WebFarmSubscribeKeyRes* keys) {
    Node* const nodes[] = {lobby.m_lpLobbyServer,
                           lobby.m_lpCenterServerHandler->m_lpCenterServer,
                           lobby.m_lpWebServerHandler->m_lpWebServer,
                           lobby.m_lpLogServerHandler->m_lpLogServer,
                           lobby.m_lpQueueServerHandler->m_lpQueueServer,
                           lobby.m_lpDataServerHandler->m_lpDataServer,
                           lobby.m_lpConfigServerHandler->m_lpConfigServer};
    for (Server* server :
         {lobby.m_lpCenterServerHandler->m_lpLobbyServer,
          lobby.m_lpWebServerHandler->m_lpLobbyServer, lobby.m_lpLogServerHandler->m_lpLobbyServer,
          lobby.m_lpQueueServerHandler->m_lpLobbyServer,
          lobby.m_lpDataServerHandler->m_lpLobbyServer,
          lobby.m_lpConfigServerHandler->m_lpLobbyServer})
        server->SendData(nodes[0], 0, server->m_sendBuffer, sizeof(server->m_sendBuffer), 0);
    LobbyClientHandler* const client = lobby.m_lpLobbyClientHandler;
    client->CallBackRechargeSuccess(nullptr, notice->szConsumeNotice, notice->iSize);
    std::list<WebFarmSubscribeKeyInfo>& known = lobby.m_lSubscribeKeyInfo;
    for (int i = 0; i < keys->iCount; ++i)
        known.push_back(keys->subscribeKeyInfo[i]);
    const auto& bulletins = lobby.m_lpWebServerHandler->m_lBulletinItem;
    std::map<int, int>* const levels[] = {&lobby.m_mapConfigVipLevel, &lobby.m_mapConfigVipLevel1};
    std::map<int, tagVipPhotoItem>* const photos[] = {&lobby.m_mapConfigVipPhoto,
                                                      &lobby.m_mapConfigVipPhoto1};
    std::map<int, tagVipFrameItem>* const frames[] = {&lobby.m_mapConfigVipFrame,
                                                      &lobby.m_mapConfigVipFrame1};
    levels[0]->swap(*levels[1]);
    photos[0]->swap(*photos[1]);
    frames[0]->swap(*frames[1]);
    std::map<std::string, std::vector<PublishPlayer>>& subscribers = lobby.m_mapStrKeyToPlayer;
    std::map<int32_t, std::vector<std::string>>& subscribed = lobby.m_mapPlayerToStrKey;
    if (subscribers.size() > subscribed.size()) return;
    const std::vector<std::string>& names = lobby.m_vecStrSensitiveName;
    const std::vector<int32_t>& users = lobby.m_vcDisconnnetUserID;
    if (names.size() > users.size()) return;
    if (bulletins.size() > 1 && bulletins.front().iUserId == 0) return;
    for (const WinCoinBulletinNotice_2& item : bulletins)
        lobby.KickOutLobbyPlayer(item.iUserId, nullptr);
}

// What the fields of some structures mean where their names do not tell, which of them are secret,
// and which count others.
#pragma once

#include "BankInfoDef_Trans.h"
#include "Layouts.h"
#include "PublisherMsg.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/Activity_Data_Msg.h"
#include "center_server_msg.h"
#include "compete_msg.h"
#include "config_server_msg.h"
#include "lobby_client_msg.h"
#include "log_server_msg.h"
#include "queue_server_msg.h"
#include "web_server_msg.h"

namespace catalog {

NOTES(tagLobbyClientConnectNotice, Secret(FIELD(szToken)))
NOTES(LobbyAuthenRes, FIELD(iReserve1, "team tag of the account"),
      FIELD(iReserve2, "joint-operation flag of the account"),
      FIELD(iReserve3, "how the account was registered"),
      FIELD(szReserve2, "name of the account with its external provider"))
NOTES(LobbyKickOutNotice,
      FIELD(bStopSwitch, "false: the account logged in elsewhere; true: maintenance"))
NOTES(ExchangeGameCoinReq, FIELD(iRecvUserID, "the receiver's user id"))
NOTES(ExchangeGameCoinRes, FIELD(llFirstMoney, "the giver's coins in hand afterwards"))
NOTES(ExchangeGameCoinNotify, FIELD(iFromUserID, "the giver's user id"),
      FIELD(llFirstMoney, "the receiver's coins in hand afterwards"))
NOTES(RechargeSucessNotice, FIELD(rechargeType, "what was bought, as the platform numbers it"),
      FIELD(rechargeCount, "how much of it"))
NOTES(ConsumeSucessNotice, FIELD(iSize, "bytes of the text; may claim more than the message holds"),
      FollowingText("szConsumeNotice", sizeof(M), "iSize"))
NOTES(SychUserLobbyData, FIELD(dataType, "which figure changed, as the platform numbers it"),
      FIELD(dataValue, "its new value"))
NOTES(RechargeReFreshCoinRes, FIELD(llTotalRechageNum, "all the player ever recharged"))
NOTES(tagModifyPassWordReq, Secret(FIELD(szOldPassWd)), Secret(FIELD(szNewPassWd)))
NOTES(RealNameAuthenReq, Filled(Secret(FIELD(szIdentity))))
NOTES(RealNameAuthenRes, Filled(Secret(FIELD(szIdentity))))
NOTES(UserBankLoginReq, Secret(FIELD(szBankPass)))
NOTES(GetBankCoinReq, FIELD(llGetNum, "coins to move from the bank into the hand, at least 1"),
      Secret(FIELD(szBankerPwd)))
NOTES(SaveCoinReq, FIELD(llSaveCoinNum, "coins to move from the hand into the bank, at least 1"),
      FIELD(llGameWinCoinNum, "how many of them were won in a game"))
NOTES(ModifyBankPasswdReq, Secret(FIELD(szCode)), Secret(FIELD(szOldPassWd)),
      Secret(FIELD(szNewPassWd)))
NOTES(GetCoinResult, FIELD(llGetCoinNum, "coins taken out"))
NOTES(SaveCoinRes, FIELD(llSelfCoin, "coins in hand afterwards"))
NOTES(UserInfoReq, Secret(FIELD(szPasswdToken)))
NOTES(RechargeRefresRes_trans, FIELD(llTotalRechageNum, "all the player ever recharged"))
NOTES(tagServerRegisterReq, FIELD(iRegisterType, "kind of server that registers"))
NOTES(tagServerInfo,
      FIELD(usServerID, "room; 0 in a client's list: all rooms of the game and level in one"),
      FIELD(szTelecomIP, "address to connect to, dotted"),
      FIELD(ulLimitPoint, "coins a player needs to enter"),
      FIELD(ulBaseTime, "base time of the room, the game's own"),
      FIELD(ulBasePoint, "base stake of the room"), FIELD(ulMaxPoint, "highest stake"),
      FIELD(ulMinPoint, "lowest stake"), FIELD(usServerPort, "port to connect to"),
      FIELD(ucServerType, "kind of room, the game's own"), FIELD(usLevel, "level of the room"),
      FIELD(iMaxUserNum, "players it takes at most"),
      FIELD(szDsnInfo, "data source of the room, the game's own"))
NOTES(tagServerInfoNotice, COUNTED(ServerInfoList, usListCount))
NOTES(tagServerCloseNotice, FIELD(cCloseServer, "the new open flag"))
NOTES(tagSiteMobileGameList, FIELD(iGameKind, "0: all rooms of a level are shown as one"))
NOTES(tagLoginMobileCenterSiteGameListMsg, COUNTED(GameList, iListCount))
NOTES(tagLoginCenterSiteGameTerminateNotice, COUNTED(siteGameInfo, iSiteGameListCount))
NOTES(tagGameServer, FIELD(usIsFinish, "1 in the last message of the list, else 0"),
      COUNTED(serverInfo, usListCount))
NOTES(tagVipLevelItem, FIELD(iLevel, "VIP level"),
      FIELD(iRecharge, "recharge that level begins at"))
NOTES(tagVipLevelConfigRes, COUNTED(item, usItemCount))
NOTES(tagVipPhotoConfigRes, COUNTED(item, usItemCount))
NOTES(tagVipFrameConfig, COUNTED(item, usItemCount))
NOTES(tagLobbyStopSwitchRes,
      FIELD(iStopSwitch, "above 0 maintenance: the lobby puts all players out; 0 opens it again"))
NOTES(WebFarmSubscribeKeyRes, FIELD(bInit, "not 0: a fresh list starts here"),
      Following<WebFarmSubscribeKeyInfo>("subscribeKeyInfo", sizeof(M), "iCount"))
NOTES(SysBulletinNotice, COUNTED(bulletinItem, usBulletNum))
NOTES(WinBulletinNotice, COUNTED(bulletinItem, usBulletNum))
NOTES(BulletinTransferFarmNotice, FIELD(iUserID, "receiver; 0 and below: every client"))
NOTES(LobbyTransferFarmNotice, FIELD(iUserID, "receiver; 0 and below: every client"))
NOTES(LobbyClientCompeteRes, FIELD(usCompeteType, "today's: 0 the daily one, 1 the monthly one"))
NOTES(tagDBSiteActivityList, Following<tagDBActivityConfigData>("rows", sizeof(M), "iCount"))
NOTES(tagDBActivityProgressList,
      Following<tagDBUserActivityProgressData>("records", sizeof(M), "iCount"))
NOTES(tagUserActivityProgressUpdate,
      Following<tagDBUserActivityProgressData>("records", sizeof(M), "iCount"))
NOTES(UserProgressReq, FIELD(iLevel, "what is asked, the activity's own"),
      FIELD(iProgress, "the activity's own"))
NOTES(ActivityCloseNotice, FIELD(iActivity, "the activity that has closed"))

}  // namespace catalog

// Written by `protocol_doc --types` from the message headers; a test compares this file with them.

/** A whole number: 64-bit fields take a bigint, others a number; a decimal text does for both. */
export type Integer = number | bigint | string;

export interface ExchangeGameCoinReqFields {
  /** the receiver's user id */
  iRecvUserID?: Integer;
  /** coins given */
  llExhangeCoin?: Integer;
}

export interface tagLobbyClientConnectNoticeFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
  /** site to log in at: decides whose game servers are listed */
  iLobbySiteID?: Integer;
  /** the platform's token for this login */
  szToken?: string;
  /** distribution channel of the client; any text */
  szChannelID?: string;
}

export interface UserBankLoginReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
  /** the bank password */
  szBankPass?: string;
}

export interface GetBankCoinReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
  /** site, see the glossary */
  iSiteID?: Integer;
  /** game; 0 for none */
  iGameID?: Integer;
  /** game server (room); 0 for none */
  iServerID?: Integer;
  /** coins to move from the bank into the hand, at least 1 */
  llGetNum?: Integer;
  /** the bank password */
  szBankerPwd?: string;
}

export interface SaveCoinReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
  /** site, see the glossary */
  iSiteID?: Integer;
  /** game; 0 for none */
  iGameID?: Integer;
  /** game server (room); 0 for none */
  iServerID?: Integer;
  /** coins to move from the hand into the bank, at least 1 */
  llSaveCoinNum?: Integer;
  /** how many of them were won in a game */
  llGameWinCoinNum?: Integer;
}

export interface ModifyBankPasswdReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
  /** confirmation code, when the platform asks for one */
  szCode?: string;
  /** the password until now */
  szOldPassWd?: string;
  /** the password from now on */
  szNewPassWd?: string;
}

export interface tagModifyPassWordReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
  /** the password until now */
  szOldPassWd?: string;
  /** the password from now on */
  szNewPassWd?: string;
}

export interface ModifyNickNameReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
  /** nickname */
  szNickName?: string;
}

export interface ModifyGenderReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
  /** gender, as the platform numbers it */
  iGender?: Integer;
}

export interface ModifyPersonalSignatureReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
  /** the player's own words beside his name */
  szPersonalSignature?: string;
}

export interface ModifyFaceIdReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
  /** picture of the player, as the platform numbers it */
  iFaceId?: Integer;
}

export interface BindingMobileReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
  /** mobile number, digits */
  szMobileNumber?: string;
}

export interface RealNameAuthenReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
  /** name by the papers */
  szRealName?: string;
  /** identity number, 18 characters */
  szIdentity?: string;
}

export interface RechargeReFreshCoinReqFields {
  /** the player's user id; in a client's request his own */
  iUserId?: Integer;
}

export interface ClientLobbyCompeteReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
}

export interface ClientSubscribeMsgFields {
  /** kind of farm message, the farm's own */
  iMainID?: Integer;
  /** kind of farm message, the farm's own */
  iSubID?: Integer;
  /** farm key */
  szKey?: string;
}

export interface ClientUnsubscribeMsgFields {
  /** kind of farm message, the farm's own */
  iMainID?: Integer;
  /** kind of farm message, the farm's own */
  iSubID?: Integer;
  /** farm key */
  szKey?: string;
}

export interface GameServerInfoReqFields {
  /** the player's user id; in a client's request his own */
  iUserID?: Integer;
}

export interface UserProgressReqFields {
  /** the activity's id */
  iActivityId?: Integer;
  /** what is asked, the activity's own */
  iLevel?: Integer;
  /** the activity's own */
  iProgress?: Integer;
  /** the activity's own */
  iOther1?: Integer;
  /** the activity's own */
  iOther2?: Integer;
  /** the activity's own */
  iOther3?: Integer;
}

export interface ExchangeGameCoinReq {
  /** the receiver's user id */
  iRecvUserID: number;
  /** coins given */
  llExhangeCoin: bigint;
}

export interface tagLobbyClientConnectNotice {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** site to log in at: decides whose game servers are listed */
  iLobbySiteID: number;
  /** the platform's token for this login */
  szToken: string;
  /** distribution channel of the client; any text */
  szChannelID: string;
}

export interface UserBankLoginReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** the bank password */
  szBankPass: string;
}

export interface GetBankCoinReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** site, see the glossary */
  iSiteID: number;
  /** game; 0 for none */
  iGameID: number;
  /** game server (room); 0 for none */
  iServerID: number;
  /** coins to move from the bank into the hand, at least 1 */
  llGetNum: bigint;
  /** the bank password */
  szBankerPwd: string;
}

export interface SaveCoinReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** site, see the glossary */
  iSiteID: number;
  /** game; 0 for none */
  iGameID: number;
  /** game server (room); 0 for none */
  iServerID: number;
  /** coins to move from the hand into the bank, at least 1 */
  llSaveCoinNum: bigint;
  /** how many of them were won in a game */
  llGameWinCoinNum: bigint;
}

export interface ModifyBankPasswdReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** confirmation code, when the platform asks for one */
  szCode: string;
  /** the password until now */
  szOldPassWd: string;
  /** the password from now on */
  szNewPassWd: string;
}

export interface tagModifyPassWordReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** the password until now */
  szOldPassWd: string;
  /** the password from now on */
  szNewPassWd: string;
}

export interface ModifyNickNameReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** nickname */
  szNickName: string;
}

export interface ModifyGenderReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** gender, as the platform numbers it */
  iGender: number;
}

export interface ModifyPersonalSignatureReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** the player's own words beside his name */
  szPersonalSignature: string;
}

export interface ModifyFaceIdReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** picture of the player, as the platform numbers it */
  iFaceId: number;
}

export interface BindingMobileReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** mobile number, digits */
  szMobileNumber: string;
}

export interface RealNameAuthenReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** name by the papers */
  szRealName: string;
  /** identity number, 18 characters */
  szIdentity: string;
}

export interface RechargeReFreshCoinReq {
  /** the player's user id; in a client's request his own */
  iUserId: number;
}

export interface ClientLobbyCompeteReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
}

export interface ClientSubscribeMsg {
  /** kind of farm message, the farm's own */
  iMainID: number;
  /** kind of farm message, the farm's own */
  iSubID: number;
  /** farm key */
  szKey: string;
}

export interface ClientUnsubscribeMsg {
  /** kind of farm message, the farm's own */
  iMainID: number;
  /** kind of farm message, the farm's own */
  iSubID: number;
  /** farm key */
  szKey: string;
}

export interface GameServerInfoReq {
  /** the player's user id; in a client's request his own */
  iUserID: number;
}

export interface UserProgressReq {
  /** the activity's id */
  iActivityId: number;
  /** what is asked, the activity's own */
  iLevel: number;
  /** the activity's own */
  iProgress: number;
  /** the activity's own */
  iOther1: number;
  /** the activity's own */
  iOther2: number;
  /** the activity's own */
  iOther3: number;
}

export interface ExchangeGameCoinRes {
  /** 0 success, else see the codes */
  iErrorCode: number;
  /** coins given */
  llExhangeCoin: bigint;
  /** the giver's coins in hand afterwards */
  llFirstMoney: bigint;
}

export interface ExchangeGameCoinNotify {
  /** the giver's user id */
  iFromUserID: number;
  /** coins given */
  llExhangeCoin: bigint;
  /** the receiver's coins in hand afterwards */
  llFirstMoney: bigint;
}

export interface LobbyAuthenRes {
  /** 0 success, else see the codes */
  ucErrNo: number;
  /** team tag of the account */
  iReserve1: number;
  /** joint-operation flag of the account */
  iReserve2: number;
  /** how the account was registered */
  iReserve3: number;
  /** reserve, as the queue server sent it */
  szReserve1: string;
  /** name of the account with its external provider */
  szReserve2: string;
  /** reserve, as the queue server sent it */
  szReserve3: string;
}

export interface ConsumeSucessNotice {
  /** the player's user id; in a client's request his own */
  userId: number;
  /** game; 0 for none */
  gameId: number;
  /** game server (room); 0 for none */
  serverId: number;
  /** bytes of the text; may claim more than the message holds */
  iSize: number;
  /** what was used: JSON text {"wsGainList":[{"type":n,"number":n},...]} */
  szConsumeNotice: string;
}

export interface LobbyKickOutNotice {
  /** the player's user id; in a client's request his own */
  iUserID: number;
  /** false: the account logged in elsewhere; true: maintenance */
  bStopSwitch: boolean;
}

export interface SychUserLobbyData {
  /** the player's user id; in a client's request his own */
  userId: number;
  /** game; 0 for none */
  gameId: number;
  /** game server (room); 0 for none */
  serverId: number;
  /** which figure changed, as the platform numbers it */
  dataType: number;
  /** its new value */
  dataValue: number;
}

export interface WinCoinBulletinNotice_2 {
  /** kind of bulletin; 4 goes before others */
  usBulletType: number;
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** game; 0 for none */
  iGameId: number;
  /** game server (room); 0 for none */
  iServerId: number;
  /** kind of prize, as the platform numbers it */
  iAwardType: number;
  /** how much was won */
  iAwardNum: number;
  /** nickname */
  szNickName: string;
  /** account name */
  szUserName: string;
  /** name of the game server */
  szServerName: string;
  /** text of the bulletin */
  szContent: string;
  /** channel the bulletin is for; empty for all */
  cChannelId: string;
}

export interface WinBulletinNotice {
  /** records in this message */
  usBulletNum: number;
  /** the records */
  bulletinItem: WinCoinBulletinNotice_2[];
}

export interface LobbyTransferFarmNotice {
  /** kind of farm message, the farm's own */
  iMainID: number;
  /** kind of farm message, the farm's own */
  iSubID: number;
  /** receiver; 0 and below: every client */
  iUserID: number;
  /** text of the message */
  szMsgContent: string;
}

export interface LoginBankResult {
  /** 0 success, else see the codes */
  ucResultType: number;
  /** coins in hand */
  llGameCoin: bigint;
  /** coins in the bank */
  llBankCoin: bigint;
}

export interface GetCoinResult {
  /** 0 success, else see the codes */
  ucResultType: number;
  /** coins taken out */
  llGetCoinNum: bigint;
}

export interface SaveCoinRes {
  /** 0 success, else see the codes */
  ucResultType: number;
  /** coins in hand afterwards */
  llSelfCoin: bigint;
}

export interface ModifyBankPasswdRes {
  /** 0 success, else see the codes */
  ucResultType: number;
}

export interface tagModifyPassWordRes {
  /** 0 success, else see the codes */
  ucResultType: number;
}

export interface ModifyNickNameRes {
  /** 0 success, else see the codes */
  iError: number;
  /** nickname */
  szNickName: string;
}

export interface ModifyGenderRes {
  /** 0 success, else see the codes */
  iError: number;
  /** gender, as the platform numbers it */
  iGender: number;
}

export interface ModifyPersonalSignatureRes {
  /** 0 success, else see the codes */
  iError: number;
  /** the player's own words beside his name */
  szPersonalSignature: string;
}

export interface ModifyFaceIdRes {
  /** 0 success, else see the codes */
  iError: number;
  /** picture of the player, as the platform numbers it */
  iFaceId: number;
}

export interface BindingMobileRes {
  /** 0 success, else see the codes */
  iError: number;
  /** mobile number, digits */
  szMobileNumber: string;
}

export interface RealNameAuthenRes {
  /** 0 success, else see the codes */
  iError: number;
  /** name by the papers */
  szRealName: string;
  /** identity number, 18 characters */
  szIdentity: string;
}

export interface ModifyFaceFrameRes {
  /** 0 success, else see the codes */
  iError: number;
  /** frame around the picture, as the platform numbers it */
  iFrameId: number;
}

export interface RechargeReFreshCoinRes {
  /** the player's user id; in a client's request his own */
  iUserId: number;
  /** 0 success, else see the codes */
  iError: number;
  /** coins in hand */
  llCurGameCoin: bigint;
  /** all the player ever recharged */
  llTotalRechageNum: bigint;
  /** coins in the bank */
  llBankCoin: bigint;
}

export interface LobbyClientCompeteRes {
  /** 0 success, else see the codes */
  usErrorCode: number;
  /** today's: 0 the daily one, 1 the monthly one */
  usCompeteType: number;
  /** free entries the player has left today */
  iFreeCount: number;
  /** tickets for the daily tournament */
  iDayTicketCount: number;
  /** tickets for the monthly tournament */
  iMonthTicketCount: number;
  /** the player's score this month */
  iCompeteMonthScore: number;
  /** the player's rank this month */
  iCompeteMonthRank: number;
  /** coins the winner gets */
  iAwardCoin: number;
  /** day of the month it opens; 0 for the daily one */
  usOpenDay: number;
  /** hour it opens */
  usOpenHour: number;
  /** minute it opens */
  usOpenMinute: number;
  /** rounds; may be more than the 8 below */
  usTurnNum: number;
  /** players kept in each round */
  iTurnsUsers: number[];
  /** free daily entries a player gets */
  usDayMaxFreeCount: number;
  /** coins an entry costs */
  iDayCompeteCostCoin: number;
  /** 1: the player left a tournament that goes on and may return */
  ucIsDisconnect: number;
  /** port of that server */
  usServerPort: number;
  /** address of the server it is on, dotted */
  szServerIp: string;
}

export interface ClientPublishMsg {
  /** kind of farm message, the farm's own */
  iMainID: number;
  /** kind of farm message, the farm's own */
  iSubID: number;
  /** farm key */
  szKey: string;
  /** text of the message */
  szMsgContent: string;
}

export interface tagServerInfo {
  /** game; 0 for none */
  usGameID: number;
  /** room; 0 in a client's list: all rooms of the game and level in one */
  usServerID: number;
  /** name of the game server */
  szServerName: string;
  /** address to connect to, dotted */
  szTelecomIP: string;
  /** coins a player needs to enter */
  ulLimitPoint: number;
  /** base time of the room, the game's own */
  ulBaseTime: number;
  /** base stake of the room */
  ulBasePoint: number;
  /** highest stake */
  ulMaxPoint: number;
  /** lowest stake */
  ulMinPoint: number;
  /** players in it */
  usOnlineCount: number;
  /** port to connect to */
  usServerPort: number;
  /** kind of room, the game's own */
  ucServerType: number;
  /** 0 closed, else open */
  ucOpenFlag: number;
  /** level of the room */
  usLevel: number;
  /** players it takes at most */
  iMaxUserNum: number;
  /** data source of the room, the game's own */
  szDsnInfo: string;
}

export interface tagGameServer {
  /** 1 in the last message of the list, else 0 */
  usIsFinish: number;
  /** records in this message */
  usListCount: number;
  /** the records */
  serverInfo: tagServerInfo[];
}

export interface ActivityCloseNotice {
  /** the activity that has closed */
  iActivity: number;
}

export interface KeepAlive {
}

export interface Requests {
  ExchangeGameCoinReq: ExchangeGameCoinReqFields;
  0x0050: ExchangeGameCoinReqFields;
  tagLobbyClientConnectNotice: tagLobbyClientConnectNoticeFields;
  0x00a1: tagLobbyClientConnectNoticeFields;
  UserBankLoginReq: UserBankLoginReqFields;
  0x00d3: UserBankLoginReqFields;
  GetBankCoinReq: GetBankCoinReqFields;
  0x00d5: GetBankCoinReqFields;
  SaveCoinReq: SaveCoinReqFields;
  0x00d7: SaveCoinReqFields;
  ModifyBankPasswdReq: ModifyBankPasswdReqFields;
  0x00d9: ModifyBankPasswdReqFields;
  tagModifyPassWordReq: tagModifyPassWordReqFields;
  0x00e1: tagModifyPassWordReqFields;
  ModifyNickNameReq: ModifyNickNameReqFields;
  0x00e3: ModifyNickNameReqFields;
  ModifyGenderReq: ModifyGenderReqFields;
  0x00e4: ModifyGenderReqFields;
  ModifyPersonalSignatureReq: ModifyPersonalSignatureReqFields;
  0x00e5: ModifyPersonalSignatureReqFields;
  ModifyFaceIdReq: ModifyFaceIdReqFields;
  0x00e6: ModifyFaceIdReqFields;
  BindingMobileReq: BindingMobileReqFields;
  0x00e7: BindingMobileReqFields;
  RealNameAuthenReq: RealNameAuthenReqFields;
  0x00e8: RealNameAuthenReqFields;
  RechargeReFreshCoinReq: RechargeReFreshCoinReqFields;
  0x00ea: RechargeReFreshCoinReqFields;
  ClientLobbyCompeteReq: ClientLobbyCompeteReqFields;
  0x00f0: ClientLobbyCompeteReqFields;
  ClientSubscribeMsg: ClientSubscribeMsgFields;
  0x00f2: ClientSubscribeMsgFields;
  ClientUnsubscribeMsg: ClientUnsubscribeMsgFields;
  0x00f3: ClientUnsubscribeMsgFields;
  GameServerInfoReq: GameServerInfoReqFields;
  0x9002: GameServerInfoReqFields;
  UserProgressReq: UserProgressReqFields;
  0xe012: UserProgressReqFields;
  KeepAlive: KeepAlive;
  0xf0f1: KeepAlive;
}

export interface Answers {
  ExchangeGameCoinRes: ExchangeGameCoinRes;
  0x0051: ExchangeGameCoinRes;
  ExchangeGameCoinNotify: ExchangeGameCoinNotify;
  0x0052: ExchangeGameCoinNotify;
  LobbyAuthenRes: LobbyAuthenRes;
  0x00a6: LobbyAuthenRes;
  ConsumeSucessNotice: ConsumeSucessNotice;
  0x00a7: ConsumeSucessNotice;
  LobbyKickOutNotice: LobbyKickOutNotice;
  0x00a8: LobbyKickOutNotice;
  SychUserLobbyData: SychUserLobbyData;
  0x00b3: SychUserLobbyData;
  WinBulletinNotice: WinBulletinNotice;
  0x00b4: WinBulletinNotice;
  LobbyTransferFarmNotice: LobbyTransferFarmNotice;
  0x00bb: LobbyTransferFarmNotice;
  LoginBankResult: LoginBankResult;
  0x00d4: LoginBankResult;
  GetCoinResult: GetCoinResult;
  0x00d6: GetCoinResult;
  SaveCoinRes: SaveCoinRes;
  0x00d8: SaveCoinRes;
  ModifyBankPasswdRes: ModifyBankPasswdRes;
  0x00da: ModifyBankPasswdRes;
  tagModifyPassWordRes: tagModifyPassWordRes;
  0x00e2: tagModifyPassWordRes;
  ModifyNickNameRes: ModifyNickNameRes;
  0x00e3: ModifyNickNameRes;
  ModifyGenderRes: ModifyGenderRes;
  0x00e4: ModifyGenderRes;
  ModifyPersonalSignatureRes: ModifyPersonalSignatureRes;
  0x00e5: ModifyPersonalSignatureRes;
  ModifyFaceIdRes: ModifyFaceIdRes;
  0x00e6: ModifyFaceIdRes;
  BindingMobileRes: BindingMobileRes;
  0x00e7: BindingMobileRes;
  RealNameAuthenRes: RealNameAuthenRes;
  0x00e8: RealNameAuthenRes;
  ModifyFaceFrameRes: ModifyFaceFrameRes;
  0x00e9: ModifyFaceFrameRes;
  RechargeReFreshCoinRes: RechargeReFreshCoinRes;
  0x00ea: RechargeReFreshCoinRes;
  LobbyClientCompeteRes: LobbyClientCompeteRes;
  0x00f1: LobbyClientCompeteRes;
  ClientPublishMsg: ClientPublishMsg;
  0x00f4: ClientPublishMsg;
  tagGameServer: tagGameServer;
  0x9003: tagGameServer;
  UserProgressReq: UserProgressReq;
  0xe012: UserProgressReq;
  ActivityCloseNotice: ActivityCloseNotice;
  0xe014: ActivityCloseNotice;
  KeepAlive: KeepAlive;
  0xf0f1: KeepAlive;
}

export interface Replies {
  0x0050: ExchangeGameCoinRes;
  0x00a1: LobbyAuthenRes;
  0x00d3: LoginBankResult;
  0x00d5: GetCoinResult;
  0x00d7: SaveCoinRes;
  0x00d9: ModifyBankPasswdRes;
  0x00e1: tagModifyPassWordRes;
  0x00e3: ModifyNickNameRes;
  0x00e4: ModifyGenderRes;
  0x00e5: ModifyPersonalSignatureRes;
  0x00e6: ModifyFaceIdRes;
  0x00e7: BindingMobileRes;
  0x00e8: RealNameAuthenRes;
  0x00ea: RechargeReFreshCoinRes;
  0x00f0: LobbyClientCompeteRes;
  0x9002: tagGameServer;
  0xf0f1: KeepAlive;
}

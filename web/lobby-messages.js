// Written by `protocol_doc --js` from the message headers; a test compares this file with them.

export const TO_LOBBY = 'to-lobby';
export const FROM_LOBBY = 'from-lobby';

const ExchangeGameCoinReq = [
  { name: 'iRecvUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the receiver\'s user id' },
  { name: 'llExhangeCoin', offset: 12, kind: 'i64', size: 8, meaning: 'coins given' },
];

const tagLobbyClientConnectNotice = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iLobbySiteID', offset: 12, kind: 'i32', size: 4, meaning: 'site to log in at: decides whose game servers are listed' },
  { name: 'szToken', offset: 16, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the platform\'s token for this login' },
  { name: 'szChannelID', offset: 49, kind: 'text', size: 17, room: 16, meaning: 'distribution channel of the client; any text' },
];

const UserBankLoginReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szBankPass', offset: 12, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the bank password' },
];

const GetBankCoinReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iSiteID', offset: 12, kind: 'i32', size: 4, meaning: 'site, see the glossary' },
  { name: 'iGameID', offset: 16, kind: 'i32', size: 4, meaning: 'game; 0 for none' },
  { name: 'iServerID', offset: 20, kind: 'i32', size: 4, meaning: 'game server (room); 0 for none' },
  { name: 'llGetNum', offset: 24, kind: 'i64', size: 8, meaning: 'coins to move from the bank into the hand, at least 1' },
  { name: 'szBankerPwd', offset: 32, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the bank password' },
];

const SaveCoinReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iSiteID', offset: 12, kind: 'i32', size: 4, meaning: 'site, see the glossary' },
  { name: 'iGameID', offset: 16, kind: 'i32', size: 4, meaning: 'game; 0 for none' },
  { name: 'iServerID', offset: 20, kind: 'i32', size: 4, meaning: 'game server (room); 0 for none' },
  { name: 'llSaveCoinNum', offset: 24, kind: 'i64', size: 8, meaning: 'coins to move from the hand into the bank, at least 1' },
  { name: 'llGameWinCoinNum', offset: 32, kind: 'i64', size: 8, meaning: 'how many of them were won in a game' },
];

const ModifyBankPasswdReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szCode', offset: 12, kind: 'text', size: 7, room: 6, secret: true, meaning: 'confirmation code, when the platform asks for one' },
  { name: 'szOldPassWd', offset: 19, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the password until now' },
  { name: 'szNewPassWd', offset: 52, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the password from now on' },
];

const tagModifyPassWordReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szOldPassWd', offset: 12, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the password until now' },
  { name: 'szNewPassWd', offset: 45, kind: 'text', size: 33, room: 32, secret: true, meaning: 'the password from now on' },
];

const ModifyNickNameReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szNickName', offset: 12, kind: 'text', size: 32, room: 31, meaning: 'nickname' },
];

const ModifyGenderReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iGender', offset: 12, kind: 'i32', size: 4, meaning: 'gender, as the platform numbers it' },
];

const ModifyPersonalSignatureReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szPersonalSignature', offset: 12, kind: 'text', size: 128, room: 127, meaning: 'the player\'s own words beside his name' },
];

const ModifyFaceIdReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iFaceId', offset: 12, kind: 'i32', size: 4, meaning: 'picture of the player, as the platform numbers it' },
];

const BindingMobileReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szMobileNumber', offset: 12, kind: 'text', size: 15, room: 14, meaning: 'mobile number, digits' },
];

const RealNameAuthenReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'szRealName', offset: 12, kind: 'text', size: 255, room: 254, meaning: 'name by the papers' },
  { name: 'szIdentity', offset: 267, kind: 'text', size: 18, room: 18, secret: true, meaning: 'identity number, 18 characters' },
];

const RechargeReFreshCoinReq = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
];

const ClientLobbyCompeteReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
];

const ClientSubscribeMsg = [
  { name: 'iMainID', offset: 8, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'iSubID', offset: 12, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'szKey', offset: 16, kind: 'text', size: 128, room: 127, meaning: 'farm key' },
];

const ClientUnsubscribeMsg = [
  { name: 'iMainID', offset: 8, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'iSubID', offset: 12, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'szKey', offset: 16, kind: 'text', size: 128, room: 127, meaning: 'farm key' },
];

const GameServerInfoReq = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
];

const UserProgressReq = [
  { name: 'iActivityId', offset: 8, kind: 'i32', size: 4, meaning: 'the activity\'s id' },
  { name: 'iLevel', offset: 12, kind: 'i32', size: 4, meaning: 'what is asked, the activity\'s own' },
  { name: 'iProgress', offset: 16, kind: 'i32', size: 4, meaning: 'the activity\'s own' },
  { name: 'iOther1', offset: 20, kind: 'i32', size: 4, meaning: 'the activity\'s own' },
  { name: 'iOther2', offset: 24, kind: 'i32', size: 4, meaning: 'the activity\'s own' },
  { name: 'iOther3', offset: 28, kind: 'i32', size: 4, meaning: 'the activity\'s own' },
];

const ExchangeGameCoinRes = [
  { name: 'iErrorCode', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'llExhangeCoin', offset: 12, kind: 'i64', size: 8, meaning: 'coins given' },
  { name: 'llFirstMoney', offset: 20, kind: 'i64', size: 8, meaning: 'the giver\'s coins in hand afterwards' },
];

const ExchangeGameCoinNotify = [
  { name: 'iFromUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the giver\'s user id' },
  { name: 'llExhangeCoin', offset: 12, kind: 'i64', size: 8, meaning: 'coins given' },
  { name: 'llFirstMoney', offset: 20, kind: 'i64', size: 8, meaning: 'the receiver\'s coins in hand afterwards' },
];

const LobbyAuthenRes = [
  { name: 'ucErrNo', offset: 8, kind: 'u8', size: 1, meaning: '0 success, else see the codes' },
  { name: 'iReserve1', offset: 12, kind: 'i32', size: 4, meaning: 'team tag of the account' },
  { name: 'iReserve2', offset: 16, kind: 'i32', size: 4, meaning: 'joint-operation flag of the account' },
  { name: 'iReserve3', offset: 20, kind: 'i32', size: 4, meaning: 'how the account was registered' },
  { name: 'szReserve1', offset: 24, kind: 'text', size: 64, room: 63, meaning: 'reserve, as the queue server sent it' },
  { name: 'szReserve2', offset: 88, kind: 'text', size: 64, room: 63, meaning: 'name of the account with its external provider' },
  { name: 'szReserve3', offset: 152, kind: 'text', size: 64, room: 63, meaning: 'reserve, as the queue server sent it' },
];

const ConsumeSucessNotice = [
  { name: 'userId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'gameId', offset: 12, kind: 'i32', size: 4, meaning: 'game; 0 for none' },
  { name: 'serverId', offset: 16, kind: 'i32', size: 4, meaning: 'game server (room); 0 for none' },
  { name: 'iSize', offset: 20, kind: 'i32', size: 4, meaning: 'bytes of the text; may claim more than the message holds' },
  { name: 'szConsumeNotice', offset: 24, kind: 'tail', size: 0, count: 'iSize', meaning: 'what was used: JSON text {"wsGainList":[{"type":n,"number":n},...]}' },
];

const LobbyKickOutNotice = [
  { name: 'iUserID', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'bStopSwitch', offset: 12, kind: 'bool', size: 1, meaning: 'false: the account logged in elsewhere; true: maintenance' },
];

const SychUserLobbyData = [
  { name: 'userId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'gameId', offset: 12, kind: 'i32', size: 4, meaning: 'game; 0 for none' },
  { name: 'serverId', offset: 16, kind: 'i32', size: 4, meaning: 'game server (room); 0 for none' },
  { name: 'dataType', offset: 20, kind: 'i32', size: 4, meaning: 'which figure changed, as the platform numbers it' },
  { name: 'dataValue', offset: 24, kind: 'i32', size: 4, meaning: 'its new value' },
];

const WinCoinBulletinNotice_2 = [
  { name: 'usBulletType', offset: 0, kind: 'u16', size: 2, meaning: 'kind of bulletin; 4 goes before others' },
  { name: 'iUserId', offset: 4, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iGameId', offset: 8, kind: 'i32', size: 4, meaning: 'game; 0 for none' },
  { name: 'iServerId', offset: 12, kind: 'i32', size: 4, meaning: 'game server (room); 0 for none' },
  { name: 'iAwardType', offset: 16, kind: 'i32', size: 4, meaning: 'kind of prize, as the platform numbers it' },
  { name: 'iAwardNum', offset: 20, kind: 'i32', size: 4, meaning: 'how much was won' },
  { name: 'szNickName', offset: 24, kind: 'text', size: 32, room: 31, meaning: 'nickname' },
  { name: 'szUserName', offset: 56, kind: 'text', size: 32, room: 31, meaning: 'account name' },
  { name: 'szServerName', offset: 88, kind: 'text', size: 32, room: 31, meaning: 'name of the game server' },
  { name: 'szContent', offset: 120, kind: 'text', size: 512, room: 511, meaning: 'text of the bulletin' },
  { name: 'cChannelId', offset: 632, kind: 'text', size: 17, room: 16, meaning: 'channel the bulletin is for; empty for all' },
];

const WinBulletinNotice = [
  { name: 'usBulletNum', offset: 8, kind: 'u16', size: 2, meaning: 'records in this message' },
  { name: 'bulletinItem', offset: 12, kind: 'list', size: 3260, item: { kind: 'record', size: 652, fields: WinCoinBulletinNotice_2 }, max: 5, count: 'usBulletNum', meaning: 'the records' },
];

const LobbyTransferFarmNotice = [
  { name: 'iMainID', offset: 8, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'iSubID', offset: 12, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'iUserID', offset: 16, kind: 'i32', size: 4, meaning: 'receiver; 0 and below: every client' },
  { name: 'szMsgContent', offset: 20, kind: 'text', size: 1024, room: 1023, meaning: 'text of the message' },
];

const LoginBankResult = [
  { name: 'ucResultType', offset: 8, kind: 'u8', size: 1, meaning: '0 success, else see the codes' },
  { name: 'llGameCoin', offset: 12, kind: 'i64', size: 8, meaning: 'coins in hand' },
  { name: 'llBankCoin', offset: 20, kind: 'i64', size: 8, meaning: 'coins in the bank' },
];

const GetCoinResult = [
  { name: 'ucResultType', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'llGetCoinNum', offset: 12, kind: 'i64', size: 8, meaning: 'coins taken out' },
];

const SaveCoinRes = [
  { name: 'ucResultType', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'llSelfCoin', offset: 12, kind: 'i64', size: 8, meaning: 'coins in hand afterwards' },
];

const ModifyBankPasswdRes = [
  { name: 'ucResultType', offset: 8, kind: 'u8', size: 1, meaning: '0 success, else see the codes' },
];

const tagModifyPassWordRes = [
  { name: 'ucResultType', offset: 8, kind: 'u8', size: 1, meaning: '0 success, else see the codes' },
];

const ModifyNickNameRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'szNickName', offset: 12, kind: 'text', size: 32, room: 31, meaning: 'nickname' },
];

const ModifyGenderRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'iGender', offset: 12, kind: 'i32', size: 4, meaning: 'gender, as the platform numbers it' },
];

const ModifyPersonalSignatureRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'szPersonalSignature', offset: 12, kind: 'text', size: 128, room: 127, meaning: 'the player\'s own words beside his name' },
];

const ModifyFaceIdRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'iFaceId', offset: 12, kind: 'i32', size: 4, meaning: 'picture of the player, as the platform numbers it' },
];

const BindingMobileRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'szMobileNumber', offset: 12, kind: 'text', size: 15, room: 14, meaning: 'mobile number, digits' },
];

const RealNameAuthenRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'szRealName', offset: 12, kind: 'text', size: 255, room: 254, meaning: 'name by the papers' },
  { name: 'szIdentity', offset: 267, kind: 'text', size: 18, room: 18, secret: true, meaning: 'identity number, 18 characters' },
];

const ModifyFaceFrameRes = [
  { name: 'iError', offset: 8, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'iFrameId', offset: 12, kind: 'i32', size: 4, meaning: 'frame around the picture, as the platform numbers it' },
];

const RechargeReFreshCoinRes = [
  { name: 'iUserId', offset: 8, kind: 'i32', size: 4, meaning: 'the player\'s user id; in a client\'s request his own' },
  { name: 'iError', offset: 12, kind: 'i32', size: 4, meaning: '0 success, else see the codes' },
  { name: 'llCurGameCoin', offset: 16, kind: 'i64', size: 8, meaning: 'coins in hand' },
  { name: 'llTotalRechageNum', offset: 24, kind: 'i64', size: 8, meaning: 'all the player ever recharged' },
  { name: 'llBankCoin', offset: 32, kind: 'i64', size: 8, meaning: 'coins in the bank' },
];

const LobbyClientCompeteRes = [
  { name: 'usErrorCode', offset: 8, kind: 'u16', size: 2, meaning: '0 success, else see the codes' },
  { name: 'usCompeteType', offset: 10, kind: 'u16', size: 2, meaning: 'today\'s: 0 the daily one, 1 the monthly one' },
  { name: 'iFreeCount', offset: 12, kind: 'i32', size: 4, meaning: 'free entries the player has left today' },
  { name: 'iDayTicketCount', offset: 16, kind: 'i32', size: 4, meaning: 'tickets for the daily tournament' },
  { name: 'iMonthTicketCount', offset: 20, kind: 'i32', size: 4, meaning: 'tickets for the monthly tournament' },
  { name: 'iCompeteMonthScore', offset: 24, kind: 'i32', size: 4, meaning: 'the player\'s score this month' },
  { name: 'iCompeteMonthRank', offset: 28, kind: 'i32', size: 4, meaning: 'the player\'s rank this month' },
  { name: 'iAwardCoin', offset: 32, kind: 'i32', size: 4, meaning: 'coins the winner gets' },
  { name: 'usOpenDay', offset: 36, kind: 'u16', size: 2, meaning: 'day of the month it opens; 0 for the daily one' },
  { name: 'usOpenHour', offset: 38, kind: 'u16', size: 2, meaning: 'hour it opens' },
  { name: 'usOpenMinute', offset: 40, kind: 'u16', size: 2, meaning: 'minute it opens' },
  { name: 'usTurnNum', offset: 42, kind: 'u16', size: 2, meaning: 'rounds; may be more than the 8 below' },
  { name: 'iTurnsUsers', offset: 44, kind: 'array', size: 32, item: { kind: 'i32', size: 4 }, length: 8, meaning: 'players kept in each round' },
  { name: 'usDayMaxFreeCount', offset: 76, kind: 'u16', size: 2, meaning: 'free daily entries a player gets' },
  { name: 'iDayCompeteCostCoin', offset: 80, kind: 'i32', size: 4, meaning: 'coins an entry costs' },
  { name: 'ucIsDisconnect', offset: 84, kind: 'u8', size: 1, meaning: '1: the player left a tournament that goes on and may return' },
  { name: 'usServerPort', offset: 86, kind: 'u16', size: 2, meaning: 'port of that server' },
  { name: 'szServerIp', offset: 88, kind: 'text', size: 16, room: 15, meaning: 'address of the server it is on, dotted' },
];

const ClientPublishMsg = [
  { name: 'iMainID', offset: 8, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'iSubID', offset: 12, kind: 'i32', size: 4, meaning: 'kind of farm message, the farm\'s own' },
  { name: 'szKey', offset: 16, kind: 'text', size: 128, room: 127, meaning: 'farm key' },
  { name: 'szMsgContent', offset: 144, kind: 'text', size: 1024, room: 1023, meaning: 'text of the message' },
];

const tagServerInfo = [
  { name: 'usGameID', offset: 0, kind: 'u16', size: 2, meaning: 'game; 0 for none' },
  { name: 'usServerID', offset: 2, kind: 'u16', size: 2, meaning: 'room; 0 in a client\'s list: all rooms of the game and level in one' },
  { name: 'szServerName', offset: 4, kind: 'text', size: 32, room: 31, meaning: 'name of the game server' },
  { name: 'szTelecomIP', offset: 36, kind: 'text', size: 16, room: 15, meaning: 'address to connect to, dotted' },
  { name: 'ulLimitPoint', offset: 52, kind: 'u32', size: 4, meaning: 'coins a player needs to enter' },
  { name: 'ulBaseTime', offset: 56, kind: 'u32', size: 4, meaning: 'base time of the room, the game\'s own' },
  { name: 'ulBasePoint', offset: 60, kind: 'u32', size: 4, meaning: 'base stake of the room' },
  { name: 'ulMaxPoint', offset: 64, kind: 'u32', size: 4, meaning: 'highest stake' },
  { name: 'ulMinPoint', offset: 68, kind: 'u32', size: 4, meaning: 'lowest stake' },
  { name: 'usOnlineCount', offset: 72, kind: 'u16', size: 2, meaning: 'players in it' },
  { name: 'usServerPort', offset: 74, kind: 'u16', size: 2, meaning: 'port to connect to' },
  { name: 'ucServerType', offset: 76, kind: 'u8', size: 1, meaning: 'kind of room, the game\'s own' },
  { name: 'ucOpenFlag', offset: 77, kind: 'u8', size: 1, meaning: '0 closed, else open' },
  { name: 'usLevel', offset: 78, kind: 'u16', size: 2, meaning: 'level of the room' },
  { name: 'iMaxUserNum', offset: 80, kind: 'i32', size: 4, meaning: 'players it takes at most' },
  { name: 'szDsnInfo', offset: 84, kind: 'text', size: 32, room: 31, meaning: 'data source of the room, the game\'s own' },
];

const tagGameServer = [
  { name: 'usIsFinish', offset: 8, kind: 'u16', size: 2, meaning: '1 in the last message of the list, else 0' },
  { name: 'usListCount', offset: 10, kind: 'u16', size: 2, meaning: 'records in this message' },
  { name: 'serverInfo', offset: 12, kind: 'list', size: 2320, item: { kind: 'record', size: 116, fields: tagServerInfo }, max: 20, count: 'usListCount', meaning: 'the records' },
];

const ActivityCloseNotice = [
  { name: 'iActivity', offset: 8, kind: 'i32', size: 4, meaning: 'the activity that has closed' },
];

// A request's `reply` is the number of its answer; requests without one are never answered.
// An answer's `code` names the field that says how it went.
export const MESSAGES = [
  { direction: TO_LOBBY, type: 0x0050, name: 'ExchangeGameCoinReq', meaning: 'coin exchange request', size: 20, fields: ExchangeGameCoinReq, reply: 0x0051 },
  { direction: TO_LOBBY, type: 0x00a1, name: 'tagLobbyClientConnectNotice', meaning: 'connect notice', size: 68, fields: tagLobbyClientConnectNotice, reply: 0x00a6 },
  { direction: TO_LOBBY, type: 0x00d3, name: 'UserBankLoginReq', meaning: 'bank login request', size: 48, fields: UserBankLoginReq, reply: 0x00d4 },
  { direction: TO_LOBBY, type: 0x00d5, name: 'GetBankCoinReq', meaning: 'take coin request', size: 68, fields: GetBankCoinReq, reply: 0x00d6 },
  { direction: TO_LOBBY, type: 0x00d7, name: 'SaveCoinReq', meaning: 'save coin request', size: 40, fields: SaveCoinReq, reply: 0x00d8 },
  { direction: TO_LOBBY, type: 0x00d9, name: 'ModifyBankPasswdReq', meaning: 'bank password request', size: 88, fields: ModifyBankPasswdReq, reply: 0x00da },
  { direction: TO_LOBBY, type: 0x00e1, name: 'tagModifyPassWordReq', meaning: 'login password request', size: 80, fields: tagModifyPassWordReq, reply: 0x00e2 },
  { direction: TO_LOBBY, type: 0x00e3, name: 'ModifyNickNameReq', meaning: 'nickname request', size: 44, fields: ModifyNickNameReq, reply: 0x00e3 },
  { direction: TO_LOBBY, type: 0x00e4, name: 'ModifyGenderReq', meaning: 'gender request', size: 16, fields: ModifyGenderReq, reply: 0x00e4 },
  { direction: TO_LOBBY, type: 0x00e5, name: 'ModifyPersonalSignatureReq', meaning: 'signature request', size: 140, fields: ModifyPersonalSignatureReq, reply: 0x00e5 },
  { direction: TO_LOBBY, type: 0x00e6, name: 'ModifyFaceIdReq', meaning: 'face id request', size: 16, fields: ModifyFaceIdReq, reply: 0x00e6 },
  { direction: TO_LOBBY, type: 0x00e7, name: 'BindingMobileReq', meaning: 'mobile binding request', size: 28, fields: BindingMobileReq, reply: 0x00e7 },
  { direction: TO_LOBBY, type: 0x00e8, name: 'RealNameAuthenReq', meaning: 'real name request', size: 288, fields: RealNameAuthenReq, reply: 0x00e8 },
  { direction: TO_LOBBY, type: 0x00ea, name: 'RechargeReFreshCoinReq', meaning: 'coin refresh request', size: 12, fields: RechargeReFreshCoinReq, reply: 0x00ea },
  { direction: TO_LOBBY, type: 0x00f0, name: 'ClientLobbyCompeteReq', meaning: 'tournament request', size: 12, fields: ClientLobbyCompeteReq, reply: 0x00f1 },
  { direction: TO_LOBBY, type: 0x00f2, name: 'ClientSubscribeMsg', meaning: 'subscribe', size: 144, fields: ClientSubscribeMsg },
  { direction: TO_LOBBY, type: 0x00f3, name: 'ClientUnsubscribeMsg', meaning: 'unsubscribe', size: 144, fields: ClientUnsubscribeMsg },
  { direction: TO_LOBBY, type: 0x9002, name: 'GameServerInfoReq', meaning: 'server list request', size: 12, fields: GameServerInfoReq, reply: 0x9003 },
  { direction: TO_LOBBY, type: 0xe012, name: 'UserProgressReq', meaning: 'activity request', size: 32, fields: UserProgressReq },
  { direction: TO_LOBBY, type: 0xf0f1, name: 'KeepAlive', meaning: 'keep-alive', size: 8, fields: [], reply: 0xf0f1 },
  { direction: FROM_LOBBY, type: 0x0051, name: 'ExchangeGameCoinRes', meaning: 'coin exchange result', size: 28, fields: ExchangeGameCoinRes, code: 'iErrorCode' },
  { direction: FROM_LOBBY, type: 0x0052, name: 'ExchangeGameCoinNotify', meaning: 'coins received', size: 28, fields: ExchangeGameCoinNotify },
  { direction: FROM_LOBBY, type: 0x00a6, name: 'LobbyAuthenRes', meaning: 'login result', size: 216, fields: LobbyAuthenRes, code: 'ucErrNo' },
  { direction: FROM_LOBBY, type: 0x00a7, name: 'ConsumeSucessNotice', meaning: 'consume notice', size: 24, fields: ConsumeSucessNotice },
  { direction: FROM_LOBBY, type: 0x00a8, name: 'LobbyKickOutNotice', meaning: 'kick-out', size: 16, fields: LobbyKickOutNotice },
  { direction: FROM_LOBBY, type: 0x00b3, name: 'SychUserLobbyData', meaning: 'user data sync', size: 28, fields: SychUserLobbyData },
  { direction: FROM_LOBBY, type: 0x00b4, name: 'WinBulletinNotice', meaning: 'bulletins', size: 3272, fields: WinBulletinNotice },
  { direction: FROM_LOBBY, type: 0x00bb, name: 'LobbyTransferFarmNotice', meaning: 'farm message', size: 1044, fields: LobbyTransferFarmNotice },
  { direction: FROM_LOBBY, type: 0x00d4, name: 'LoginBankResult', meaning: 'bank login result', size: 28, fields: LoginBankResult, code: 'ucResultType' },
  { direction: FROM_LOBBY, type: 0x00d6, name: 'GetCoinResult', meaning: 'take coin result', size: 20, fields: GetCoinResult, code: 'ucResultType' },
  { direction: FROM_LOBBY, type: 0x00d8, name: 'SaveCoinRes', meaning: 'save coin result', size: 20, fields: SaveCoinRes, code: 'ucResultType' },
  { direction: FROM_LOBBY, type: 0x00da, name: 'ModifyBankPasswdRes', meaning: 'bank password result', size: 10, fields: ModifyBankPasswdRes, code: 'ucResultType' },
  { direction: FROM_LOBBY, type: 0x00e2, name: 'tagModifyPassWordRes', meaning: 'login password result', size: 10, fields: tagModifyPassWordRes, code: 'ucResultType' },
  { direction: FROM_LOBBY, type: 0x00e3, name: 'ModifyNickNameRes', meaning: 'nickname result', size: 44, fields: ModifyNickNameRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00e4, name: 'ModifyGenderRes', meaning: 'gender result', size: 16, fields: ModifyGenderRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00e5, name: 'ModifyPersonalSignatureRes', meaning: 'signature result', size: 140, fields: ModifyPersonalSignatureRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00e6, name: 'ModifyFaceIdRes', meaning: 'face id result', size: 16, fields: ModifyFaceIdRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00e7, name: 'BindingMobileRes', meaning: 'mobile binding result', size: 28, fields: BindingMobileRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00e8, name: 'RealNameAuthenRes', meaning: 'real name result', size: 288, fields: RealNameAuthenRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00e9, name: 'ModifyFaceFrameRes', meaning: 'face frame result', size: 16, fields: ModifyFaceFrameRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00ea, name: 'RechargeReFreshCoinRes', meaning: 'coin refresh result', size: 40, fields: RechargeReFreshCoinRes, code: 'iError' },
  { direction: FROM_LOBBY, type: 0x00f1, name: 'LobbyClientCompeteRes', meaning: 'tournament info', size: 104, fields: LobbyClientCompeteRes, code: 'usErrorCode' },
  { direction: FROM_LOBBY, type: 0x00f4, name: 'ClientPublishMsg', meaning: 'published farm message', size: 1168, fields: ClientPublishMsg },
  { direction: FROM_LOBBY, type: 0x9003, name: 'tagGameServer', meaning: 'server list', size: 2332, fields: tagGameServer },
  { direction: FROM_LOBBY, type: 0xe012, name: 'UserProgressReq', meaning: 'activity state', size: 32, fields: UserProgressReq },
  { direction: FROM_LOBBY, type: 0xe014, name: 'ActivityCloseNotice', meaning: 'activity closed', size: 12, fields: ActivityCloseNotice },
  { direction: FROM_LOBBY, type: 0xf0f1, name: 'KeepAlive', meaning: 'keep-alive', size: 8, fields: [] },
];

// By answer and code. Own codes are the lobby's, others the queue server's.
export const CODES = [
  { type: 0x00a6, code: 1, isOwn: false, sentence: 'There is no such player.' },
  { type: 0x00a6, code: 2, isOwn: false, sentence: 'The token is wrong. Get a new one from the platform.' },
  { type: 0x00d4, code: 150, isOwn: true, sentence: 'This request named another player.' },
  { type: 0x00d4, code: 151, isOwn: false, sentence: 'The bank password is wrong.' },
  { type: 0x00d6, code: 150, isOwn: true, sentence: 'This request named another player.' },
  { type: 0x00d6, code: 151, isOwn: false, sentence: 'The bank password is wrong.' },
  { type: 0x00d6, code: 152, isOwn: false, sentence: 'There are not enough coins for this.' },
  { type: 0x00d6, code: 156, isOwn: true, sentence: 'Too soon after the last one. Wait two seconds and try again.' },
  { type: 0x00d6, code: 157, isOwn: true, sentence: 'The amount must be at least 1.' },
  { type: 0x00d8, code: 150, isOwn: true, sentence: 'This request named another player.' },
  { type: 0x00d8, code: 152, isOwn: false, sentence: 'There are not enough coins for this.' },
  { type: 0x00d8, code: 156, isOwn: true, sentence: 'Too soon after the last one. Wait two seconds and try again.' },
  { type: 0x00d8, code: 157, isOwn: true, sentence: 'The amount must be at least 1.' },
  { type: 0x00da, code: 150, isOwn: true, sentence: 'This request named another player.' },
  { type: 0x00da, code: 151, isOwn: false, sentence: 'The bank password is wrong.' },
  { type: 0x00da, code: 156, isOwn: true, sentence: 'Too soon after the last one. Wait two seconds and try again.' },
  { type: 0x00e2, code: 1, isOwn: true, sentence: 'This is not your account.' },
  { type: 0x00e2, code: 3, isOwn: false, sentence: 'The old password is wrong.' },
  { type: 0x00e2, code: 4, isOwn: true, sentence: 'Too soon after the last change. Wait six seconds and try again.' },
  { type: 0x00e3, code: 1, isOwn: true, sentence: 'This nickname is not allowed.' },
  { type: 0x00e3, code: 5, isOwn: false, sentence: 'This nickname is taken.' },
  { type: 0x00e3, code: 6, isOwn: false, sentence: 'This nickname is not allowed.' },
  { type: 0x00e5, code: 1, isOwn: true, sentence: 'This text is not allowed.' },
  { type: 0x00e7, code: 6, isOwn: false, sentence: 'This is not a mobile number.' },
  { type: 0x00e8, code: 6, isOwn: false, sentence: 'The name is missing, or the identity number has not 18 characters.' },
  { type: 0x0051, code: 3, isOwn: true, sentence: 'The amount must be at least 1 and no more than the coins in hand.' },
  { type: 0x0051, code: 4, isOwn: true, sentence: 'Coins cannot be sent to oneself.' },
  { type: 0x0051, code: 12, isOwn: true, sentence: 'Too soon after the last transfer. Wait five seconds and try again.' },
  { type: 0x0051, code: 20, isOwn: false, sentence: 'There are not enough coins for this.' },
  { type: 0x0051, code: 21, isOwn: false, sentence: 'There is no such player.' },
];

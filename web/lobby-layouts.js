// The layout of every message between a game client and the lobby.
//
// Layouts are frozen: clients and lobbies of other versions are in the field. Each row names the
// message, its number, its size in bytes with the 8-byte header, and its fields in wire order. The
// same number may mean another message in the other direction, so rows are looked up by both.
//
// Fields are little-endian and lie at multiples of their own size, but never of more than 4: a
// 64-bit field may start at any multiple of 4. Offsets follow from that rule; the sizes written
// down here check them when the module loads.

export const TO_LOBBY = 'to-lobby';
export const FROM_LOBBY = 'from-lobby';
export const HEADER_SIZE = 8;
export const KEEP_ALIVE = 0xf0f1;

const scalar = (kind, size) => ({ kind, size, align: Math.min(size, 4) });
const u8 = scalar('u8', 1);
const bool = scalar('bool', 1);
const u16 = scalar('u16', 2);
const i32 = scalar('i32', 4);
const u32 = scalar('u32', 4);
const i64 = scalar('i64', 8);

// A terminated text of at most `size - 1` bytes.
const text = (size) => ({ kind: 'text', size, align: 1, room: size - 1 });
// A text that may fill its field and then has no terminator.
const filled = (size) => ({ kind: 'text', size, align: 1, room: size });
// Texts that belong into no log.
const secret = (field) => ({ ...field, secret: true });
const array = (item, length) =>
  ({ kind: 'array', item, length, size: item.size * length, align: item.align });
// A structure in a list.
const record = (fields) => ({ kind: 'record', ...place(fields, 0, 1) });
// Up to `max` records, of which only as many travel as the field `count` says. Always last.
const list = (item, max, count) =>
  ({ kind: 'list', item, max, count, size: item.size * max, align: item.align });
// Text of as many bytes as the field `count` says, to the end of the message. Always last.
const tail = (count) => ({ kind: 'tail', count, size: 0, align: 1 });

function place(fields, start, leastAlign) {
  let at = start;
  let align = leastAlign;
  const placed = Object.entries(fields).map(([name, field]) => {
    const offset = Math.ceil(at / field.align) * field.align;
    at = offset + field.size;
    align = Math.max(align, field.align);
    return { name, offset, ...field };
  });
  return { fields: placed, size: Math.ceil(at / align) * align, align };
}

function row(direction, type, name, size, fields, reply) {
  const placed = place(fields, HEADER_SIZE, 2);  // the header holds 16-bit fields
  if (placed.size !== size) throw new Error(`${name}: ${placed.size} bytes, not ${size}`);
  return Object.freeze({ direction, type, name, size, fields: placed.fields, reply });
}

// A request's `reply` is the number of its answer; requests without one are never answered.
const toLobby = (type, name, size, fields, reply) => row(TO_LOBBY, type, name, size, fields, reply);
const fromLobby = (type, name, size, fields) => row(FROM_LOBBY, type, name, size, fields);

const serverInfo = record({
  usGameID: u16, usServerID: u16, szServerName: text(32), szTelecomIP: text(16),
  ulLimitPoint: u32, ulBaseTime: u32, ulBasePoint: u32, ulMaxPoint: u32, ulMinPoint: u32,
  usOnlineCount: u16, usServerPort: u16, ucServerType: u8, ucOpenFlag: u8, usLevel: u16,
  iMaxUserNum: i32, szDsnInfo: text(32),
});

const bulletin = record({
  usBulletType: u16, iUserId: i32, iGameId: i32, iServerId: i32, iAwardType: i32, iAwardNum: i32,
  szNickName: text(32), szUserName: text(32), szServerName: text(32), szContent: text(512),
  cChannelId: text(17),
});

const subscription = { iMainID: i32, iSubID: i32, szKey: text(128) };

export const MESSAGES = Object.freeze([
  // Session
  toLobby(0x00a1, 'tagLobbyClientConnectNotice', 68,
    { iUserID: i32, iLobbySiteID: i32, szToken: secret(text(33)), szChannelID: text(17) }, 0x00a6),
  fromLobby(0x00a6, 'LobbyAuthenRes', 216,
    { ucErrNo: u8, iReserve1: i32, iReserve2: i32, iReserve3: i32, szReserve1: text(64),
      szReserve2: text(64), szReserve3: text(64) }),
  fromLobby(0x00a8, 'LobbyKickOutNotice', 16, { iUserID: i32, bStopSwitch: bool }),
  toLobby(KEEP_ALIVE, 'KeepAlive', 8, {}, KEEP_ALIVE),
  fromLobby(KEEP_ALIVE, 'KeepAlive', 8, {}),

  // Bank
  toLobby(0x00d3, 'UserBankLoginReq', 48, { iUserID: i32, szBankPass: secret(text(33)) }, 0x00d4),
  fromLobby(0x00d4, 'LoginBankResult', 28, { ucResultType: u8, llGameCoin: i64, llBankCoin: i64 }),
  toLobby(0x00d5, 'GetBankCoinReq', 68,
    { iUserID: i32, iSiteID: i32, iGameID: i32, iServerID: i32, llGetNum: i64,
      szBankerPwd: secret(text(33)) }, 0x00d6),
  fromLobby(0x00d6, 'GetCoinResult', 20, { ucResultType: i32, llGetCoinNum: i64 }),
  toLobby(0x00d7, 'SaveCoinReq', 40,
    { iUserID: i32, iSiteID: i32, iGameID: i32, iServerID: i32, llSaveCoinNum: i64,
      llGameWinCoinNum: i64 }, 0x00d8),
  fromLobby(0x00d8, 'SaveCoinRes', 20, { ucResultType: i32, llSelfCoin: i64 }),
  toLobby(0x00d9, 'ModifyBankPasswdReq', 88,
    { iUserID: i32, szCode: secret(text(7)), szOldPassWd: secret(text(33)),
      szNewPassWd: secret(text(33)) }, 0x00da),
  fromLobby(0x00da, 'ModifyBankPasswdRes', 10, { ucResultType: u8 }),

  // Profile
  toLobby(0x00e1, 'tagModifyPassWordReq', 80,
    { iUserID: i32, szOldPassWd: secret(text(33)), szNewPassWd: secret(text(33)) }, 0x00e2),
  fromLobby(0x00e2, 'tagModifyPassWordRes', 10, { ucResultType: u8 }),
  toLobby(0x00e3, 'ModifyNickNameReq', 44, { iUserId: i32, szNickName: text(32) }, 0x00e3),
  fromLobby(0x00e3, 'ModifyNickNameRes', 44, { iError: i32, szNickName: text(32) }),
  toLobby(0x00e4, 'ModifyGenderReq', 16, { iUserId: i32, iGender: i32 }, 0x00e4),
  fromLobby(0x00e4, 'ModifyGenderRes', 16, { iError: i32, iGender: i32 }),
  toLobby(0x00e5, 'ModifyPersonalSignatureReq', 140,
    { iUserId: i32, szPersonalSignature: text(128) }, 0x00e5),
  fromLobby(0x00e5, 'ModifyPersonalSignatureRes', 140,
    { iError: i32, szPersonalSignature: text(128) }),
  toLobby(0x00e6, 'ModifyFaceIdReq', 16, { iUserId: i32, iFaceId: i32 }, 0x00e6),
  fromLobby(0x00e6, 'ModifyFaceIdRes', 16, { iError: i32, iFaceId: i32 }),
  toLobby(0x00e7, 'BindingMobileReq', 28, { iUserId: i32, szMobileNumber: text(15) }, 0x00e7),
  fromLobby(0x00e7, 'BindingMobileRes', 28, { iError: i32, szMobileNumber: text(15) }),
  toLobby(0x00e8, 'RealNameAuthenReq', 288,
    { iUserId: i32, szRealName: text(255), szIdentity: secret(filled(18)) }, 0x00e8),
  fromLobby(0x00e8, 'RealNameAuthenRes', 288,
    { iError: i32, szRealName: text(255), szIdentity: secret(filled(18)) }),
  // The lobby takes no such request from a client; only the result arrives.
  fromLobby(0x00e9, 'ModifyFaceFrameRes', 16, { iError: i32, iFrameId: i32 }),

  // Coins
  toLobby(0x00ea, 'RechargeReFreshCoinReq', 12, { iUserId: i32 }, 0x00ea),
  fromLobby(0x00ea, 'RechargeReFreshCoinRes', 40,
    { iUserId: i32, iError: i32, llCurGameCoin: i64, llTotalRechageNum: i64, llBankCoin: i64 }),
  fromLobby(0x00a7, 'ConsumeSucessNotice', 24,
    { userId: i32, gameId: i32, serverId: i32, iSize: i32, szConsumeNotice: tail('iSize') }),
  fromLobby(0x00b3, 'SychUserLobbyData', 28,
    { userId: i32, gameId: i32, serverId: i32, dataType: i32, dataValue: i32 }),
  toLobby(0x0050, 'ExchangeGameCoinReq', 20, { iRecvUserID: i32, llExhangeCoin: i64 }, 0x0051),
  fromLobby(0x0051, 'ExchangeGameCoinRes', 28,
    { iErrorCode: i32, llExhangeCoin: i64, llFirstMoney: i64 }),
  fromLobby(0x0052, 'ExchangeGameCoinNotify', 28,
    { iFromUserID: i32, llExhangeCoin: i64, llFirstMoney: i64 }),

  // Directory, bulletins, farm
  toLobby(0x9002, 'GameServerInfoReq', 12, { iUserID: i32 }, 0x9003),
  fromLobby(0x9003, 'tagGameServer', 2332,
    { usIsFinish: u16, usListCount: u16, serverInfo: list(serverInfo, 20, 'usListCount') }),
  fromLobby(0x00b4, 'WinBulletinNotice', 3272,
    { usBulletNum: u16, bulletinItem: list(bulletin, 5, 'usBulletNum') }),
  fromLobby(0x00bb, 'LobbyTransferFarmNotice', 1044,
    { iMainID: i32, iSubID: i32, iUserID: i32, szMsgContent: text(1024) }),
  toLobby(0x00f2, 'ClientSubscribeMsg', 144, subscription),
  toLobby(0x00f3, 'ClientUnsubscribeMsg', 144, subscription),
  fromLobby(0x00f4, 'ClientPublishMsg', 1168, { ...subscription, szMsgContent: text(1024) }),

  // Tournament and activities
  toLobby(0x00f0, 'ClientLobbyCompeteReq', 12, { iUserID: i32 }, 0x00f1),
  fromLobby(0x00f1, 'LobbyClientCompeteRes', 104,
    { usErrorCode: u16, usCompeteType: u16, iFreeCount: i32, iDayTicketCount: i32,
      iMonthTicketCount: i32, iCompeteMonthScore: i32, iCompeteMonthRank: i32, iAwardCoin: i32,
      usOpenDay: u16, usOpenHour: u16, usOpenMinute: u16, usTurnNum: u16,
      iTurnsUsers: array(i32, 8), usDayMaxFreeCount: u16, iDayCompeteCostCoin: i32,
      ucIsDisconnect: u8, usServerPort: u16, szServerIp: text(16) }),
  toLobby(0xe012, 'UserProgressReq', 32,
    { iActivityId: i32, iLevel: i32, iProgress: i32, iOther1: i32, iOther2: i32, iOther3: i32 }),
  fromLobby(0xe014, 'ActivityCloseNotice', 12, { iActivity: i32 }),
]);

const key = (direction, type) => `${direction} ${type}`;
const byType = new Map(MESSAGES.map((message) => [key(message.direction, message.type), message]));
if (byType.size !== MESSAGES.length) throw new Error('a message number is given twice');

// The layout of a message number in one direction, or undefined.
export function layoutOf(direction, type) {
  return byType.get(key(direction, type));
}

export function layoutByName(direction, name) {
  return MESSAGES.find((message) => message.direction === direction && message.name === name);
}

// A lobby of a few lines for tests of the page: answers by table, pushes on demand.
import { decode, encode, FROM_LOBBY, TO_LOBBY } from '../../../web/lobby-protocol.js';
import { WebSocketServer } from './modules.mjs';

const rooms = Array.from({ length: 45 }, (_, i) => ({
  usGameID: 100 + (i % 3), usServerID: i % 3 ? 1000 + i : 0, szServerName: `Room ${i + 1}`,
  szTelecomIP: '10.0.0.9', ulMinPoint: 1000 * (i + 1), usOnlineCount: 3 * i, usServerPort: 7000 + i,
  ucOpenFlag: i === 1 ? 0 : 1, usLevel: 1 + (i % 4), iMaxUserNum: 300,
}));
const chunk = (first, count) => ({ usIsFinish: first + count === rooms.length ? 1 : 0,
  usListCount: count, serverInfo: rooms.slice(first, first + count) });

const ANSWERS = {
  tagLobbyClientConnectNotice: ({ szToken }) =>
    [['LobbyAuthenRes', { ucErrNo: szToken === 'good' ? 0 : 2 }]],
  KeepAlive: () => [['KeepAlive', {}]],
  RechargeReFreshCoinReq: () =>
    [['RechargeReFreshCoinRes', { llCurGameCoin: 12500n, llBankCoin: 2n ** 60n }]],
  UserBankLoginReq: ({ szBankPass }) => (szBankPass === 'bank'
    ? [['LoginBankResult', { llGameCoin: 12500n, llBankCoin: 990000n }]]
    : [['LoginBankResult', { ucResultType: 151 }]]),
  GetBankCoinReq: ({ llGetNum }) =>
    [['GetCoinResult', { ucResultType: llGetNum < 1n ? 157 : 0, llGetCoinNum: llGetNum }]],
  SaveCoinReq: () => [['SaveCoinRes', { ucResultType: 156 }]],
  ModifyNickNameReq: () => [['ModifyNickNameRes', { iError: 1 }]],
  ExchangeGameCoinReq: ({ llExhangeCoin }) =>
    [['ExchangeGameCoinRes', { llExhangeCoin, llFirstMoney: 12500n - llExhangeCoin }]],
  GameServerInfoReq: () => [[0, 20], [20, 20], [40, 5]]
    .map(([first, count]) => ['tagGameServer', chunk(first, count)]),
  ClientLobbyCompeteReq: () => [['LobbyClientCompeteRes', {
    iFreeCount: 2, usDayMaxFreeCount: 3, iDayCompeteCostCoin: 1000, iAwardCoin: 50000,
    usOpenHour: 20, usOpenMinute: 5, usTurnNum: 3, iTurnsUsers: [64, 16, 4, 0, 0, 0, 0, 0],
  }]],
};

// Answers travel in frames that end anywhere: the page must put them together.
function send(socket, messages) {
  const bytes = Buffer.concat(messages.map(([name, fields]) => encode(name, fields, FROM_LOBBY)));
  for (let at = 0; at < bytes.length; at += 701) socket.send(bytes.subarray(at, at + 701));
}

export async function fakeLobby() {
  const server = new WebSocketServer({ port: 0, host: '127.0.0.1' });
  await new Promise((resolve) => { server.on('listening', resolve); });
  const received = [];
  server.on('connection', (socket) => socket.on('message', (data) => {
    const message = decode(new Uint8Array(data), TO_LOBBY);
    received.push(message);
    send(socket, ANSWERS[message.name]?.(message.fields) ?? []);
  }));
  return {
    url: `ws://127.0.0.1:${server.address().port}`,
    received,
    push: (name, fields) => server.clients.forEach((socket) => send(socket, [[name, fields]])),
    // After what was pushed has gone out.
    closeAll: () => server.clients.forEach((socket) => socket.close()),
    close: () => { server.clients.forEach((socket) => socket.terminate()); server.close(); },
  };
}

import assert from 'node:assert/strict';
import test from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import {
  decode, encode, FROM_LOBBY, LobbyClient, MESSAGES, TO_LOBBY,
} from '../../web/lobby-protocol.js';

// A socket whose other end is the test.
class FakeSocket {
  sent = [];
  isClosed = false;

  constructor(url) {
    this.url = url;
    FakeSocket.last = this;
  }

  send(bytes) { this.sent.push(decode(bytes, TO_LOBBY)); }

  close() { this.isClosed = true; }

  receive(...messages) {
    const bytes = messages.flatMap(([name, fields]) => [...encode(name, fields, FROM_LOBBY)]);
    this.onmessage({ data: Uint8Array.from(bytes).buffer });
  }

  get names() { return this.sent.map(({ name }) => name); }
}

async function connected(t, options = {}) {
  const lobby = new LobbyClient({ WebSocket: FakeSocket, timeoutMs: 1000, ...options });
  t.after(() => lobby.close());
  const opening = lobby.connect('ws://lobby');
  const socket = FakeSocket.last;
  socket.onopen();
  await opening;
  lobby.userId = 7;
  const events = [];
  for (const name of ['bulletins', 'kickOut', 'coins', 'close', 'activity', 'unknown', 'reconnecting',
    'reconnected', 'givenUp']) {
    lobby.on(name, (fields) => events.push([name, fields]));
  }
  return { lobby, socket, events };
}

const isTimeout = { code: 'timeout' };

// The lobby's own refusal of the second take used to overtake the answer to the first, and each
// caller was told the other's outcome.
test('requests of one kind go out one at a time, others beside them', async (t) => {
  const { lobby, socket } = await connected(t);
  const first = lobby.take(1n, 'pw');
  const second = lobby.take(2, 'pw');
  const nick = lobby.nickname('名');
  assert.deepEqual(socket.names, ['GetBankCoinReq', 'ModifyNickNameReq']);
  socket.receive(['ModifyNickNameRes', { szNickName: '名' }], ['GetCoinResult', { llGetCoinNum: 1n }],
    ['WinBulletinNotice', { usBulletNum: 0 }]);
  assert.equal((await first).llGetCoinNum, 1n);
  assert.equal((await nick).szNickName, '名');
  assert.equal(socket.sent.at(-1).fields.llGetNum, 2n);
  socket.receive(['GetCoinResult', { ucResultType: 156, llGetCoinNum: 4n }]);
  await assert.rejects(second, ({ code, result, message, fields }) => code === 'refused'
    && result === 156 && message.startsWith('Too soon') && fields.llGetCoinNum === 4n);
});

// That they carry the right values is seen with the real lobby, but for what it does not look at.
// Typing 0 as the user id threw another player out.
test('requests carry the session, of a user from 1 on; each that has an answer has a time-out', async (t) => {
  const { lobby, socket } = await connected(t, { timeoutMs: 20 });
  for (const id of [0, -1, '0', '', 'x', undefined]) {
    await assert.rejects(lobby.login(id, 'token', 3), RangeError, String(id));
  }
  assert.deepEqual(socket.sent, []);
  lobby.login('7', 'token', '3').catch(() => {});
  const cases = [
    [() => lobby.take(5, 'pw'), { iUserID: 7, iSiteID: 3, llGetNum: 5n, szBankerPwd: 'pw' }],
    [() => lobby.save(6), { iUserID: 7, iSiteID: 3, llSaveCoinNum: 6n, llGameWinCoinNum: 0n }],
    [() => lobby.bankPassword('a', 'b', '1'), { szOldPassWd: 'a', szNewPassWd: 'b', szCode: '1' }],
    [async () => lobby.subscribe('k', 3, 100), { szKey: 'k', iMainID: 3, iSubID: 100 }],
    [async () => lobby.unsubscribe('k'), { szKey: 'k' }],
    [async () => lobby.activity(20180901, { level: 2 }), { iActivityId: 20180901, iLevel: 2 }],
  ];
  for (const [ask, expected] of cases) {
    ask().catch(() => {});
    const { fields } = socket.sent.at(-1);
    assert.deepEqual({ ...fields, ...expected }, fields);
  }
  for (const { type, name } of MESSAGES.filter(({ direction, reply }) => direction === TO_LOBBY && reply)) {
    await assert.rejects(lobby.request(type, {}, { timeoutMs: 1 }), isTimeout, name);
  }
});

test('a request that is never answered ends alone; the next answer is not its', async (t) => {
  const { lobby, socket } = await connected(t);
  await assert.rejects(lobby.request(0x00d3, {}, { timeoutMs: 5 }), isTimeout);
  const second = lobby.request(0x00d3, {}, { timeoutMs: 5 });
  const third = lobby.bankLogin('pw');
  await assert.rejects(second, isTimeout);
  socket.receive(['LoginBankResult', { llBankCoin: 9n }]);
  assert.equal((await third).llBankCoin, 9n);
});

test('a server list is collected from its parts, each of which renews the time-out', async (t) => {
  const { lobby, socket } = await connected(t, { timeoutMs: 60 });
  const list = lobby.serverList();
  const part = (first, count, usIsFinish) => socket.receive(['tagGameServer', {
    usIsFinish, usListCount: count,
    serverInfo: Array.from({ length: count }, (_, i) => ({ usServerID: first + i })),
  }]);
  for (const first of [0, 20]) {
    part(first, 20, 0);
    await sleep(40);
  }
  part(40, 5, 1);
  assert.deepEqual((await list).map(({ usServerID }) => usServerID), [...Array(45).keys()]);
  const cutOff = lobby.serverList();
  part(0, 20, 0);
  await assert.rejects(cutOff, isTimeout);
});

test('what nobody asked for is an event; a failing listener harms nobody', async (t) => {
  const { lobby, socket, events } = await connected(t);
  t.mock.method(console, 'error', () => {});
  lobby.on('bulletins', () => { throw new Error('listener'); });
  socket.receive(['WinBulletinNotice', { usBulletNum: 1, bulletinItem: [{ szContent: 'news' }] }],
    ['RechargeReFreshCoinRes', { llCurGameCoin: 3n }], ['UserProgressReq', { iOther1: 6 }]);
  const unknown = Uint8Array.of(5, 0, 0, 9, 3, 0, 0x77, 0x78, 42);
  socket.onmessage({ data: unknown.buffer });
  assert.equal(events.splice(2, 1)[0][1].iOther1, 6);
  assert.deepEqual(events.pop(), ['unknown', { type: 0x7778, bytes: unknown }]);
  assert.throws(() => lobby.on('bulletin', () => {}), /no event 'bulletin'/);
  assert.equal(events[0][1].bulletinItem[0].szContent, 'news');
  assert.equal(events[1][1].llCurGameCoin, 3n);
  const refresh = lobby.refresh();
  socket.receive(['RechargeReFreshCoinRes', { llCurGameCoin: 4n }]);
  assert.equal((await refresh).llCurGameCoin, 4n);
  assert.equal(events.length, 2);
});

test('the end of a connection rejects what is open and says why', async (t) => {
  const endings = [
    ['lost', ({ socket }) => socket.onclose()],
    ['asked', ({ lobby }) => lobby.close()],
    ['protocol', ({ socket }) => socket.onmessage({ data: Uint8Array.of(9, 9).buffer })],
    ['protocol', ({ socket }) => socket.onmessage({ data: 'text' })],
    ...[['kicked', false], ['maintenance', true]].map(([reason, bStopSwitch]) => [reason, ({ socket }) => {
      socket.receive(['LobbyKickOutNotice', { bStopSwitch }]);
      socket.onclose();
    }]),
  ];
  for (const [reason, end] of endings) {
    const session = await connected(t);
    const open = [session.lobby.take(1, 'pw'), session.lobby.take(2, 'pw')];
    end(session);
    for (const request of open) await assert.rejects(request, { code: 'closed', reason }, reason);
    assert.deepEqual(session.events.at(-1), ['close', { reason, willReconnect: false }]);
    assert.equal(session.lobby.connected, false);
    await assert.rejects(session.lobby.tournament(), { code: 'not-connected' });
  }
});

test('a keep-alive goes out on time, its echo is not echoed, a missing echo ends it', async (t) => {
  const { lobby, socket, events } = await connected(t, { keepAliveMs: 15 });
  lobby.on('message', ({ direction, name }) => {
    if (direction === TO_LOBBY && name === 'KeepAlive' && socket.sent.length < 3) {
      queueMicrotask(() => socket.receive(['KeepAlive', {}]));
    }
  });
  await new Promise((resolve) => { lobby.on('close', resolve); });
  assert.deepEqual(socket.names, ['KeepAlive', 'KeepAlive', 'KeepAlive']);
  assert.deepEqual(events.at(-1), ['close', { reason: 'silent', willReconnect: false }]);
  assert.ok(socket.isClosed);
});

test('a lobby that cannot be reached, or not in time, rejects connect', async () => {
  const lobby = new LobbyClient({ WebSocket: FakeSocket, timeoutMs: 10 });
  await assert.rejects(lobby.connect('ws://lobby'), isTimeout);
  const refused = lobby.connect('ws://lobby');
  const error = new Error('refused');
  FakeSocket.last.onerror({ error });
  FakeSocket.last.onclose();
  await assert.rejects(refused, ({ code, cause }) => code === 'unreachable' && cause === error);
  const replaced = lobby.connect('ws://one');
  const old = FakeSocket.last;
  const second = lobby.connect('ws://two');
  await assert.rejects(replaced, { code: 'closed', reason: 'asked' });
  old.onclose();  // the late end of the first does not touch the second
  FakeSocket.last.onopen();
  await second;
  assert.ok(lobby.connected);
  lobby.close();
});

// Every lobby's players lose it in the same moment; without a random wait they all came back in one.
test('a lost connection is opened anew after a random, growing wait, logged in and subscribed', async (t) => {
  const { lobby, socket, events } = await connected(t, { reconnect: { minMs: 8, maxMs: 32 } });
  const chances = [0, 0.5, 1, 0.25, 0.75, 0];
  t.mock.method(Math, 'random', () => chances.shift());
  const until = async (test) => { while (!test()) await sleep(1); };
  const next = async (old) => {
    await until(() => FakeSocket.last !== old);
    return FakeSocket.last;
  };
  const answerNext = async (old, answer, event) => {
    const again = await next(old);
    again.onopen();
    await until(() => again.sent.length === 1);
    again.receive(['LobbyAuthenRes', answer]);
    await until(() => events.at(-1)[0] === event);
    return again;
  };
  const login = lobby.login(7, 'token', 3);
  socket.receive(['LobbyAuthenRes', {}]);
  await login;
  lobby.subscribe('harvest', 3, 100);
  lobby.subscribe('gone');
  lobby.unsubscribe('gone');
  socket.onclose();
  let last = socket;
  for (let failures = 0; failures < 4; failures += 1) {  // not reached, or lost before the login
    last = await next(last);
    if (failures % 2) last.onopen();
    last.onclose();
  }
  last = await answerNext(last, { iReserve1: 5 }, 'reconnected');
  assert.deepEqual(last.sent.map(({ fields }) => fields.szToken ?? fields.szKey), ['token', 'harvest']);
  last.receive(['LobbyKickOutNotice', { bStopSwitch: true }]);
  last.onclose();
  await answerNext(last, { ucErrNo: 2 }, 'givenUp');
  assert.equal(lobby.connected, false);
  const waits = events.filter(([name]) => name === 'reconnecting').map(([, event]) => event);
  // Between half of 8, 16, 32, 32, ...; maintenance waits long.
  assert.deepEqual(waits.map(({ attempt, waitMs }) => [attempt, waitMs]),
    [[1, 4], [2, 12], [3, 32], [4, 20], [5, 28], [1, 16]]);
  const [lost, [, { iReserve1 }], , closed, [, { error }]] = events.filter(([name]) => name !== 'reconnecting');
  assert.deepEqual([lost, closed], [['close', { reason: 'lost', willReconnect: true }],
    ['close', { reason: 'maintenance', willReconnect: true }]]);
  assert.equal(iReserve1, 5);
  assert.match(error.message, /token is wrong/);
});

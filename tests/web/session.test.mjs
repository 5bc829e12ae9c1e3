// Real players on the real lobby: the library over the npm package `ws`, and the page in Chromium.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { LobbyClient } from '../../web/lobby-protocol.js';
import { launch, openPage, PHONE, picture } from './support/browser.mjs';
import { WebSocket } from './support/modules.mjs';
import { startSystem } from './support/system.mjs';

const TOKEN = 'token';
const BANK = '888888';

let system, browser;
before(async () => {
  system = await startSystem();
  browser = await launch();
});
after(async () => {
  await browser?.close();
  await system?.stop();
});

async function player(userId, options = {}) {
  const lobby = new LobbyClient({ WebSocket, timeoutMs: 5000, ...options });
  await lobby.connect(system.url);
  const { ucErrNo } = await lobby.login(userId, TOKEN, 1);
  assert.equal(ucErrNo, 0);
  return lobby;
}

const account = async (userId) => {
  const [, coin, bank] = /coin=(\d+) bank=(\d+)/.exec(await system.command(`player ${userId}`));
  return { coin: BigInt(coin), bank: BigInt(bank) };
};

test('a player takes coins out of the bank', async () => {
  const lobby = await player(10001);
  const before = await account(10001);
  const bank = await lobby.bankLogin(BANK);
  assert.deepEqual(bank, { ucResultType: 0, llGameCoin: before.coin, llBankCoin: before.bank });
  assert.deepEqual(await lobby.take(500n, BANK), { ucResultType: 0, llGetCoinNum: 500n });
  assert.equal((await lobby.take(1n, BANK)).ucResultType, 156);
  assert.equal((await lobby.save(0n)).ucResultType, 157);
  const refreshed = await lobby.refreshCoin();
  assert.deepEqual([refreshed.llCurGameCoin, refreshed.llBankCoin],
    [before.coin + 500n, before.bank - 500n]);
  assert.deepEqual(await account(10001), { coin: before.coin + 500n, bank: before.bank - 500n });
  lobby.close();
});

test('a keep-alive is echoed once; a second login ends the first', async () => {
  const lobby = await player(10003, { keepAliveMs: 50 });
  let sent = 0;
  let echoes = 0;
  await new Promise((resolve) => {
    lobby.on('message', ({ name, direction }) => {
      if (name !== 'KeepAlive') return;
      if (direction === 'to-lobby') sent += 1; else echoes += 1;
      if (echoes === 4) resolve();
    });
  });
  assert.ok(echoes <= sent, `${echoes} echoes of ${sent}`);
  const ended = new Promise((resolve) => { lobby.on('close', resolve); });
  const second = await player(10003);
  assert.deepEqual(await ended, { reason: 'kicked' });
  second.close();
});

test('every request of the library is understood', async () => {
  const lobby = await player(10005);
  const cases = [
    [lobby.nickname('新名字'), { iError: 0, szNickName: '新名字' }],
    [lobby.nickname('the admin'), { iError: 1, szNickName: '' }],
    [lobby.gender(2), { iError: 0, iGender: 2 }],
    [lobby.signature('good luck'), { iError: 0, szPersonalSignature: 'good luck' }],
    [lobby.faceId(7), { iError: 0, iFaceId: 7 }],
    [lobby.mobile('13800138000'), { iError: 0, szMobileNumber: '13800138000' }],
    [lobby.realName('王小明', '11010519491231002X'),
      { iError: 0, szRealName: '王小明', szIdentity: '11010519491231002X' }],
    [lobby.bankPassword(BANK, '999999', '123456'), { ucResultType: 0 }],
    [lobby.loginPassword('123456', '654321'), { ucResultType: 0 }],
    [lobby.loginPassword('654321', '123456'), { ucResultType: 4 }],
    [lobby.exchange(10005, 1n), { iErrorCode: 4, llExhangeCoin: 1n, llFirstMoney: 10000n }],
  ];
  for (const [answer, expected] of cases) assert.deepEqual(await answer, expected);
  const servers = await lobby.serverList();
  const key = ({ usGameID, usServerID, usLevel }) => `${usGameID} ${usServerID} ${usLevel}`;
  assert.ok(servers.length > 45 && new Set(servers.map(key)).size === servers.length);
  const { iDayCompeteCostCoin, usTurnNum } = await lobby.tournament();
  assert.ok(iDayCompeteCostCoin > 0 && usTurnNum > 0);
  assert.match(await system.command('player 10005'),
    /nickname="新名字".*gender=2 face=7 mobile="13800138000" signature="good luck" bank_password="999999" password="654321"/);
  lobby.close();
});

test('every push reaches the player it is for', async () => {
  const [giver, receiver] = [await player(10006), await player(10007)];
  const next = (event) => new Promise((resolve) => { receiver.on(event, resolve); });
  const start = await account(10007);
  await system.command('keys');
  receiver.subscribe('farm.harvest');
  await receiver.tournament();  // answered after the lobby has taken the subscription
  const pushes = [
    ['exchangeNotify', () => giver.exchange(10007, 30n),
      { iFromUserID: 10006, llExhangeCoin: 30n, llFirstMoney: start.coin + 30n }],
    ['coins', () => system.command('recharge 10007 70'), { llCurGameCoin: start.coin + 100n }],
    ['consume', () => system.command('consume 10007 {"wsGainList":[]}'),
      { szConsumeNotice: '{"wsGainList":[]}' }],
    ['sync', () => system.command('sync 10007 3 44'), { dataType: 3, dataValue: 44 }],
    ['farm', () => system.command('farm user 10007 ripe'), { szMsgContent: 'ripe' }],
    ['publish', () => system.command('farm key farm.harvest plenty'),
      { szKey: 'farm.harvest', szMsgContent: 'plenty' }],
    ['bulletins', () => system.command('bulletin sys hello'), { usBulletNum: 1 }],
  ];
  for (const [event, cause, expected] of pushes) {
    const pushed = next(event);
    await cause();
    const fields = await pushed;
    assert.deepEqual({ ...fields, ...expected }, fields, event);
  }
  giver.close();
  receiver.close();
});

test('a player uses the page', async () => {
  const page = await openPage(browser, system.page);
  const hasText = (selector, text) => page.locator(selector, { hasText: text }).first().waitFor();
  const format = (amount) => amount.toLocaleString('en-US');
  const before = await account(10002);
  await page.fill('#user-id', '10002');
  await page.fill('#token', TOKEN);
  await page.click('#login');
  await hasText('#status', 'logged in');
  await hasText('#coins-hand', format(before.coin));
  await page.fill('#bank-password', BANK);
  await page.click('#bank-login');
  await hasText('#bank-login-form .result', 'The bank is open.');
  await page.fill('#bank-amount', '250');
  await page.click('#take');
  await hasText('#bank-move-form .result', '250 coins taken out.');
  await hasText('#coins-hand', format(before.coin + 250n));
  await hasText('#coins-bank', format(before.bank - 250n));
  assert.deepEqual(await account(10002), { coin: before.coin + 250n, bank: before.bank - 250n });
  await page.click('#servers');
  await hasText('#servers-form .result', 'rooms');
  await page.click('#tournament-show');
  await hasText('#tournament', 'tournament');
  await system.command('bulletin win A great catch!');
  await hasText('#notices', 'A great catch!');
  assert.equal((await picture(page, 'session-desktop')).isTooWide, false);
  assert.equal((await picture(page, 'session-phone', PHONE)).isTooWide, false);
  await system.command('kick 10002');
  await hasText('#banner', 'logged in somewhere else');
  assert.deepEqual(page.faults, []);
});

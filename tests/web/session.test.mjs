// Real players on the real lobby: the library over the npm package `ws`, and the page in Chromium.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { LobbyClient } from '../../web/lobby-protocol.js';
import { launch, openPage, PHONE, picture, servePage } from './support/browser.mjs';
import { WebSocket } from './support/modules.mjs';
import { startSystem } from './support/system.mjs';

const TOKEN = 'token';
const BANK = '888888';

let system, site, browser;
before(async () => {
  system = await startSystem();
  site = await servePage({ ws: system.url,
    player: { userId: 10002, token: TOKEN, siteId: 1, bankPassword: BANK } });
  browser = await launch();
});
after(async () => {
  await browser?.close();
  site?.close();
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

test('a long server list arrives whole', async () => {
  const lobby = await player(10004);
  const servers = await lobby.serverList();
  assert.ok(servers.length > 45, `${servers.length} rooms`);
  const key = ({ usGameID, usServerID, usLevel }) => `${usGameID} ${usServerID} ${usLevel}`;
  assert.equal(new Set(servers.map(key)).size, servers.length);
  lobby.close();
});

test('a player uses the page', async () => {
  const page = await openPage(browser, site.url);
  const hasText = (selector, text) => page.locator(selector, { hasText: text }).first().waitFor();
  const format = (amount) => amount.toLocaleString('en-US');
  const before = await account(10002);
  await page.click('#login');
  await hasText('#status', 'logged in');
  await hasText('#coins-hand', format(before.coin));
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

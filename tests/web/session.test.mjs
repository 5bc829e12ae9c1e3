// Real players on the real lobby: the library over the npm package `ws`, and the page in Chromium,
// where the operator has one, too.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { LobbyClient } from '../../web/lobby-protocol.js';
import { DESKTOP, launch, look, openPage, PHONE } from './support/browser.mjs';
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
  await lobby.login(userId, TOKEN, 1);
  return lobby;
}

const account = async (userId) => {
  const [, coin, bank] = /coin=(\d+) bank=(\d+)/.exec(await system.command(`player ${userId}`));
  return { coin: BigInt(coin), bank: BigInt(bank) };
};

test('every request of the library is understood', async () => {
  const lobby = await player(10005, { keepAliveMs: 400 });
  const cases = [
    [lobby.bankLogin(BANK), { ucResultType: 0, llGameCoin: 10000n, llBankCoin: 100000n }],
    [lobby.take(500n, BANK), { ucResultType: 0, llGetCoinNum: 500n }],
    [lobby.take(1n, BANK), { ucResultType: 156 }],
    [lobby.save(0n), { ucResultType: 157 }],
    [lobby.nickname('新名字'), { iError: 0, szNickName: '新名字' }],
    [lobby.nickname('the admin'), { iError: 1, szNickName: '' }],
    [lobby.gender(2), { iError: 0, iGender: 2 }],
    [lobby.signature('good luck'), { iError: 0, szPersonalSignature: 'good luck' }],
    [lobby.face(7), { iError: 0, iFaceId: 7 }],
    [lobby.mobile('13800138000'), { iError: 0, szMobileNumber: '13800138000' }],
    [lobby.realName('王小明', '11010519491231002X'),
      { iError: 0, szRealName: '王小明', szIdentity: '11010519491231002X' }],
    [lobby.bankPassword(BANK, '999999', '123456'), { ucResultType: 0 }],
    [lobby.loginPassword('123456', '654321'), { ucResultType: 0 }],
    [lobby.loginPassword('654321', '123456'), { ucResultType: 4 }],
    [lobby.exchange(10005, 1n), { iErrorCode: 4, llExhangeCoin: 1n }],
  ];
  const answers = cases.map(([asked, expected]) => [asked.catch(({ fields }) => fields), expected]);
  for (const [asked, expected] of answers) {
    const answer = await asked;
    assert.deepEqual({ ...answer, ...expected }, answer);
  }
  const servers = await lobby.serverList();
  const key = ({ usGameID, usServerID, usLevel }) => `${usGameID} ${usServerID} ${usLevel}`;
  assert.ok(servers.length > 45 && new Set(servers.map(key)).size === servers.length);
  const { iDayCompeteCostCoin, usTurnNum } = await lobby.tournament();
  assert.ok(iDayCompeteCostCoin > 0 && usTurnNum > 0);
  assert.match(await system.command('player 10005'),
    /nickname="新名字".*gender=2 face=7 mobile="13800138000" signature="good luck" bank_password="999999" password="654321"/);
  lobby.close();
});

// The page.

const format = (amount) => amount.toLocaleString('en-US');
let page;
const textOf = (selector) => page.locator(selector).innerText();
const hasText = (selector, text) => page.locator(selector, { hasText: text }).first().waitFor();
async function fill(fields) {
  for (const [id, text] of Object.entries(fields)) await page.fill(`#${id}`, text);
}
// One page for all: a new one takes a second.
async function open(userId, colorScheme = 'light', viewport = DESKTOP) {
  page ??= await openPage(browser, system.page);
  await page.emulateMedia({ colorScheme });
  await page.setViewportSize(viewport);
  await page.goto(system.page);
  await page.waitForSelector('body[data-ready]');
  page.faults.length = 0;
  await fill({ 'user-id': String(userId), token: TOKEN });
}
async function logIn() {
  await page.click('#login');
  await hasText('#status', 'logged in');
}
const focus = () => page.evaluate(() => document.activeElement.id);

test('a refused login and a lobby that is not there are told in words', async () => {
  await open(10001);
  for (const [url, token, text] of [[system.url, 'bad', 'The token is wrong.'],
    ['ws://127.0.0.1:1', TOKEN, 'The lobby cannot be reached']]) {
    await fill({ 'server-url': url, token });
    await page.click('#login');
    await hasText('#login-result', text);
  }
  await fill({ 'server-url': system.url });
  await logIn();
});

test('only a page of this machine takes a lobby from its address, and it speaks to its own only', async () => {
  const evil = 'ws://evil.example:1';
  for (const [host, lobby] of [['127.0.0.1', evil], ['localhost', evil], ['player.test', system.url]]) {
    const other = await openPage(browser, `${system.page.replace('127.0.0.1', host)}?ws=${evil}`);
    assert.equal(await other.inputValue('#server-url'), lobby, host);
    assert.equal(await other.evaluate((url) => new Promise((resolve) => {
      document.addEventListener('securitypolicyviolation', (event) => resolve(event.effectiveDirective));
      new WebSocket(url).onerror = () => setTimeout(resolve, 1000, 'tried');
    }), evil), 'connect-src');
    await other.close();
  }
  await open(0);
  await page.click('#login');
  await hasText('#login-result', 'The player number must be 1 or more.');
});

test('a player uses the bank; the message log names every field and hides secrets', async () => {
  const before = await account(10002);
  await open(10002);
  await logIn();
  await hasText('#coins-hand', format(before.coin));
  for (const [password, text] of [['wrong', 'The bank password is wrong.'], [BANK, 'The bank is open.']]) {
    await fill({ 'bank-password': password });
    await page.click('#bank-login');
    await hasText('#bank-login-form .result', text);
  }
  const cases = [
    ['#take', '250', '250 coins taken out.'], ['#take', '1', 'Too soon after the last one.'],
    ['#save', '0', 'The amount must be at least 1.'], ['#take', 'x', 'must be a whole number'],
    ['#take', '9223372036854775808', 'This number is too large.'],
  ];
  for (const [button, amount, text] of cases) {
    await fill({ 'bank-amount': amount });
    await page.click(button);
    await hasText('#bank-move-form .result', text);
  }
  await hasText('#coins-hand', format(before.coin + 250n));
  await hasText('#coins-bank', format(before.bank - 250n));
  assert.deepEqual(await account(10002), { coin: before.coin + 250n, bank: before.bank - 250n });
  await page.locator('#log [data-name=UserBankLoginReq] summary').first().click();
  await hasText('#log [data-name=UserBankLoginReq] dl', 'szBankPass');
  const log = await page.locator('#log').textContent();
  assert.match(log, /llBankCoin 100000/);
  assert.match(log, /szToken ••••••/);
  assert.ok(!/szBankPass (wrong|888888)|szToken token/.test(log));
});

test('rooms, tournament, subscription, profile and transfer', async () => {
  await open(10004);
  await page.locator('#token').press('Enter');
  await hasText('#status', 'logged in');
  assert.equal(await focus(), 'dashboard');
  await page.locator('#servers').press('Enter');
  await hasText('#server-list-form .result', 'rooms');
  assert.equal(await focus(), 'servers');
  assert.ok(await page.locator('#server-rows tr').count() > 45);
  await page.click('#tournament-show');
  await hasText('#tournament', ' → ');
  for (let i = 0; i < 2; i += 1) {
    await fill({ 'subscribe-key': 'harvest' });
    await page.click('#subscribe');
  }
  await page.click('#subscriptions button');
  assert.equal(await page.locator('#subscriptions li').count(), 0);
  await hasText('#log', 'ClientUnsubscribeMsg');
  // 16 characters used to become 10, which the page called saved.
  await page.locator('#nickname').pressSequentially('海'.repeat(16));
  assert.equal(await page.inputValue('#nickname'), '海'.repeat(10));
  await page.click('#nickname-form button');
  await hasText('#nickname-form .result', 'Your nickname is saved.');
  assert.match(await system.command('player 10004'), new RegExp(`nickname="${'海'.repeat(10)}"`));
  await fill({ nickname: 'the admin' });
  await page.click('#nickname-form button');
  await hasText('#nickname-form .result', 'This nickname is not allowed.');
  await fill({ 'exchange-to': '10008', 'exchange-amount': '500' });
  await page.click('#exchange-form button');
  await hasText('#exchange-form .result', '500 coins sent to player 10008.');
  assert.equal(await textOf('#coins-hand'), '9,500');
});

test('every push shows as it comes, as text and nothing else', async () => {
  const giver = await player(10006);
  await system.command('keys');
  await open(10007);
  await logIn();
  await fill({ 'subscribe-key': 'farm.harvest' });
  await page.click('#subscribe');
  await page.click('#tournament-show');
  await hasText('#tournament', 'tournament');  // answered after the lobby has taken the subscription
  const commands = [
    ['bulletin sys <img src=x onerror="document.title=1">', '<img src=x'],
    ['bulletin win A great catch!', 'player10001 won 1,000 in room 1100'],
    ['farm user 10007 Your carrots are ripe', 'carrots'],
    ['farm key farm.harvest sunny', 'sunny'],
    ['consume 10007 {"wsGainList":[{"type":4,"number":3}]}', 'type 4 × 3'],
    ['consume 10007 odd', 'odd'],
    ['sync 10007 2 9', 'kind 2, value 9'],
    ['activity 20180901 close', 'Activity 20180901 has ended'],
    ['recharge 10007 70', 'You now have 10,070 coins'],
  ];
  for (const [command, text] of commands) {
    await system.command(command);
    await hasText('#notices', text);
  }
  await giver.exchange(10007, 30n);
  await hasText('#notices', 'Player 10006 sent you 30 coins');
  assert.equal(await page.locator('#notices img').count(), 0);
  assert.equal(await textOf('#coins-hand'), '10,100');
  assert.deepEqual(page.faults, []);
  giver.close();
});

test('the page fits a phone, light and dark', async () => {
  for (const colorScheme of ['light', 'dark']) {
    await open(10009, colorScheme, PHONE);
    await look(page, `page-login-${colorScheme}`);
    await logIn();
    await page.click('#servers');
    await hasText('#server-list-form .result', 'rooms');
    await page.click('#tournament-show');
    await system.command(`bulletin sys ${'x'.repeat(200)}`);
    await hasText('#notices', 'xxx');
    await look(page, `page-phone-${colorScheme}`);
  }
  await look(page, 'page-desktop-dark', DESKTOP);
});

let operator;
test("the operator's page shows the lobby, and a link that goes and comes back", async () => {
  operator = await openPage(browser, system.metrics, 'main');
  const queue = operator.getByRole('row', { name: /^queue / });
  await queue.getByText('up', { exact: true }).waitFor();
  assert.equal(await operator.getByRole('status').textContent(), 'serving');
  assert.match(await operator.locator('#about').textContent(), /^version 4\.[\d.]+, up \d/);
  assert.equal(await operator.getByRole('row').count(), 1 + 6 + 1);

  await system.command('down queue');
  await queue.getByText('down', { exact: true }).waitFor();
  assert.doesNotMatch(await queue.textContent(), /never/);
  await look(operator, 'operator-link-down');
  await system.command('up queue');
  await queue.getByText('up', { exact: true }).waitFor();

  // A sample every five seconds: the second is the first to show, as a flat line without height.
  await operator.locator('.figure path[d^=M]').first().waitFor({ state: 'attached' });
  for (const figure of await operator.locator('.figure').all()) {
    assert.match(await figure.textContent(), /\d.*at most [\d.,]+/);
  }
  await look(operator, 'operator-phone', PHONE);
  assert.deepEqual([operator.faults, operator.elsewhere], [[], []]);
});

// The last: the lobby ends in it.
test('the end of a session is told in words', async () => {
  const endings = [
    [() => system.command('kick 10002'), '#banner', 'logged in somewhere else'],
    [async () => {
      await page.focus('#take');
      await system.command('stop 1');
      await page.waitForSelector('#login-card');
      assert.equal(await focus(), 'login');
      await page.click('#login');
      await hasText('#login-result', 'closed for maintenance');
      await system.command('stop 0');
    }, '#login-result', 'closed for maintenance'],
    [() => system.stop(), '#banner', 'connection to the lobby was lost'],
  ];
  for (const [cause, place, text] of endings) {
    await open(10002);
    await logIn();
    await cause();
    await hasText(place, text);
    await page.waitForSelector('#login-card');
  }
  await operator.getByRole('status').getByText('does not answer').waitFor();
});

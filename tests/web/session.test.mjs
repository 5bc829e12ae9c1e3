// Real players on the real lobby: the library over the npm package `ws`, and the page in Chromium,
// where the operator has one, too.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { LobbyClient } from '../../web/lobby-protocol.js';
import { DESKTOP, launch, look, openPage, PHONE } from './support/browser.mjs';
import { WebSocket } from './support/modules.mjs';
import { stay } from './support/stay.mjs';
import { startSystem } from './support/system.mjs';

const TOKEN = 'token';
const BANK = '888888';

let system, browser, page;
before(async () => {
  system = await startSystem();
  browser = await launch();
  page = await openPage(browser, system.page);
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
  const answers = await Promise.all(cases.map(([asked]) => asked.catch(({ fields }) => fields)));
  answers.forEach((answer, i) => assert.deepEqual({ ...answer, ...cases[i][1] }, answer));
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

const textOf = (selector) => page.locator(selector).innerText();
const hasText = (selector, text) => page.locator(selector, { hasText: text }).first().waitFor();
const focus = () => page.evaluate(() => document.activeElement.id);
async function fill(fields) {
  for (const [id, text] of Object.entries(fields)) await page.fill(`#${id}`, text);
}
// Presses a button after filling in fields, and waits for what its form says then.
async function ask(button, fields, text) {
  await fill(fields);
  await page.click(button);
  await page.locator(button).locator('xpath=ancestor::form').locator('.result', { hasText: text }).waitFor();
}
async function logIn() {
  await page.click('#login');
  await hasText('#status', 'logged in');
}
// One page for all: a new one takes a second.
async function open(userId, address = system.page) {
  await page.goto(address);
  await page.waitForSelector('body[data-ready]');
  page.faults.length = 0;
  await fill({ 'user-id': String(userId), token: TOKEN });
}

test('only a page of this machine takes a lobby from its address, and it speaks to its own only', async () => {
  const evil = 'ws://evil.example:1';
  for (const [host, lobby] of [['localhost', evil], ['player.test', system.url], ['127.0.0.1', evil]]) {
    await open(10001, `${system.page.replace('127.0.0.1', host)}?ws=${evil}`);
    assert.equal(await page.inputValue('#server-url'), lobby, host);
    assert.equal(await page.evaluate((url) => new Promise((resolve) => {
      document.addEventListener('securitypolicyviolation', (event) => resolve(event.effectiveDirective));
      new WebSocket(url).onerror = () => setTimeout(resolve, 1000, 'tried');
    }), evil), 'connect-src');
  }
  const ms = 1000 * (process.env.FOREIGN_SECONDS ?? 0);
  assert.equal(await page.evaluate(`(${stay})(WebSocket, '${system.url}', ${ms})`), '1000 true');
});

test('a refused login and a lobby that is not there are told in words', async () => {
  await open(10001);
  const cases = [
    [{ token: 'bad' }, 'The token is wrong.'],
    [{ 'server-url': 'ws://127.0.0.1:1' }, 'The lobby cannot be reached'],
    [{ 'user-id': '0' }, 'The player number must be 1 or more.'],
  ];
  for (const [fields, text] of cases) await ask('#login', fields, text);
  await fill({ 'server-url': system.url, token: TOKEN, 'user-id': '10001' });
  await logIn();
});

test('a player uses the bank; the message log names every field and hides secrets', async () => {
  await open(10002);
  await logIn();
  await hasText('#coins-hand', '500');
  await ask('#bank-login', { 'bank-password': 'wrong' }, 'The bank password is wrong.');
  await ask('#bank-login', { 'bank-password': BANK }, 'The bank is open.');
  const cases = [
    ['#take', '250', '250 coins taken out.'], ['#take', '1', 'Too soon after the last one.'],
    ['#save', '0', 'The amount must be at least 1.'], ['#take', 'x', 'must be a whole number'],
    ['#take', '9223372036854775808', 'This number is too large.'],
  ];
  for (const [button, amount, text] of cases) await ask(button, { 'bank-amount': amount }, text);
  await hasText('#coins-hand', '750');
  await hasText('#coins-bank', '99,750');
  assert.match(await system.command('player 10002'), /coin=750 bank=99750/);
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
  await ask('#subscribe', { 'subscribe-key': 'harvest' }, 'Asked.');
  await ask('#subscribe', {}, 'Asked.');
  await page.click('#subscriptions button');
  assert.equal(await page.locator('#subscriptions li').count(), 0);
  await hasText('#log', 'ClientUnsubscribeMsg');
  // 16 characters used to become 10, which the page called saved.
  await page.locator('#nickname').pressSequentially('海'.repeat(16));
  assert.equal(await page.inputValue('#nickname'), '海'.repeat(10));
  await ask('#nickname-form button', {}, 'Your nickname is saved.');
  assert.match(await system.command('player 10004'), new RegExp(`nickname="${'海'.repeat(10)}"`));
  await ask('#nickname-form button', { nickname: 'the admin' }, 'This nickname is not allowed.');
  await ask('#exchange-form button', { 'exchange-to': '10008', 'exchange-amount': '500' },
    '500 coins sent to player 10008.');
  assert.equal(await textOf('#coins-hand'), '9,500');
});

test('every push shows as it comes, as text and nothing else', async () => {
  const giver = await player(10006);
  await system.command('keys');
  await open(10007);
  await logIn();
  await ask('#subscribe', { 'subscribe-key': 'farm.harvest' }, 'Asked.');
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
  await open(10009);
  await look(page, 'page-login-light', PHONE);
  await look(page, 'page-login-dark', PHONE, 'dark');
  await logIn();
  await ask('#servers', {}, 'rooms');
  await page.click('#tournament-show');
  await system.command(`bulletin sys ${'x'.repeat(200)}`);
  await hasText('#notices', 'xxx');
  await look(page, 'page-phone-light', PHONE);
  await look(page, 'page-phone-dark', PHONE, 'dark');
  await look(page, 'page-desktop-dark', DESKTOP, 'dark');
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
  await look(operator, 'operator-link-down', DESKTOP);
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
      await ask('#login', {}, 'closed for maintenance');
      await system.command('stop 0');
    }, '#login-result', 'closed for maintenance'],
    [() => system.stop(), '#banner', 'connection to the lobby was lost'],
  ];
  await open(10002);
  for (const [cause, place, text] of endings) {
    await logIn();
    await cause();
    await hasText(place, text);
    await page.waitForSelector('#login-card');
  }
  await operator.getByRole('status').getByText('does not answer').waitFor();
});

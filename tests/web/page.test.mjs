// The page in Chromium, against a lobby that says whatever the test wants.
import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';
import { launch, openPage, PHONE, picture, servePage } from './support/browser.mjs';
import { fakeLobby } from './support/fake-lobby.mjs';

let lobby, site, browser, page;

before(async () => {
  lobby = await fakeLobby();
  site = await servePage({ ws: lobby.url, player: { userId: 1001, siteId: 1 } });
  browser = await launch();
});
after(async () => {
  await browser?.close();
  site?.close();
  lobby?.close();
});
beforeEach(async () => {
  await page?.close();
  page = await openPage(browser, site.url);
});

const textOf = (selector) => page.locator(selector).innerText();
const hasText = (selector, text) => page.locator(selector, { hasText: text }).first().waitFor();
async function logIn(token = 'good') {
  await page.fill('#token', token);
  await page.click('#login');
}

test('a refused login is told in words and can be repeated', async () => {
  await logIn('bad');
  await hasText('#login-result', 'The token is wrong.');
  await logIn();
  await hasText('#status', 'logged in');
  await hasText('#coins-hand', '12,500');
  assert.equal(await textOf('#coins-bank'), '1,152,921,504,606,846,976');
  assert.deepEqual(page.faults, []);
});

test('a lobby that is not there is told in words', async () => {
  await page.fill('#server-url', 'ws://127.0.0.1:1');
  await logIn();
  await hasText('#login-result', 'The lobby cannot be reached');
});

test('the bank tells what happened', async () => {
  await logIn();
  await page.fill('#bank-password', 'wrong');
  await page.click('#bank-login');
  await hasText('#bank-login-form .result', 'The bank password is wrong.');
  await page.fill('#bank-password', 'bank');
  await page.click('#bank-login');
  await hasText('#bank-login-form .result', 'The bank is open.');
  const cases = [
    ['#take', '250', '250 coins taken out.'], ['#take', '0', 'The amount must be at least 1.'],
    ['#save', '5', 'Too soon after the last one.'], ['#take', 'x', 'must be a whole number'],
    ['#take', '9223372036854775808', 'This number is too large.'],
  ];
  for (const [button, amount, text] of cases) {
    await page.fill('#bank-amount', amount);
    await page.click(button);
    await hasText('#bank-move-form .result', text);
  }
  const take = lobby.received.find(({ name }) => name === 'GetBankCoinReq').fields;
  assert.deepEqual([take.iUserID, take.llGetNum, take.szBankerPwd], [1001, 250n, 'bank']);
});

test('the message log names every field and hides secrets', async () => {
  await logIn();
  await page.fill('#bank-password', 'bank');
  await page.click('#bank-login');
  await hasText('#log', 'LoginBankResult');
  await page.click('#log [data-name=UserBankLoginReq] summary');
  await hasText('#log [data-name=UserBankLoginReq] dl', 'szBankPass');
  const log = await page.locator('#log').textContent();
  assert.match(log, /llBankCoin 990000/);
  assert.match(log, /szToken ••••••/);
  assert.ok(!/szBankPass bank|szToken good/.test(log));
});

test('pushes show as they come, as text and nothing else', async () => {
  await logIn();
  await hasText('#status', 'logged in');
  const evil = '<img src=x onerror="document.title=1">';
  const pushes = [
    ['WinBulletinNotice', { usBulletNum: 2, bulletinItem: [{ szContent: evil },
      { iUserId: 5, szNickName: '小明', szServerName: 'Fishing', iAwardNum: 8000 }] },
    '小明 won 8,000 in Fishing'],
    ['LobbyTransferFarmNotice', { szMsgContent: 'Your carrots are ripe' }, 'carrots'],
    ['ClientPublishMsg', { szKey: 'harvest', szMsgContent: 'sunny' }, 'harvest'],
    ['ConsumeSucessNotice', { iSize: 40, szConsumeNotice: '{"wsGainList":[{"type":4,"number":3}]}' },
      'type 4 × 3'],
    ['ConsumeSucessNotice', { iSize: 3, szConsumeNotice: 'odd' }, 'odd'],
    ['SychUserLobbyData', { dataType: 2, dataValue: 9 }, 'kind 2, value 9'],
    ['ExchangeGameCoinNotify', { iFromUserID: 5, llExhangeCoin: 70n, llFirstMoney: 12570n },
      'Player 5 sent you 70 coins'],
    ['ActivityCloseNotice', { iActivity: 20180901 }, 'Activity 20180901 has ended'],
    ['RechargeReFreshCoinRes', { llCurGameCoin: 99n, llBankCoin: 7n }, 'You now have 99 coins'],
  ];
  for (const [name, fields, text] of pushes) {
    lobby.push(name, fields);
    await hasText('#notices', text);
  }
  assert.equal(await page.locator('#notices img').count(), 0);
  assert.match(await textOf('#notices'), /<img src=x/);
  assert.equal(await textOf('#coins-hand'), '99');
  assert.deepEqual(page.faults, []);
});

test('rooms, tournament, subscription, profile and transfer', async () => {
  await logIn();
  await page.click('#servers');
  await hasText('#servers-form .result', '45 rooms');
  assert.equal(await page.locator('#server-rows tr').count(), 45);
  await page.click('#tournament-show');
  await hasText('#tournament', '64 → 16 → 4');
  for (let i = 0; i < 2; i += 1) {
    await page.fill('#subscribe-key', 'harvest');
    await page.click('#subscribe');
  }
  await page.click('#subscriptions button');
  assert.equal(await page.locator('#subscriptions li').count(), 0);
  await hasText('#log', 'ClientUnsubscribeMsg');
  await page.fill('#nickname', 'nobody');
  await page.click('#nickname-form button');
  await hasText('#nickname-form .result', 'This nickname is not allowed.');
  await page.fill('#exchange-to', '1002');
  await page.fill('#exchange-amount', '500');
  await page.click('#exchange-form button');
  await hasText('#exchange-form .result', '500 coins sent to player 1002.');
  assert.equal(await textOf('#coins-hand'), '12,000');
});

test('the end of a session is told in words', async () => {
  const endings = [
    [() => lobby.push('LobbyKickOutNotice', {}), 'logged in somewhere else'],
    [() => lobby.push('LobbyKickOutNotice', { bStopSwitch: true }), 'maintenance'],
    [() => {}, 'connection to the lobby was lost'],
  ];
  for (const [cause, text] of endings) {
    await logIn();
    await hasText('#status', 'logged in');
    cause();
    lobby.closeAll();
    await hasText('#banner', text);
    await page.waitForSelector('#login-card');
  }
});

test('the page fits a phone, light and dark', async () => {
  for (const colorScheme of ['light', 'dark']) {
    await page.close();
    page = await openPage(browser, site.url, { colorScheme });
    const login = await picture(page, `page-login-${colorScheme}`, PHONE);
    assert.equal(login.isTooWide, false);
    await logIn();
    await page.click('#servers');
    await hasText('#servers-form .result', '45 rooms');
    await page.click('#tournament-show');
    lobby.push('WinBulletinNotice', { usBulletNum: 1, bulletinItem: [{ iUserId: 5,
      szNickName: '小明', szServerName: 'Fishing', iAwardNum: 8000, szContent: 'x'.repeat(200) }] });
    await hasText('#notices', 'Fishing');
    for (const [name, size] of [['desktop', { width: 1280, height: 900 }], ['phone', PHONE]]) {
      const { isTooWide } = await picture(page, `page-${name}-${colorScheme}`, size);
      assert.equal(isTooWide, false, name);
    }
  }
});

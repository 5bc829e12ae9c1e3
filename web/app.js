// The player's page: its forms ask the lobby, and what the lobby tells goes where it belongs.
import { byId, element, prepend } from './dom.js';
import { cutText, layoutOf, LobbyClient, TO_LOBBY } from './lobby-protocol.js';
import { MessageLog } from './message-log.js';
import { closeText, failureText, formatCoins } from './texts.js';
import { notice, NOTICES, serverRow, tournamentFacts } from './views.js';

const MOST_NOTICES = 50;
const REFRESH_GAP_MS = 1100;  // the lobby refreshes once in a clock second and drops the rest

const lobby = new LobbyClient({ timeoutMs: 5000 });
const log = new MessageLog(byId('log'));
let lastRefresh = 0;

const value = (id) => byId(id).value.trim();
// Passwords are sent as typed: blanks may belong to them.
const typed = (id) => byId(id).value;

function wholeNumber(id, label, convert = Number) {
  const text = value(id);
  if (!/^-?\d{1,19}$/.test(text)) throw new Error(`${label} must be a whole number.`);
  return convert(text);
}

// An id below 1 belongs to nobody, and a lobby that gets one closes somebody else's session.
function playerNumber(id) {
  const number = wholeNumber(id, 'The player number');
  if (number < 1) throw new Error('The player number must be 1 or more.');
  return number;
}

const setState = (text, kind) => {
  byId('status').textContent = text;
  byId('status').className = `badge ${kind}`;
};

function say(output, text, kind) {
  output.textContent = text;
  output.className = `result ${kind}`;
}

// A field takes as many bytes as the message has room for: what would be cut when it is sent is cut
// while it is typed. Characters outside ASCII take two bytes and more.
const LIMITED = {
  token: [0x00a1, 'szToken'], 'bank-password': [0x00d3, 'szBankPass'], 'bank-old': [0x00d9, 'szOldPassWd'],
  'bank-new': [0x00d9, 'szNewPassWd'], 'bank-code': [0x00d9, 'szCode'],
  'password-old': [0x00e1, 'szOldPassWd'], 'password-new': [0x00e1, 'szNewPassWd'],
  nickname: [0x00e3, 'szNickName'], signature: [0x00e5, 'szPersonalSignature'],
  mobile: [0x00e7, 'szMobileNumber'], 'real-name': [0x00e8, 'szRealName'],
  identity: [0x00e8, 'szIdentity'], 'subscribe-key': [0x00f2, 'szKey'],
};
for (const [id, [type, name]] of Object.entries(LIMITED)) {
  const { room } = layoutOf(TO_LOBBY, type).fields.find((field) => field.name === name);
  const limit = () => {
    const kept = cutText(byId(id).value, room);
    const text = new TextDecoder().decode(kept);
    if (text !== byId(id).value) byId(id).value = text;
  };
  // Not while a character is being put together by an input method.
  byId(id).addEventListener('input', (event) => { if (!event.isComposing) limit(); });
  byId(id).addEventListener('compositionend', limit);
}

// Makes a form ask the lobby: `action` gets the pressed button and returns what to say when it
// went well. The form is not usable while its answer is awaited; its buttons keep the focus, which
// disabled ones would lose.
function onSubmit(formId, operation, action) {
  const form = byId(formId);
  const output = form.querySelector('.result');
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (form.ariaBusy === 'true') return;
    const buttons = form.querySelectorAll('button');
    form.ariaBusy = 'true';
    buttons.forEach((button) => { button.ariaDisabled = 'true'; });
    say(output, '…', '');
    try {
      say(output, await action(event.submitter) ?? '', 'good');
    } catch (error) {
      say(output, failureText(operation, error), 'bad');
    } finally {
      form.ariaBusy = null;
      buttons.forEach((button) => { button.ariaDisabled = null; });
    }
  });
}

function showCoins(hand, bank) {
  if (hand !== undefined) byId('coins-hand').textContent = formatCoins(hand);
  if (bank !== undefined) byId('coins-bank').textContent = formatCoins(bank);
}

async function refreshCoins() {
  const wait = lastRefresh + REFRESH_GAP_MS - Date.now();
  if (wait > 0) await new Promise((resolve) => { setTimeout(resolve, wait); });
  lastRefresh = Date.now();
  const { llCurGameCoin, llBankCoin } = await lobby.refresh();
  showCoins(llCurGameCoin, llBankCoin);
}

// After something else has moved coins: its own outcome is already told, a missing refresh is not
// worth an error.
const refreshQuietly = () => refreshCoins().catch(() => {});

// Who works with the keyboard goes on in what takes the place of what is hidden; a focus that lies
// elsewhere stays.
function showLoggedIn(isIn) {
  const [shown, hidden] = isIn ? ['dashboard', 'login-card'] : ['login-card', 'dashboard'];
  const isLost = [byId(hidden), byId('logout'), document.body]
    .some((part) => part === document.activeElement || (part !== document.body
      && part.contains(document.activeElement)));
  byId(shown).hidden = false;
  byId(hidden).hidden = true;
  byId('logout').hidden = !isIn;
  if (isLost) byId(isIn ? 'dashboard' : 'login').focus();
}

function banner(text) {
  byId('banner').textContent = text;
  byId('banner').hidden = !text;
}

// A new session shows nothing of the one before it.
function startSession() {
  for (const id of ['notices', 'subscriptions', 'tournament', 'server-rows']) {
    byId(id).replaceChildren();
  }
  document.querySelectorAll('#dashboard .result').forEach((output) => say(output, '', ''));
  document.querySelector('.table-frame').hidden = true;
  byId('no-notices').hidden = false;
  byId('coins-hand').textContent = '–';
  byId('coins-bank').textContent = '–';
  byId('player-name').textContent = `Player ${lobby.userId}`;
  byId('player-site').textContent = `site ${lobby.siteId}`;
  setState('logged in', 'good');
  showLoggedIn(true);
  refreshQuietly();
}

async function openConnection(url) {
  setState('connecting …', 'muted');
  try {
    await lobby.connect(url);
  } catch (error) {
    setState('not connected', 'muted');
    throw error;
  }
}

onSubmit('login-form', 'login', async () => {
  banner('');
  const user = playerNumber('user-id');
  const site = wholeNumber('site', 'The site');
  await openConnection(value('server-url'));
  try {
    await lobby.login(user, value('token'), site);
  } catch (error) {
    lobby.close();  // a connection logs in once only
    banner('');     // the form says what happened
    throw error;
  }
  startSession();
});

onSubmit('refresh-form', 'refresh', refreshCoins);

onSubmit('bank-login-form', 'bankLogin', async () => {
  const result = await lobby.bankLogin(typed('bank-password'));
  showCoins(result.llGameCoin, result.llBankCoin);
  return 'The bank is open.';
});

onSubmit('bank-move-form', 'bank', async (button) => {
  const amount = wholeNumber('bank-amount', 'The amount', BigInt);
  const isTake = button?.value !== 'save';
  await (isTake ? lobby.take(amount, typed('bank-password')) : lobby.save(amount));
  refreshQuietly();
  return `${formatCoins(amount)} coins ${isTake ? 'taken out' : 'put in'}.`;
});

onSubmit('bank-password-form', 'bankPassword', async () => {
  await lobby.bankPassword(typed('bank-old'), typed('bank-new'), value('bank-code'));
  return 'The bank password is changed.';
});

onSubmit('exchange-form', 'exchange', async () => {
  const to = playerNumber('exchange-to');
  const amount = wholeNumber('exchange-amount', 'The amount', BigInt);
  const result = await lobby.exchange(to, amount);
  showCoins(result.llFirstMoney);
  return `${formatCoins(amount)} coins sent to player ${to}.`;
});

onSubmit('login-password-form', 'loginPassword', async () => {
  await lobby.loginPassword(typed('password-old'), typed('password-new'));
  return 'The login password is changed.';
});

// Profile forms differ only in what they ask and what they say.
const PROFILE = [
  ['nickname-form', 'nickname', () => lobby.nickname(value('nickname')), 'Your nickname is saved.'],
  ['signature-form', 'signature', () => lobby.signature(value('signature')),
    'Your signature is saved.'],
  ['gender-form', 'gender', () => lobby.gender(Number(value('gender'))), 'Saved.'],
  ['face-form', 'face', () => lobby.face(wholeNumber('face-id', 'The picture')),
    'Your picture is saved.'],
  ['mobile-form', 'mobile', () => lobby.mobile(value('mobile')), 'Your mobile number is bound.'],
  ['real-name-form', 'realName', () => lobby.realName(value('real-name'), value('identity')),
    'Your name is confirmed.'],
];
for (const [form, operation, ask, done] of PROFILE) {
  onSubmit(form, operation, async () => {
    await ask();
    return done;
  });
}

onSubmit('server-list-form', 'serverList', async () => {
  const servers = await lobby.serverList();
  byId('server-rows').replaceChildren(...servers.map(serverRow));
  document.querySelector('.table-frame').hidden = servers.length === 0;
  return `${servers.length} rooms`;
});

onSubmit('tournament-form', 'tournament', async () => {
  const info = await lobby.tournament();
  byId('tournament').replaceChildren(tournamentFacts(info));
});

function subscriptionChip(key) {
  const remove = element('button', 'quiet', 'Stop');
  remove.type = 'button';
  remove.ariaLabel = `Stop following ${key}`;
  const chip = element('li', '', element('span', '', key), remove);
  chip.dataset.key = key;
  remove.addEventListener('click', () => {
    if (lobby.connected) lobby.unsubscribe(key);
    chip.remove();
  });
  return chip;
}

onSubmit('subscribe-form', 'subscribe', async () => {
  const key = value('subscribe-key');
  lobby.subscribe(key);
  const chips = [...byId('subscriptions').children];
  if (!chips.some((chip) => chip.dataset.key === key)) {
    byId('subscriptions').append(subscriptionChip(key));
  }
  return 'Asked. Messages with this key will show under Notices.';
});

onSubmit('activity-form', 'activity', async () => {
  lobby.activity(wholeNumber('activity-id', 'The activity'), {
    level: wholeNumber('activity-level', 'The level'),
    progress: wholeNumber('activity-progress', 'The progress'),
  });
  return 'Reported.';
});

function addNotices(items) {
  byId('no-notices').hidden = true;
  items.forEach((item) => prepend(byId('notices'), item, MOST_NOTICES));
}

for (const [event, make] of Object.entries(NOTICES)) {
  lobby.on(event, (fields) => addNotices(make(fields)));
}
lobby.on('coins', ({ llCurGameCoin, llBankCoin }) => showCoins(llCurGameCoin, llBankCoin));
lobby.on('exchangeNotify', ({ llFirstMoney }) => showCoins(llFirstMoney));
lobby.on('message', (message) => log.add(message));
lobby.on('close', ({ reason }) => {
  setState('not connected', 'muted');
  showLoggedIn(false);
  banner(closeText(reason));
  addNotices([notice('session', closeText(reason))]);
});

byId('logout').addEventListener('click', () => lobby.close());
byId('log-clear').addEventListener('click', () => log.clear());
byId('show-keep-alives').addEventListener('change', (event) => {
  byId('log').classList.toggle('with-keep-alives', event.target.checked);
});

// A link to the page must not lead a player's token elsewhere: only to a page of this machine it may
// name a lobby.
function lobbyOfAddress() {
  const isOwn = /^(localhost|127(\.\d+){3}|\[::1\])$/.test(location.hostname);
  return isOwn ? new URLSearchParams(location.search).get('ws') : null;
}

// The lobby's address comes from the page's own address (?ws=...) or from config.json beside the
// page, which may also fill in a player to try things with.
async function loadConfig() {
  const config = await fetch('config.json').then((answer) => (answer.ok ? answer.json() : {}))
    .catch(() => ({}));
  byId('server-url').value = lobbyOfAddress() ?? config.ws ?? '';
  const { userId, token, siteId, bankPassword } = config.player ?? {};
  const filled = { 'user-id': userId, token, site: siteId, 'bank-password': bankPassword };
  for (const [id, text] of Object.entries(filled)) {
    if (text !== undefined) byId(id).value = text;
  }
}

await loadConfig();
document.body.dataset.ready = 'yes';

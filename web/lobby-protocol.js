// A client of the lobby, for the player's page and for a game's own client, in browsers and node.
//
//   import { LobbyClient } from 'lobby-protocol';
//   const lobby = new LobbyClient({ reconnect: true });
//   lobby.on('bulletins', ({ bulletinItem }) => show(bulletinItem));
//   await lobby.connect('ws://127.0.0.1:6020');
//   await lobby.login(1001, token, 1);
//   const { llGetCoinNum } = await lobby.take(500n, bankPassword);
//
// - Requests return a promise of the answer's fields. They reject with a LobbyError, whose `code`
//   tells what happened; see there.
// - The protocol has no request ids; an answer is known by its message number only, and one that
//   the lobby gives itself (too soon, bad amount) overtakes one it has to ask for. So requests of
//   one kind go out one at a time: the next is sent when the one before it has ended.
// - The lobby leaves some requests without any answer (asked too soon, for instance); those end by
//   their time-out. An answer later than that goes to the next request of its kind.
// - Numbers may be given as decimal texts, too. Coin amounts are BigInt when read; see
//   lobby-codec.js for all value types.
// - The lobby closes a WebSocket that has more than 4095 bytes waiting to be read: do not send
//   long bursts without awaiting answers.

import { decode, encode, MessageStream, ProtocolError } from './lobby-codec.js';
import {
  codeOf, codeText, FROM_LOBBY, KEEP_ALIVE, layoutOf, TO_LOBBY,
} from './lobby-layouts.js';

export * from './lobby-codec.js';
export * from './lobby-layouts.js';

// Messages the lobby sends by itself, and the event each is announced by. Those that are also
// answers are announced when nobody waits for one.
const PUSHES = new Map([
  [0x00a7, 'consume'], [0x00a8, 'kickOut'], [0x00b3, 'sync'], [0x00b4, 'bulletins'],
  [0x00bb, 'farm'], [0x00e9, 'faceFrame'], [0x00ea, 'coins'], [0x00f4, 'publish'],
  [0x0052, 'exchangeNotify'], [0xe012, 'activity'], [0xe014, 'activityClose'],
]);

const EVENTS = new Set([...PUSHES.values(), 'message', 'unknown', 'close', 'reconnecting',
  'reconnected', 'givenUp']);

// Closings that another connection mends. After 'kicked' it would only put out the other login.
const MENDABLE = new Set(['lost', 'silent', 'protocol', 'maintenance']);
const FIRST_WAIT_MS = 1000;
const LONGEST_WAIT_MS = 30000;

// Why a request or a connect failed, by `code`:
//   'refused'        the answer carries a code that is not 0: `result` is that code, `message` its
//                    sentence, `fields` the whole answer
//   'timeout'        no answer in time
//   'closed'         the connection ended first; `reason` as with the event 'close'
//   'unreachable'    no connection could be opened
//   'not-connected'  there is none
// `cause` is the socket's own error where the environment tells one (browsers do not).
export class LobbyError extends Error {
  constructor(code, message, { cause, ...more } = {}) {
    super(message, cause && { cause });
    this.name = 'LobbyError';
    this.code = code;
    Object.assign(this, more);
  }
}

const refusal = (type, result, fields) =>
  new LobbyError('refused', codeText(type, result), { result, fields });

// One connection at a time to one lobby. Events, by on(name, listener):
//   every push by the names above, with the message's fields;
//   'unknown'  { type, bytes } of a message this library does not know;
//   'message'  each decoded message in either direction (keep-alives too), for logs;
//   'close'    { reason, willReconnect }: 'asked', 'kicked' (logged in elsewhere), 'maintenance',
//              'silent' (a keep-alive was not answered), 'protocol' (an unreadable stream) or
//              'lost';
// and with the option `reconnect`, once logged in:
//   'reconnecting'  { attempt, waitMs, reason }: the next attempt follows after that wait;
//   'reconnected'   the fields of the new login's answer; subscriptions are renewed, too;
//   'givenUp'       { error }: the lobby refused the new login.
export class LobbyClient {
  #options;
  #listeners = new Map();
  #connection = null;  // { socket, stream, reason, echoDue, timer } while connected or connecting
  // Message number of the answer -> requests, of which only the first has been sent.
  #waiting = new Map();
  #session = null;     // { url, login } of the last login that succeeded
  #keys = new Map();   // subscriptions to renew: key -> ids
  #mending = null;     // { timer } while waiting for the next attempt
  userId = 0;
  siteId = 0;

  // timeoutMs: how long an answer may take. keepAliveMs: time between keep-alives.
  // WebSocket: the class to connect with, for environments without a global one. reconnect: true
  // opens a lost connection again and logs in anew, after a random wait between half of and the
  // whole of a limit that begins with minMs and doubles up to maxMs; { minMs, maxMs } sets them.
  constructor({ timeoutMs = 8000, keepAliveMs = 25000, reconnect = false,
    WebSocket = globalThis.WebSocket } = {}) {
    if (!WebSocket) throw new TypeError('no WebSocket here: give the option WebSocket a class');
    this.#options = { timeoutMs, keepAliveMs, WebSocket, reconnect: reconnect
      && { minMs: FIRST_WAIT_MS, maxMs: LONGEST_WAIT_MS, ...reconnect } };
  }

  get connected() {
    return this.#connection?.timer !== undefined;
  }

  // Calls the listener with each event of that name; returns a function that ends this. Throws
  // TypeError for a name that is none.
  on(name, listener) {
    if (!EVENTS.has(name)) throw new TypeError(`no event '${name}'; there are ${[...EVENTS].join(', ')}`);
    if (!this.#listeners.has(name)) this.#listeners.set(name, new Set());
    this.#listeners.get(name).add(listener);
    return () => this.#listeners.get(name).delete(listener);
  }

  // Opens a connection, closing an earlier one. Rejects when it cannot be opened in time.
  connect(url) {
    this.close();
    this.#session = null;
    this.#keys.clear();
    return this.#open(url);
  }

  #open(url) {
    return new Promise((resolve, reject) => {
      const socket = new this.#options.WebSocket(url);
      socket.binaryType = 'arraybuffer';
      const connection = { url, socket, stream: new MessageStream(), reason: 'lost', echoDue: false };
      this.#connection = connection;
      const limit = setTimeout(() => {
        connection.isLate = true;
        this.#end(connection, 'lost');
      }, this.#options.timeoutMs);
      connection.opening = (error) => {
        clearTimeout(limit);
        connection.opening = undefined;
        if (error) return reject(error);
        connection.timer = setInterval(() => this.#keepAlive(connection),
          this.#options.keepAliveMs);
        return resolve();
      };
      socket.onopen = () => connection.opening?.();
      socket.onmessage = (event) => this.#receive(connection, event.data);
      socket.onclose = () => this.#end(connection, connection.reason);
      socket.onerror = (event) => { connection.cause = event.error; };  // a close follows
    });
  }

  // Ends the connection and every attempt to open it again; requests still open reject with
  // 'closed'.
  close() {
    clearTimeout(this.#mending?.timer);
    this.#mending = null;
    if (this.#connection) this.#end(this.#connection, 'asked');
  }

  // Sends a message by number or name, without waiting for anything.
  send(message, fields = {}) {
    this.#transmit(encode(message, fields));
  }

  // Sends a request and returns a promise of its answer's fields. `isLast` is for answers in
  // several messages: it is given each one's fields and says whether that was the last.
  async request(type, fields = {}, { timeoutMs = this.#options.timeoutMs, isLast } = {}) {
    const reply = layoutOf(TO_LOBBY, type)?.reply;
    if (reply === undefined) throw new TypeError(`message ${type} has no answer`);
    const bytes = encode(type, fields);
    this.#expectConnection();
    return new Promise((resolve, reject) => {
      const queue = this.#waiting.get(reply) ?? [];
      this.#waiting.set(reply, queue);
      queue.push({ bytes, resolve, reject, isLast, timeoutMs });
      if (queue.length === 1) this.#ask(reply, queue);
    });
  }

  // A connection logs in once. After a refusal connect anew to try again.
  // A userId below 1 is refused here: the lobby would close another player's session for it.
  async login(userId, token, siteId, channelId = '') {
    if (!(Number(userId) >= 1)) throw new RangeError('A user id is 1 or more.');
    this.userId = Number(userId);
    this.siteId = Number(siteId);
    const fields = { iUserID: userId, iLobbySiteID: siteId, szToken: token, szChannelID: channelId };
    const url = this.#connection?.url;
    const answer = await this.request(0x00a1, fields);
    this.#session = { url, fields };
    return answer;
  }

  bankLogin(password) {
    return this.request(0x00d3, { iUserID: this.userId, szBankPass: password });
  }

  // From the bank into the hand.
  take(amount, bankPassword, { gameId = 0, serverId = 0 } = {}) {
    return this.request(0x00d5, { ...this.#place(gameId, serverId), llGetNum: amount,
      szBankerPwd: bankPassword });
  }

  // From the hand into the bank; `winAmount` is how much of it was won in a game.
  save(amount, { gameId = 0, serverId = 0, winAmount = 0n } = {}) {
    return this.request(0x00d7, { ...this.#place(gameId, serverId), llSaveCoinNum: amount,
      llGameWinCoinNum: winAmount });
  }

  bankPassword(oldPassword, newPassword, code = '') {
    return this.request(0x00d9, { iUserID: this.userId, szCode: code, szOldPassWd: oldPassword,
      szNewPassWd: newPassword });
  }

  loginPassword(oldPassword, newPassword) {
    return this.request(0x00e1,
      { iUserID: this.userId, szOldPassWd: oldPassword, szNewPassWd: newPassword });
  }

  nickname(name) {
    return this.request(0x00e3, { iUserId: this.userId, szNickName: name });
  }

  gender(gender) {
    return this.request(0x00e4, { iUserId: this.userId, iGender: gender });
  }

  signature(text) {
    return this.request(0x00e5, { iUserId: this.userId, szPersonalSignature: text });
  }

  face(faceId) {
    return this.request(0x00e6, { iUserId: this.userId, iFaceId: faceId });
  }

  mobile(number) {
    return this.request(0x00e7, { iUserId: this.userId, szMobileNumber: number });
  }

  realName(name, identity) {
    return this.request(0x00e8, { iUserId: this.userId, szRealName: name, szIdentity: identity });
  }

  // The coins in hand and in the bank.
  refresh() {
    return this.request(0x00ea, { iUserId: this.userId });
  }

  // Gives coins in hand to another player.
  exchange(receiverId, amount) {
    return this.request(0x0050, { iRecvUserID: receiverId, llExhangeCoin: amount });
  }

  // All records of the login site's list, collected from the messages they come in.
  async serverList() {
    const servers = [];
    await this.request(0x9002, { iUserID: this.userId }, {
      isLast: ({ usIsFinish, serverInfo }) => {
        servers.push(...serverInfo);
        return usIsFinish !== 0;
      },
    });
    return servers;
  }

  tournament() {
    return this.request(0x00f0, { iUserID: this.userId });
  }

  // Never answered: a key the lobby does not offer is refused silently.
  subscribe(key, mainId = 0, subId = 0) {
    this.#keys.set(key, [mainId, subId]);
    this.send(0x00f2, { iMainID: mainId, iSubID: subId, szKey: key });
  }

  unsubscribe(key, mainId = 0, subId = 0) {
    this.#keys.delete(key);
    this.send(0x00f3, { iMainID: mainId, iSubID: subId, szKey: key });
  }

  // Comes back when everything sent before it has been dealt with. Goes out by itself, too.
  keepAlive() {
    return this.request(KEEP_ALIVE);
  }

  // Asks an activity or reports to it. What comes back, if anything, is the event 'activity'.
  activity(activityId, { level = 0, progress = 0, other1 = 0, other2 = 0, other3 = 0 } = {}) {
    this.send(0xe012, { iActivityId: activityId, iLevel: level, iProgress: progress,
      iOther1: other1, iOther2: other2, iOther3: other3 });
  }

  #place(gameId, serverId) {
    return { iUserID: this.userId, iSiteID: this.siteId, iGameID: gameId, iServerID: serverId };
  }

  #emit(name, event) {
    for (const listener of this.#listeners.get(name) ?? []) {
      try {
        listener(event);
      } catch (error) {
        console.error(`a listener of '${name}' failed`, error);
      }
    }
  }

  #expectConnection() {
    if (!this.connected) throw new LobbyError('not-connected', 'There is no connection.');
  }

  #transmit(bytes) {
    this.#expectConnection();
    this.#connection.socket.send(bytes);
    this.#emit('message', { ...decode(bytes, TO_LOBBY), at: new Date() });
  }

  // Sends the first request of a queue, if there is one.
  #ask(reply, queue) {
    if (queue.length === 0) return;
    this.#startTimer(reply, queue);
    this.#transmit(queue[0].bytes);
  }

  #startTimer(reply, queue) {
    queue[0].timer = setTimeout(() => {
      queue.shift().reject(new LobbyError('timeout', 'The lobby did not answer.'));
      this.#ask(reply, queue);
    }, queue[0].timeoutMs);
  }

  // The lobby echoes a keep-alive. An echo is never echoed, or the two would go on for ever; one
  // that is missing when the next keep-alive is due means that the connection is dead.
  #keepAlive(connection) {
    if (connection.echoDue) return this.#end(connection, 'silent');
    connection.echoDue = true;
    return this.send(KEEP_ALIVE);
  }

  #receive(connection, data) {
    if (connection !== this.#connection) return;
    try {
      if (!(data instanceof ArrayBuffer)) throw new ProtocolError('a text frame');
      for (const bytes of connection.stream.push(new Uint8Array(data))) {
        if (connection !== this.#connection) return;  // a listener closed it
        this.#dispatch(connection, decode(bytes, FROM_LOBBY));
      }
    } catch (error) {
      if (!(error instanceof ProtocolError)) throw error;
      this.#end(connection, 'protocol');
    }
  }

  #dispatch(connection, message) {
    const { type, fields } = message;
    if (type === KEEP_ALIVE) connection.echoDue = false;
    if (type === 0x00a8) connection.reason = fields.bStopSwitch ? 'maintenance' : 'kicked';
    this.#emit('message', { ...message, at: new Date() });
    const queue = this.#waiting.get(type);
    if (queue?.length) {
      this.#answer(type, queue, fields);
    } else if (PUSHES.has(type)) {
      this.#emit(PUSHES.get(type), fields);
    } else if (!message.known) {
      this.#emit('unknown', { type, bytes: message.bytes });
    }
  }

  #answer(type, queue, fields) {
    const [entry] = queue;
    clearTimeout(entry.timer);
    const isDone = !entry.isLast || entry.isLast(fields);
    if (queue[0] !== entry) return undefined;  // its callback closed the connection
    if (!isDone) return this.#startTimer(type, queue);
    queue.shift();
    const result = codeOf(type, fields);
    if (result) entry.reject(refusal(type, result, fields));
    else entry.resolve(fields);
    return this.#ask(type, queue);
  }

  #end(connection, reason) {
    if (connection !== this.#connection) return;
    this.#connection = null;
    clearInterval(connection.timer);
    connection.socket.close();
    const { cause } = connection;
    const error = new LobbyError('closed', `The connection is closed (${reason}).`, { reason, cause });
    const open = [...this.#waiting.values()].flatMap((queue) => queue.splice(0));
    for (const entry of open) {
      clearTimeout(entry.timer);
      entry.reject(error);
    }
    if (connection.opening) return connection.opening(this.#failedOpening(connection, error));
    if (this.#mending) return undefined;  // #mendNow goes on
    const willReconnect = Boolean(this.#options.reconnect && this.#session && MENDABLE.has(reason));
    // A listener may connect or close by itself: then nothing is to be mended any more.
    if (willReconnect) this.#mend(1, reason);
    return this.#emit('close', { reason, willReconnect });
  }

  #failedOpening(connection, error) {
    if (error.reason !== 'lost') return error;
    if (connection.isLate) return new LobbyError('timeout', `${connection.url} did not answer.`);
    return new LobbyError('unreachable', `${connection.url} cannot be reached.`,
      { cause: error.cause });
  }

  // Waits, then opens the connection again. Everybody lost it at once, so nobody's wait is alike.
  #mend(attempt, reason) {
    const { minMs, maxMs } = this.#options.reconnect;
    const limit = reason === 'maintenance' ? maxMs : Math.min(maxMs, minMs * 2 ** (attempt - 1));
    const waitMs = Math.round(limit * (1 + Math.random()) / 2);
    const mending = { reason };
    this.#mending = mending;
    mending.timer = setTimeout(() => this.#mendNow(mending, attempt), waitMs);
    queueMicrotask(() => {
      if (mending === this.#mending) this.#emit('reconnecting', { attempt, waitMs, reason });
    });
  }

  async #mendNow(mending, attempt) {
    const { url, fields } = this.#session;
    try {
      await this.#open(url);
      const answer = await this.request(0x00a1, fields);
      if (mending !== this.#mending) return;
      this.#mending = null;
      for (const [key, ids] of this.#keys) this.subscribe(key, ...ids);
      this.#emit('reconnected', answer);
    } catch (error) {
      if (mending !== this.#mending) return;  // closed by the caller
      if (this.#connection) this.#end(this.#connection, 'lost');
      if (error.code !== 'refused') return void this.#mend(attempt + 1, mending.reason);
      this.#mending = null;
      this.#emit('givenUp', { error });
    }
  }
}

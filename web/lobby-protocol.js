// A client of the lobby, for the player's page and for a game's own client, in browsers and node.
//
//   import { LobbyClient } from './lobby-protocol.js';
//   const lobby = new LobbyClient();
//   lobby.on('bulletins', ({ bulletinItem }) => show(bulletinItem));
//   await lobby.connect('ws://127.0.0.1:6020');
//   const { ucErrNo } = await lobby.login(1001, token, 1);
//   const { ucResultType, llGetCoinNum } = await lobby.take(500n, bankPassword);
//
// - Requests return a promise of the answer's fields, whatever result code it carries. They reject
//   with a LobbyError whose `code` is 'timeout', 'closed' or 'not-connected'.
// - The protocol has no request ids; an answer is known by its message number only, and one that
//   the lobby gives itself (too soon, bad amount) overtakes one it has to ask for. So requests of
//   one kind go out one at a time: the next is sent when the one before it has ended.
// - The lobby leaves some requests without any answer (asked too soon, for instance); those end by
//   their time-out. An answer later than that goes to the next request of its kind.
// - Coin amounts are BigInt; see lobby-codec.js for all value types.
// - The lobby closes a WebSocket that has more than 4095 bytes waiting to be read: do not send
//   long bursts without awaiting answers.

import { decode, encode, MessageStream, ProtocolError } from './lobby-codec.js';
import { FROM_LOBBY, KEEP_ALIVE, layoutOf, TO_LOBBY } from './lobby-layouts.js';

export * from './lobby-codec.js';
export * from './lobby-layouts.js';

export const RESULT_NOT_YOURS = 150;   // the request names another user
export const RESULT_TOO_SOON = 156;    // asked again too soon
export const RESULT_BAD_AMOUNT = 157;  // an amount below 1

// Messages the lobby sends by itself, and the event each is announced by. Those that are also
// answers are announced when nobody waits for one.
const PUSHES = new Map([
  [0x00a7, 'consume'], [0x00a8, 'kickOut'], [0x00b3, 'sync'], [0x00b4, 'bulletins'],
  [0x00bb, 'farm'], [0x00e9, 'faceFrame'], [0x00ea, 'coins'], [0x00f4, 'publish'],
  [0x0052, 'exchangeNotify'], [0xe014, 'activityClose'],
]);

export class LobbyError extends Error {
  constructor(code, message) {
    super(message);
    this.name = 'LobbyError';
    this.code = code;
  }
}

// One connection at a time to one lobby. Events, by on(name, listener):
//   every push by the names above, with the message's fields;
//   'message'  each decoded message in either direction (keep-alives too), for logs;
//   'close'    { reason }: 'asked', 'kicked' (logged in elsewhere), 'maintenance', 'silent' (a
//              keep-alive was not answered), 'protocol' (an unreadable stream) or 'lost'.
export class LobbyClient {
  #options;
  #listeners = new Map();
  #connection = null;  // { socket, stream, reason, echoDue, timer } while connected or connecting
  // Message number of the answer -> requests, of which only the first has been sent.
  #waiting = new Map();
  userId = 0;
  siteId = 0;

  // timeoutMs: how long an answer may take. keepAliveMs: time between keep-alives.
  // WebSocket: the class to connect with, for environments without a global one.
  constructor({ timeoutMs = 8000, keepAliveMs = 25000, WebSocket = globalThis.WebSocket } = {}) {
    this.#options = { timeoutMs, keepAliveMs, WebSocket };
  }

  get connected() {
    return this.#connection?.timer !== undefined;
  }

  // Calls the listener with each event of that name; returns a function that ends this.
  on(name, listener) {
    if (!this.#listeners.has(name)) this.#listeners.set(name, new Set());
    this.#listeners.get(name).add(listener);
    return () => this.#listeners.get(name).delete(listener);
  }

  // Opens a connection, closing an earlier one. Rejects when it cannot be opened in time.
  connect(url) {
    this.close();
    return new Promise((resolve, reject) => {
      const socket = new this.#options.WebSocket(url);
      socket.binaryType = 'arraybuffer';
      const connection = { socket, stream: new MessageStream(), reason: 'lost', echoDue: false };
      this.#connection = connection;
      const limit = setTimeout(() => this.#end(connection, 'lost'), this.#options.timeoutMs);
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
      socket.onerror = () => {};  // a close follows
    });
  }

  // Ends the connection; requests still open reject with 'closed'.
  close() {
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

  // A connection logs in once. After a refusal (ucErrNo is not 0) connect anew to try again.
  login(userId, token, siteId, channelId = '') {
    this.userId = userId;
    this.siteId = siteId;
    return this.request(0x00a1,
      { iUserID: userId, iLobbySiteID: siteId, szToken: token, szChannelID: channelId });
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

  faceId(faceId) {
    return this.request(0x00e6, { iUserId: this.userId, iFaceId: faceId });
  }

  mobile(number) {
    return this.request(0x00e7, { iUserId: this.userId, szMobileNumber: number });
  }

  realName(name, identity) {
    return this.request(0x00e8, { iUserId: this.userId, szRealName: name, szIdentity: identity });
  }

  refreshCoin() {
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
    this.send(0x00f2, { iMainID: mainId, iSubID: subId, szKey: key });
  }

  unsubscribe(key, mainId = 0, subId = 0) {
    this.send(0x00f3, { iMainID: mainId, iSubID: subId, szKey: key });
  }

  // Reports to an activity; what comes back, if anything, is the activity's own.
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
    }
  }

  #answer(type, queue, fields) {
    const [entry] = queue;
    clearTimeout(entry.timer);
    const isDone = !entry.isLast || entry.isLast(fields);
    if (queue[0] !== entry) return undefined;  // its callback closed the connection
    if (!isDone) return this.#startTimer(type, queue);
    queue.shift();
    entry.resolve(fields);
    return this.#ask(type, queue);
  }

  #end(connection, reason) {
    if (connection !== this.#connection) return;
    this.#connection = null;
    clearInterval(connection.timer);
    connection.socket.close();
    const error = new LobbyError('closed', `The connection is closed (${reason}).`);
    error.reason = reason;
    const open = [...this.#waiting.values()].flatMap((queue) => queue.splice(0));
    for (const entry of open) {
      clearTimeout(entry.timer);
      entry.reject(error);
    }
    if (connection.opening) return connection.opening(error);
    return this.#emit('close', { reason });
  }
}

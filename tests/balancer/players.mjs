// The players of balancer_test.sh: a command a line on standard input, a line of answer for each,
// "ok ..." or "error ...". Two of three players connect by plain TCP, the third by wss://, and
// without a TCP_URL all do; from eight addresses that no proxy has. A flood comes from a ninth.
import fs from 'node:fs';
import net from 'node:net';
import readline from 'node:readline';
import { setTimeout as sleep } from 'node:timers/promises';
import { encode, KEEP_ALIVE, LobbyClient } from '../../web/lobby-protocol.js';
import { WebSocket } from '../web/support/modules.mjs';

const { TCP_URL, WSS_URL, WSS_CERTIFICATE } = process.env;
const ca = fs.readFileSync(WSS_CERTIFICATE);
const TIMEOUT_MS = 30000;
const AT_ONCE = 50;
const FLOOD_ADDRESS = '127.0.9.9';
let turn = 0;
const nextAddress = () => `127.0.${1 + (turn++ % 8)}.9`;

class SecureSocket extends WebSocket {
  constructor(url, localAddress = nextAddress()) { super(url, { ca, localAddress }); }
}

// A plain connection in the shape of a WebSocket.
class TcpSocket {
  #socket;
  constructor(url, localAddress = nextAddress()) {
    const { hostname, port } = new URL(url);
    this.#socket = net.connect({ port, host: hostname, localAddress }, () => this.onopen())
      .on('data', (data) => this.onmessage({ data: new Uint8Array(data).buffer }))
      .on('error', (error) => this.onerror(error))
      .on('close', () => this.onclose());
  }
  send(bytes) { this.#socket.write(bytes); }
  close() { this.#socket.destroy(); }
}

const online = new Map();  // user id -> client
let returning = [];        // of those whose lobby has gone
let firstLost = 0;

async function enter(id) {
  const [url, Socket] = id % 3 === 0 || !TCP_URL ? [WSS_URL, SecureSocket] : [TCP_URL, TcpSocket];
  const client = new LobbyClient({ WebSocket: Socket, timeoutMs: TIMEOUT_MS });
  await client.connect(url);
  await client.login(id, 'token', 1);
  if (!client.connected) throw new Error(`login of ${id}`);
  online.set(id, client);
  client.on('close', ({ reason }) => {
    if (online.get(id) !== client) return;
    online.delete(id);
    firstLost ||= Date.now();
    // At once: a real one would wait a moment.
    const back = reason === 'lost' ? enter(id) : Promise.reject(new Error(`${id}: ${reason}`));
    back.catch(() => {});  // reported by 'returned'
    returning.push(back);
  });
}

// A second login; the first must be put out by it.
async function again(id) {
  const first = online.get(id);
  online.delete(id);
  const closed = new Promise((resolve) => { first.on('close', resolve); });
  await enter(id);
  const { reason } = await closed;
  if (reason !== 'kicked') throw new Error(`first login of ${id} ended: ${reason}`);
}

function leave(id) {
  const client = online.get(id);
  online.delete(id);
  client.close();
}

async function forEach(items, act) {
  const left = [...items];
  const work = async () => { while (left.length) await act(left.shift()); };
  await Promise.all(Array.from({ length: AT_ONCE }, work));
}

const flooders = [];

// Connects that many at once from one address and keeps those who get in; how many do.
async function flood(Socket, url, count) {
  const one = () => new Promise((resolve) => {
    const socket = new Socket(url, FLOOD_ADDRESS);
    flooders.push(socket);
    socket.onopen = () => socket.send(encode(KEEP_ALIVE));
    socket.onmessage = () => resolve(true);
    socket.onerror = () => resolve(false);
    socket.onclose = () => resolve(false);
  });
  return (await Promise.all(Array.from({ length: count }, one))).filter(Boolean).length;
}

// The status that a page of that origin gets for its upgrade.
const upgrade = (origin) => new Promise((resolve) => {
  const socket = new WebSocket(WSS_URL, { ca, origin, localAddress: nextAddress() });
  socket.on('unexpected-response', (request, { statusCode }) => {
    request.destroy();
    resolve(statusCode);
  });
  socket.on('open', () => { socket.close(); resolve(101); });
  socket.on('error', () => {});
});

const range = (first, last, step) =>
  Array.from({ length: Math.floor((last - first) / step) + 1 }, (_, i) => first + i * step);

const commands = {
  enter: (first, last, step = 1) => forEach(range(first, last, step), enter),
  again: (first, last, step = 1) => forEach(range(first, last, step), again),
  leave: (first, last, step = 1) => forEach(range(first, last, step), leave),
  // So many were cut off, and all of them are online again.
  async returned(count) {
    while (returning.length < count) await sleep(10);
    await Promise.all(returning);
    if (returning.length !== count) throw new Error(`${returning.length} were cut off`);
    const took = Date.now() - firstLost;
    returning = [];
    return took;
  },
  flood: async (count) => [await flood(TcpSocket, TCP_URL, count), await flood(SecureSocket, WSS_URL, count)]
    .join(' '),
  calm: () => flooders.splice(0).forEach((socket) => socket.close()),
  origins: async () => [await upgrade('https://localhost'), await upgrade('https://evil.example')]
    .join(' '),
  // Everybody's lobby answers.
  alive: () => forEach([...online.values()], (client) => client.keepAlive()),
  online: () => [...online.keys()].sort().join(' '),
};

for await (const line of readline.createInterface({ input: process.stdin })) {
  const [name, ...words] = line.split(' ');
  try {
    console.log('ok', await commands[name](...words.map(Number)) ?? '');
  } catch (error) {
    console.log('error', `${name}: ${error.message}`);
  }
}
process.exit();

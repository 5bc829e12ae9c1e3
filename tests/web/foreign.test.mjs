// WebSocket clients that nobody here wrote, each with its own keep-alive, against a lobby with the
// sample configuration. FOREIGN_SECONDS: how long each stays, 60 for a look by hand.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs/promises';
import http from 'node:http';
import os from 'node:os';
import path from 'node:path';
import { after, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { WebSocket } from './support/modules.mjs';
import { startSystem } from './support/system.mjs';

const seconds = Number(process.env.FOREIGN_SECONDS ?? 4);
const interval = seconds >= 60 ? 20 : 3;
const KEEP_ALIVE = [5, 0, 0, 8, 3, 0, 0xf0, 0xf1];
const system = await startSystem();
after(() => system.stop());

// Runs in a browser and in node alike.
async function stay(Socket, url, ms, message) {
  const socket = new Socket(url);
  socket.binaryType = 'arraybuffer';
  const next = (name) => new Promise((resolve, reject) => {
    socket.addEventListener(name, resolve, { once: true });
    if (name !== 'close') socket.addEventListener('close', reject, { once: true });
  });
  await next('open');
  for (const pause of [ms, 0]) {
    const echo = next('message');
    socket.send(Uint8Array.from(message));
    if (String(new Uint8Array((await echo).data)) !== String(message)) throw new Error('no echo');
    await new Promise((resolve) => { setTimeout(resolve, pause); });
  }
  const end = next('close');
  socket.close(1000);
  return `${(await end).code} ${(await end).wasClean}`;
}

// All at once: what takes their time is staying.
describe('clients that ping', { concurrency: true }, () => {
  for (const library of ['websockets', 'websocket', 'aiohttp']) {
    it(`Debian's python3-${library}`, async () => {
      const script = fileURLToPath(new URL('foreign/libraries.py', import.meta.url));
      const child = spawn('/usr/bin/python3', [script, library, system.url, seconds, interval],
        { stdio: ['ignore', 'inherit', 'inherit'] });
      assert.deepEqual(await once(child, 'close'), [0, null]);
    });
  }

  it("npm's ws", async () => {
    let pongs = 0;
    class Pinging extends WebSocket {
      constructor(url) {
        super(url);
        this.on('pong', (data) => { pongs += String(data) === 'alive'; });
        const timer = setInterval(() => this.ping('alive'), interval * 1000);
        this.on('close', () => clearInterval(timer));
      }
    }
    assert.equal(await stay(Pinging, system.url, seconds * 1000 + 500, KEEP_ALIVE), '1000 true');
    assert.ok(pongs >= Math.floor(seconds / interval), `${pongs} pongs`);
  });

  const browsers = {
    chromium: (url, home) => ['--headless', '--no-sandbox', '--disable-gpu', '--no-first-run',
      '--disable-background-networking', `--user-data-dir=${home}`, url],
    'firefox-esr': (url, home) => ['--headless', '--no-remote', '--profile', home, url],
  };
  for (const [program, argumentsOf] of Object.entries(browsers)) {
    it(program, async (t) => {
      const home = await fs.mkdtemp(path.join(os.tmpdir(), 'browser-'));
      let report;
      const outcome = new Promise((resolve) => { report = resolve; });
      const server = http.createServer((request, response) => {
        if (request.method === 'POST') request.on('data', (text) => report(String(text)));
        response.setHeader('content-type', 'text/html');
        response.end(`<script>(${stay})(WebSocket, '${system.url}', ${seconds * 1000}, [${KEEP_ALIVE}])
          .catch((e) => String(e.code ?? e)).then((body) => fetch('/', { method: 'POST', body }));</script>`);
      }).listen(0, '127.0.0.1');
      await once(server, 'listening');
      const child = spawn(program, argumentsOf(`http://127.0.0.1:${server.address().port}/`, home),
        { stdio: 'ignore', detached: true, env: { ...process.env, HOME: home } });
      t.after(async () => {
        process.kill(-child.pid, 'SIGKILL');
        await once(child, 'close');
        server.closeAllConnections();
        server.close();
        await fs.rm(home, { recursive: true, force: true, maxRetries: 5 });
      });
      child.on('close', () => report('ended'));
      assert.equal(await outcome, '1000 true');
    });
  }
});

// Clients as others have them, against a lobby with the sample configuration: the library out of its
// package, and WebSocket clients that nobody here wrote, each with its own keep-alive (for Chromium
// see session.test.mjs). FOREIGN_SECONDS: how long each stays, 60 for a look by hand.
import assert from 'node:assert/strict';
import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { after, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { WebSocket } from './support/modules.mjs';
import { stay } from './support/stay.mjs';
import { startSystem } from './support/system.mjs';

const seconds = Number(process.env.FOREIGN_SECONDS ?? 4);
const interval = seconds >= 60 ? 20 : 3;
const here = (file) => fileURLToPath(new URL(file, import.meta.url));
const text = (file) => fs.readFileSync(here(file), 'utf8');
const modules = process.env.WEB_MODULES;
// Below the tests' npm packages, so that those are found, too.
const folder = fs.mkdtempSync(path.join(modules, 'client-'));
const run = async (program, ...args) =>
  (await promisify(execFile)(program, args, { cwd: folder })).stdout;
const system = await startSystem();
after(async () => {
  await system.stop();
  fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
});

// All at once: what takes their time is staying.
describe('clients of others', { concurrency: true }, () => {
  it("the package holds what it needs; tsc takes its types; the README's client runs", async () => {
    const [{ filename, files, version }] = JSON.parse(await run('npm', 'pack', '--json', here('../../web')));
    assert.equal(version, /LobbyServer VERSION (\S+)/.exec(text('../../CMakeLists.txt'))[1]);
    assert.deepEqual(files.map((file) => file.path).sort(), ['README.md', 'lobby-codec.js',
      'lobby-layouts.js', 'lobby-messages.d.ts', 'lobby-messages.js', 'lobby-protocol.d.ts',
      'lobby-protocol.js', 'package.json']);
    const installed = 'node_modules/lobby-protocol';
    fs.mkdirSync(path.join(folder, installed), { recursive: true });
    await run('tar', '-xf', filename, '-C', installed, '--strip-components=1');
    fs.copyFileSync(here('types/client.ts'), path.join(folder, 'client.mts'));
    await run(process.execPath, path.join(modules, 'node_modules/typescript/bin/tsc'), '--strict', '--noEmit',
      '--skipDefaultLibCheck', '--target', 'es2022', '--module', 'nodenext', 'client.mts');
    fs.writeFileSync(path.join(folder, 'client.mjs'), /```js\n(.*?)```/s.exec(text('../../web/README.md'))[1]);
    assert.match(await run(process.execPath, 'client.mjs', system.url),
      /in the bank: \d+n\nrefused 157 The amount must be at least 1\.\nclosed: asked/);
  });

  for (const library of ['websockets', 'websocket', 'aiohttp']) {
    it(`Debian's python3-${library}`, () =>
      run('/usr/bin/python3', here('foreign/libraries.py'), library, system.url, `${seconds}`, `${interval}`));
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
    assert.equal(await stay(Pinging, system.url, seconds * 1000 + 500), '1000 true');
    assert.ok(pongs >= Math.floor(seconds / interval), `${pongs} pongs`);
  });

  it('Firefox', async (t) => {
    let report;
    const outcome = new Promise((resolve) => { report = resolve; });
    const server = http.createServer((request, response) => {
      if (request.method === 'POST') request.on('data', (body) => report(String(body)));
      response.setHeader('content-type', 'text/html');
      response.end(`<script>(${stay})(WebSocket, '${system.url}', ${seconds * 1000})
        .catch((e) => String(e.code ?? e)).then((body) => fetch('/', { method: 'POST', body }));</script>`);
    }).listen(0, '127.0.0.1');
    await once(server, 'listening');
    const page = `http://127.0.0.1:${server.address().port}/`;
    const child = spawn('firefox-esr', ['--headless', '--no-remote', '--profile', folder, page],
      { stdio: 'ignore', detached: true, env: { ...process.env, HOME: folder } });
    child.on('close', () => report('ended'));
    t.after(async () => {
      process.kill(-child.pid, 'SIGKILL');
      await once(child, 'close');
      server.closeAllConnections();
      server.close();
    });
    assert.equal(await outcome, '1000 true');
  });
});

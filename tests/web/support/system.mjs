// The real thing: redis-server, platform_sim and LobbyServer on free loopback ports, in a
// directory of their own that goes with them.
import { spawn } from 'node:child_process';
import fs from 'node:fs/promises';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const PATIENCE_MS = 20000;
const PAGE = new URL('../../../web/', import.meta.url);
const SAMPLES = new URL('../../../deploy/config/', import.meta.url);

async function until(what, probe) {
  for (const end = Date.now() + PATIENCE_MS; Date.now() < end;) {
    const found = await probe();
    if (found) return found;
    await new Promise((resolve) => { setTimeout(resolve, 20); });
  }
  throw new Error(`${what} did not come up`);
}

function freePort() {
  return new Promise((resolve) => {
    const server = net.createServer().listen(0, '127.0.0.1', () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

const answers = (port) => new Promise((resolve) => {
  const socket = net.connect(port, '127.0.0.1', () => { socket.destroy(); resolve(true); });
  socket.on('error', () => resolve(false));
});

const config = (ports, lobby, redis) => `[network]
interval=20
timeout=120
MAX_SEND_COUNT=1000
MAX_RECV_COUNT=1000
[init]
sendbulletintime=1
[connect]
center_server=127.0.0.1:${ports.center}
bulletin_server=127.0.0.1:${ports.web}
queue_server=127.0.0.1:${ports.queue}
data_server=127.0.0.1:${ports.data}
config_server=127.0.0.1:${ports.config}
log_server=127.0.0.1:${ports.log}
[listen]
addr=127.0.0.1:${lobby}
maxconnection=1000
[Redis]
redis_server=127.0.0.1:${redis}
timeout=3
`;

// A control command of the simulator; resolves with all it answers.
function command(port, line) {
  return new Promise((resolve, reject) => {
    let text = '';
    const socket = net.connect(port, '127.0.0.1', () => socket.write(`${line}\n`));
    socket.on('error', reject);
    socket.on('data', (data) => {
      text += data;
      if (/(^|\n)(ok|error.*)\n$/.test(text)) {
        socket.destroy();
        resolve(text);
      }
    });
  });
}

export async function startSystem() {
  const folder = await fs.mkdtemp(path.join(os.tmpdir(), 'lobby-web-'));
  const children = [];
  const start = async (program, args, options = {}) => {
    const out = await fs.open(path.join(folder, `${path.basename(program)}.out`), 'w');
    const child = spawn(program, args, { cwd: folder, stdio: ['ignore', out.fd, out.fd], ...options });
    child.on('error', () => {});
    children.push({ child, ended: new Promise((resolve) => { child.on('close', resolve); }) });
    await out.close();
  };
  const stop = async () => {
    for (const { child, ended } of children.reverse()) {
      child.kill('SIGTERM');
      await Promise.race([ended, new Promise((resolve) => { setTimeout(resolve, 5000); })]);
      child.kill('SIGKILL');
    }
    await fs.rm(folder, { recursive: true, force: true });
  };
  try {
    const [redis, lobby] = [await freePort(), await freePort()];
    await start('redis-server', ['--port', String(redis), '--bind', '127.0.0.1', '--save', '']);
    const portsFile = path.join(folder, 'ports');
    const url = `ws://127.0.0.1:${lobby}`;
    await start(process.env.PLATFORM_SIM, ['--ports-file', portsFile, '--quiet',
      '--web-root', fileURLToPath(PAGE), '--lobby-address', url]);
    const line = await until('platform_sim', () => fs.readFile(portsFile, 'utf8').catch(() => ''));
    const ports = Object.fromEntries(line.trim().split(/\s+/).map((pair) => pair.split('=')));
    await until('redis-server', () => answers(redis));
    // The lobby reads its configuration beside its executable.
    const program = path.join(folder, 'LobbyServer');
    await fs.copyFile(process.env.LOBBY_SERVER, program);
    for (const name of ['SensitiveName.cfg', 'disconnectuserid.cfg', 'compete_info.cfg']) {
      await fs.copyFile(new URL(name, SAMPLES), path.join(folder, name));
    }
    await fs.writeFile(path.join(folder, 'LobbyServer.cfg'), config(ports, lobby, redis));
    await start(program, []);
    await until('LobbyServer', () => answers(lobby));
    return { url, page: `http://127.0.0.1:${ports.page}/`,
      command: (text) => command(ports.control, text), stop };
  } catch (error) {
    await stop();
    throw error;
  }
}

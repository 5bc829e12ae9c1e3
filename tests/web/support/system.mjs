// The real lobby and all around it, as system.sh starts them.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import net from 'node:net';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

// A control command of the simulator; resolves with all it answers.
async function command(port, line) {
  const socket = net.connect(port, '127.0.0.1');
  socket.write(`${line}\n`);
  let text = '';
  for await (const data of socket) {
    text += data;
    if (/(^|\n)(ok|error.*)\n$/.test(text)) break;
  }
  return text;
}

export async function startSystem() {
  const script = fileURLToPath(new URL('system.sh', import.meta.url));
  const child = spawn(script, [process.env.BIN], { stdio: ['pipe', 'pipe', 'inherit'] });
  const ended = once(child, 'close');
  const failed = ended.then(([status]) => { throw new Error(`system.sh ended with ${status}`); });
  failed.catch(() => {});  // later it is what stop() waits for
  const [line] = await Promise.race([once(createInterface(child.stdout), 'line'), failed]);
  const [url, page, control, metrics] = line.split(' ');
  return {
    url, page, metrics, command: (text) => command(control, text),
    stop: () => { child.stdin.end(); return ended; },
  };
}

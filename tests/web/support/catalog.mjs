// What the message catalogue makes of messages, [direction, bytes] each.
import { execFileSync } from 'node:child_process';

export function described(messages) {
  const input = messages.map(([direction, bytes]) => `${direction} ${Buffer.from(bytes).toString('hex')}\n`);
  return execFileSync(process.env.PROTOCOL_DOC, ['--describe'], { input: input.join('') }).toString()
    .trim().split('\n')
    // Wide numbers as text: JSON would round them.
    .map((line) => JSON.parse(line.replace(/([:[,])(-?\d{10,})(?=[,}\]])/g, '$1"$2"')));
}

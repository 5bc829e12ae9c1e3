// What the dissector makes of a recorded session, against what the message catalogue makes of the
// same bytes.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { described } from '../web/support/catalog.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const SESSION = path.join(here, 'session.pcap');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lobby-tshark-'));
after(() => fs.rmSync(folder, { recursive: true }));
fs.cpSync(path.join(here, '../../tools/wireshark'), path.join(folder, 'with/.local/lib/wireshark/plugins'),
  { recursive: true });

// In a home of its own, with nobody's preferences, and the dissector installed or not.
function tshark(home, ...args) {
  const HOME = path.join(folder, home);
  return execFileSync('tshark', args, { env: { ...process.env, HOME, XDG_CONFIG_HOME: HOME, LC_ALL: 'C.UTF-8' },
    stdio: ['ignore', 'pipe', 'pipe'], maxBuffer: 1 << 28 }).toString();
}

const LINKS = { 9100: 'client', 9101: 'center', 9102: 'web', 9103: 'queue', 9104: 'data',
  9105: 'config', 9106: 'log' };

function directionOf(from, to) {
  if (LINKS[to]) return LINKS[to] === 'client' ? 'client->lobby' : `lobby->${LINKS[to]}`;
  return LINKS[from] === 'client' ? 'lobby->client' : `${LINKS[from]}->lobby`;
}

function messagesOf(bytes) {
  const messages = [];
  for (let at = 0; at < bytes.length; at += bytes.readUInt16BE(at + 2)) {
    messages.push(bytes.subarray(at, at + bytes.readUInt16BE(at + 2)));
  }
  return messages;
}

// Name and value of every field in wire order, as the dissector names them.
function flatten(fields, out = []) {
  for (const [name, value] of Object.entries(fields)) {
    for (const one of Array.isArray(value) ? value : [value]) {
      if (one !== null && typeof one === 'object') flatten(one, out);
      else out.push([name, String(one)]);
    }
  }
  return out;
}

const ENTITIES = { amp: '&', lt: '<', gt: '>', quot: '"', '#x27': "'" };
const plain = (xml) => xml.replace(/&(amp|lt|gt|quot|#x27);/g, (_, name) => ENTITIES[name]);
const TAG = /<(proto|field) name="([^"]*)"(?:[^>]*? show="([^"]*)")?/g;

// Bytes of each direction of each connection, "port>port" -> Buffer: what TCP or a WebSocket bears.
function streamsOf(file) {
  const streams = new Map();
  const lines = tshark('without', '-r', file, '-Y', 'data', '-T', 'fields', '-e', 'tcp.srcport',
    '-e', 'tcp.dstport', '-e', 'data.data');
  for (const [from, to, hex] of lines.trim().split('\n').map((line) => line.split('\t'))) {
    const key = `${from}>${to}`;
    const bytes = Buffer.from(hex.replaceAll(',', ''), 'hex');
    streams.set(key, Buffer.concat([streams.get(key) ?? Buffer.of(), bytes]));
  }
  return streams;
}

// What the dissector shows, "port>port" -> messages and everything it complains of.
function dissect(file) {
  const streams = new Map();
  for (const packet of tshark('with', '-r', file, '-T', 'pdml').split('</packet>')) {
    const port = (side) => new RegExp(`name="tcp.${side}port"[^>]* show="(\\d+)"`).exec(packet)?.[1];
    const key = `${port('src')}>${port('dst')}`;
    if (!streams.has(key)) streams.set(key, { messages: [], complaints: [] });
    const { messages, complaints } = streams.get(key);
    let message;
    for (const [, kind, name, show] of packet.matchAll(TAG)) {
      const [top, second, third] = name.split('.');
      if (kind === 'proto') {
        message = top === 'lobby' ? { struct: '', isEncrypted: false, fields: [] } : undefined;
        if (message) messages.push(message);
      }
      if (/^_ws\.(malformed|lua\.error)|^lobby\.(bad_header|bad_size|cut|unknown)$/.test(name)) {
        complaints.push(name);
      }
      if (!message || top !== 'lobby') continue;
      if (third) message.fields.push([third, plain(show)]);
      else if (second === 'encrypted') message.isEncrypted = true;
      else if (['direction', 'name', 'struct'].includes(second)) message[second] = plain(show);
    }
  }
  return streams;
}

test('every message of a recorded session is shown with its name, fields and values', () => {
  const shown = dissect(SESSION);
  const streams = [...streamsOf(SESSION)];
  const messages = streams.flatMap(([key, bytes]) =>
    messagesOf(bytes).map((message) => [directionOf(...key.split('>')), message]));
  const wanted = described(messages).map(({ name, struct, fields }, i) => {
    const [direction, bytes] = messages[i];
    const isEncrypted = bytes[1] !== 0;
    return { direction, name, struct, isEncrypted, fields: isEncrypted ? [] : flatten(fields ?? {}) };
  });
  assert.deepEqual(streams.flatMap(([key]) => shown.get(key).messages), wanted);
  assert.deepEqual([...shown.values()].flatMap(({ complaints }) => complaints), []);
  // The recording is worth its name: all links, most messages, both codecs.
  const kinds = new Set(wanted.map(({ direction, name }) => `${direction} ${name}`));
  assert.ok(kinds.size >= 100, `${kinds.size} kinds of messages`);
  assert.equal(wanted.filter(({ isEncrypted }) => isEncrypted).length, 1);
  // And what a field means.
  assert.match(tshark('with', '-G', 'fields'),
    /lobby\.GetBankCoinReq\.llGetNum.*coins to move from the bank/);
});

test('what is no message of the lobby is shown as such, and messages behind it still', () => {
  const cases = [
    ['another identity', '060000080300f0f1', ['lobby.bad_header', '_ws.malformed']],
    ['length 7', '050000070300f0f1', ['lobby.bad_header', '_ws.malformed']],
    ['unknown type', '0500000803001234', ['lobby.unknown']],
    ['a short connect notice', '0500000c030000a116270000', ['lobby.bad_size']],
    ['a PROXY header', `0d0a0d0a000d0a515549540a2111000c${'00'.repeat(12)}`, []],
    ['more records told than there are', `050000100300d011${'ffffff7f'}00000000`, [], 9104],
  ].map(([name, hex, complaints, server], i) =>
    ({ name, hex, complaints, ports: server ? [server, 40000 + i] : [40000 + i, 9100] }));
  for (const { name, hex, ports } of cases) {
    const packets = [hex, '050000080300f0f1'].map((bytes) => `000000 ${bytes.match(/../g).join(' ')}\n`);
    fs.writeFileSync(path.join(folder, 'packets'), packets.join(''));
    execFileSync('text2pcap', ['-q', '-T', `${ports}`, 'packets', name], { cwd: folder, stdio: 'pipe' });
  }
  execFileSync('mergecap', ['-a', '-w', 'all', ...cases.map(({ name }) => name)], { cwd: folder });
  const shown = dissect(path.join(folder, 'all'));
  for (const { name, complaints, ports } of cases) {
    const found = shown.get(ports.join('>'));
    assert.deepEqual([found.complaints, found.messages.at(-1).name], [complaints, 'keep-alive'], name);
  }
});

// What the dissector makes of a recorded session, against what the message catalogue makes of the
// same bytes.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const LUA = path.join(here, '../../tools/wireshark/lobby.lua');
const SESSION = path.join(here, 'session.pcap');
const PROTOCOL_DOC = process.env.PROTOCOL_DOC;
const LINKS = { 9100: 'client', 9101: 'center', 9102: 'web', 9103: 'queue', 9104: 'data',
  9105: 'config', 9106: 'log' };

function directionOf(from, to) {
  if (LINKS[to]) return LINKS[to] === 'client' ? 'client->lobby' : `lobby->${LINKS[to]}`;
  return LINKS[from] === 'client' ? 'lobby->client' : `${LINKS[from]}->lobby`;
}

// The payload of WebSocket frames behind the upgrade.
function unframed(bytes) {
  const parts = [];
  for (let at = bytes.indexOf('\r\n\r\n') + 4; at < bytes.length;) {
    const masked = bytes[at + 1] >> 7;
    let size = bytes[at + 1] & 127;
    at += 2;
    if (size === 126) { size = bytes.readUInt16BE(at); at += 2; }
    const mask = masked ? bytes.subarray(at, at + 4) : [0, 0, 0, 0];
    at += masked * 4;
    parts.push(bytes.subarray(at, at + size).map((byte, i) => byte ^ mask[i % 4]));
    at += size;
  }
  return Buffer.concat(parts);
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

function expected(direction, messages) {
  const lines = messages.map((message) => `${direction} ${message.toString('hex')}\n`).join('');
  const json = execFileSync(PROTOCOL_DOC, ['--describe'], { input: lines }).toString();
  // Wide numbers as text: JSON would round them.
  return json.trim().split('\n').filter(Boolean)
    .map((line) => JSON.parse(line.replace(/([:[,])(-?\d{10,})(?=[,}\]])/g, '$1"$2"')))
    .map(({ name, struct, fields }, i) => {
      const isEncrypted = messages[i][1] !== 0;
      return { direction, name, struct, isEncrypted, fields: isEncrypted ? [] : flatten(fields ?? {}) };
    });
}

const ENTITIES = { amp: '&', lt: '<', gt: '>', quot: '"', '#x27': "'" };
const plain = (xml) => xml.replace(/&(amp|lt|gt|quot|#x27);/g, (_, name) => ENTITIES[name]);
const attribute = (tag, name) => plain(new RegExp(` ${name}="([^"]*)"`).exec(tag)?.[1] ?? '');

// In a home of its own, with nobody's preferences and plug-ins but the given ones.
function tsharkWith(plugins, ...args) {
  const home = fs.mkdtempSync(path.join(os.tmpdir(), 'lobby-tshark-'));
  if (plugins) fs.cpSync(plugins, path.join(home, '.local/lib/wireshark/plugins'), { recursive: true });
  try {
    const env = { ...process.env, HOME: home, XDG_CONFIG_HOME: home, LC_ALL: 'C.UTF-8' };
    return execFileSync('tshark', args, { env, stdio: ['ignore', 'pipe', 'pipe'], maxBuffer: 1 << 28 })
      .toString();
  } finally {
    fs.rmSync(home, { recursive: true });
  }
}
const tshark = (...args) => tsharkWith('', '-X', `lua_script:${LUA}`, ...args);

// Bytes of each direction of each connection, "port>port" -> Buffer.
function streamsOf(file) {
  const streams = new Map();
  const lines = tshark('-r', file, '-Y', 'tcp.len > 0 && !tcp.analysis.retransmission', '-T', 'fields',
    '-e', 'tcp.srcport', '-e', 'tcp.dstport', '-e', 'tcp.payload');
  for (const [from, to, hex] of lines.trim().split('\n').map((line) => line.split('\t'))) {
    const key = `${from}>${to}`;
    streams.set(key, Buffer.concat([streams.get(key) ?? Buffer.of(), Buffer.from(hex, 'hex')]));
  }
  return streams;
}

// What tshark shows, "port>port" -> messages, and everything it complains of.
function dissect(file) {
  const shown = new Map();
  const complaints = [];
  for (const packet of tshark('-r', file, '-T', 'pdml').split('</packet>')) {
    const port = (side) => new RegExp(`name="tcp.${side}port"[^>]* show="(\\d+)"`).exec(packet)?.[1];
    const key = `${port('src')}>${port('dst')}`;
    let message;
    for (const [tag] of packet.matchAll(/<(?:proto|field) [^>]*>/g)) {
      const name = attribute(tag, 'name');
      const show = attribute(tag, 'show');
      const [top, second, third] = name.split('.');
      if (tag.startsWith('<proto')) {
        message = top === 'lobby' ? { struct: '', isEncrypted: false, fields: [] } : undefined;
        if (message) shown.set(key, [...shown.get(key) ?? [], message]);
      }
      if (/^_ws\.(malformed|lua\.error)|^lobby\.(bad_header|bad_size|cut|unknown)$/.test(name)) {
        complaints.push(name);
      }
      if (!message || top !== 'lobby') continue;
      if (third) message.fields.push([third, show, second]);
      else if (second === 'encrypted') message.isEncrypted = true;
      else if (['direction', 'name', 'struct'].includes(second)) message[second] = show;
    }
  }
  return { shown, complaints };
}

test('every message of a recorded session is shown with its name, fields and values', () => {
  const { shown, complaints } = dissect(SESSION);
  assert.deepEqual(complaints, []);
  const kinds = new Set();
  let encrypted = 0;
  for (const [key, bytes] of streamsOf(SESSION)) {
    const direction = directionOf(...key.split('>'));
    const isWeb = /^(GET |HTTP)/.test(bytes.toString('latin1', 0, 4));
    const wanted = expected(direction, messagesOf(isWeb ? unframed(bytes) : bytes));
    const found = (shown.get(key) ?? []).map((message) =>
      ({ ...message, fields: message.fields.map(([name, value]) => [name, value]) }));
    assert.equal(found.length, wanted.length, `messages of ${key} ${direction}`);
    wanted.forEach((message, i) => {
      assert.deepEqual({ ...found[i] }, message, `${key} message ${i}`);
      kinds.add(`${direction} ${message.name}`);
      encrypted += message.isEncrypted;
    });
  }
  // The recording is worth its name: all links, most messages, both codecs.
  assert.ok(kinds.size >= 100, `${kinds.size} kinds of messages`);
  assert.equal(encrypted, 1);
});

test('installed, it says what a field means', () => {
  assert.match(tsharkWith(path.dirname(LUA), '-G', 'fields'),
    /lobby\.GetBankCoinReq\.llGetNum.*coins to move from the bank/);
});

// A capture of packets that bear the given bytes from one port to another.
function capture(from, to, packets) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lobby-pcap-'));
  const text = packets.map((hex) => `000000 ${hex.match(/../g).join(' ')}\n`).join('');
  fs.writeFileSync(path.join(folder, 'in.txt'), text);
  execFileSync('text2pcap', ['-q', '-T', `${from},${to}`, 'in.txt', 'out.pcap'],
    { cwd: folder, stdio: ['ignore', 'ignore', 'pipe'] });
  return folder;
}

test('what is no message of the lobby is shown as such, and messages behind it still', () => {
  const keepAlive = '050000080300f0f1';
  const cases = [
    ['another identity', '060000080300f0f1', ['lobby.bad_header', '_ws.malformed']],
    ['length 7', '050000070300f0f1', ['lobby.bad_header', '_ws.malformed']],
    ['unknown type', '0500000803001234', ['lobby.unknown']],
    ['a short connect notice', '0500000c030000a116270000', ['lobby.bad_size']],
    ['a PROXY header', `0d0a0d0a000d0a515549540a2111000c${'00'.repeat(12)}`, []],
    ['more records told than there are', `050000100300d011${'ffffff7f'}00000000`, []],
  ];
  for (const [name, hex, wanted] of cases) {
    const isData = name.startsWith('more');
    const folder = capture(isData ? 9104 : 40000, isData ? 40000 : 9100, [hex, keepAlive]);
    const { shown, complaints } = dissect(path.join(folder, 'out.pcap'));
    fs.rmSync(folder, { recursive: true });
    assert.deepEqual(complaints, wanted, name);
    assert.equal([...shown.values()].flat().at(-1).name, 'keep-alive', name);
  }
});

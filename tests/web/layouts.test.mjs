// What the browser library writes and reads, against C++, byte by byte.
import assert from 'node:assert/strict';
import test from 'node:test';
import { decode, encode, FROM_LOBBY, MESSAGES, TO_LOBBY } from '../../web/lobby-protocol.js';
import { described } from './support/catalog.mjs';

const DIRECTIONS = { [TO_LOBBY]: 'client->lobby', [FROM_LOBBY]: 'lobby->client' };

const plain = (item) => (typeof item === 'boolean' ? Number(item) : item);
const comparable = (value) => JSON.parse(JSON.stringify(value,
  (_, item) => (typeof item === 'object' ? item : String(plain(item)))));

// Every byte differs from its neighbours, so that each tells its place.
let mark = 0x70;
const bytesOf = (size) => Array.from({ length: size }, () => { mark = (mark + 37) & 0xff; return mark; });
const numberOf = (size) => bytesOf(size).reduce((sum, byte) => (sum << 8n) + BigInt(byte), 0n);
const textOf = (room) =>
  '界'.repeat(room % 4) + bytesOf(room - 3 * (room % 4)).map((byte) => (byte % 26 + 10).toString(36)).join('');
const valueOf = (field) => {
  switch (field.kind) {
    case 'text': return textOf(field.room);
    case 'bool': return true;
    case 'u8': case 'u16': case 'u32': return Number(numberOf(field.size));
    case 'i32': return Number(BigInt.asIntN(32, numberOf(4)));
    case 'i64': return BigInt.asIntN(64, numberOf(8));
    case 'array': return Array.from({ length: field.length }, () => valueOf(field.item));
    case 'list': return Array.from({ length: field.max }, () => valuesOf(field.item.fields));
    case 'tail': return '{"wsGainList":[]}';
    default: throw new Error(`no value for ${field.kind}`);
  }
};
const valuesOf = (fields) => {
  const values = Object.fromEntries(fields.map((field) => [field.name, valueOf(field)]));
  for (const { kind, count, name } of fields) {
    if (kind === 'list' || kind === 'tail') values[count] = values[name].length;
  }
  return values;
};

test('what is written here is read the same here and by C++', () => {
  const written = MESSAGES.map(({ direction, type, name, fields }) => {
    const values = valuesOf(fields);
    return { direction, name, values, bytes: encode(type, values, direction) };
  });
  const read = described(written.map(({ direction, bytes }) => [DIRECTIONS[direction], bytes]));
  assert.equal(read.length, written.length);
  written.forEach(({ direction, name, values, bytes }, i) => {
    assert.deepEqual(decode(bytes, direction).fields, values, name);
    assert.deepEqual(comparable(read[i].fields ?? {}), comparable(values), name);
  });
});

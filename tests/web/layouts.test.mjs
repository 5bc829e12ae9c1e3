// Both descriptions of the client messages, the C++ headers and the browser's, byte by byte.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import test from 'node:test';
import { decode, encode, FROM_LOBBY, MESSAGES, TO_LOBBY } from '../../web/lobby-protocol.js';

const PROGRAM = process.env.LAYOUT_VECTORS;
const SHORT = { [TO_LOBBY]: 'c2l', [FROM_LOBBY]: 'l2c' };
const FORBIDDEN = 0x9000;  // closes its sender: a number no client library offers

const hexOf = (bytes) => Buffer.from(bytes).toString('hex');
// Wide numbers as text: JSON would round them.
const parse = (json) => JSON.parse(json.replace(/([:[,])(-?\d{10,})(?=[,}\]])/g, '$1"$2"'));
const comparable = (value) => {
  if (typeof value === 'bigint' || Math.abs(value) >= 1e9) return String(value);
  if (typeof value === 'boolean') return Number(value);
  if (Array.isArray(value)) return value.map(comparable);
  if (value === null || typeof value !== 'object') return value;
  return Object.fromEntries(Object.entries(value).map(([name, item]) => [name, comparable(item)]));
};

const vectors = execFileSync(PROGRAM).toString().trim().split('\n').map(parse)
  .map(({ direction, hex, message }) =>
    ({ ...message, hex, direction: direction === 'c2l' ? TO_LOBBY : FROM_LOBBY }));

test('both sides know the same messages under the same names', () => {
  const list = (messages) => messages.sort();
  assert.deepEqual(
    list(vectors.filter(({ type }) => type !== FORBIDDEN)
      .map(({ direction, type, struct }) => `${direction} ${type} ${struct || 'KeepAlive'}`)),
    list(MESSAGES.map(({ direction, type, name }) => `${direction} ${type} ${name}`)));
});

test('what C++ writes is read here, and written back to the same bytes', () => {
  for (const { direction, type, hex, fields, struct } of vectors) {
    if (type === FORBIDDEN) continue;
    const message = decode(Buffer.from(hex, 'hex'), direction);
    assert.deepEqual(comparable(message.fields), comparable(fields ?? {}), struct);
    assert.equal(hexOf(encode(type, message.fields, direction)), hex, struct);
  }
});

// Lowest and highest values in turn, texts of wide characters that fill their fields.
const extremes = (field, turn) => {
  switch (field.kind) {
    case 'text': return '界'.repeat(Math.floor(field.room / 3));
    case 'bool': return true;
    case 'u8': return 0xff;
    case 'u16': return 0xffff;
    case 'u32': return 0xffffffff;
    case 'i32': return turn % 2 ? -0x80000000 : 0x7fffffff;
    case 'i64': return turn % 2 ? -(2n ** 63n) : 2n ** 63n - 1n;
    case 'array': return Array.from({ length: field.length }, (_, i) => extremes(field.item, i));
    case 'list': return Array.from({ length: field.max }, () => valuesOf(field.item.fields));
    case 'tail': return '{"wsGainList":[]}';
    default: throw new Error(`no value for ${field.kind}`);
  }
};
const valuesOf = (fields) => {
  const values = Object.fromEntries(fields.map((field, i) => [field.name, extremes(field, i)]));
  for (const { kind, count, name } of fields) {
    if (kind === 'list' || kind === 'tail') values[count] = values[name].length;
  }
  return values;
};

test('what is written here is read by C++', () => {
  const written = MESSAGES.map((layout) => ({ layout, values: valuesOf(layout.fields) }));
  const input = written.map(({ layout: { direction, type }, values }) =>
    `${SHORT[direction]} ${hexOf(encode(type, values, direction))}\n`).join('');
  const read = execFileSync(PROGRAM, ['read'], { input }).toString().trim().split('\n').map(parse);
  assert.equal(read.length, written.length);
  written.forEach(({ layout, values }, i) => {
    assert.deepEqual(comparable(read[i].fields ?? {}), comparable(values), layout.name);
  });
});

// Messages as bytes and back: encode, decode, and the stream that cuts received bytes into
// messages. No sockets and no clocks here.
//
// Values: integers up to 32 bits are Numbers; 64-bit integers are BigInt when decoded and may be
// given as BigInt or as a safe Number; any integer may be given as a decimal text; texts are strings
// (UTF-8 on the wire); `bool` is a boolean; lists are arrays of records.

import { FROM_LOBBY, HEADER_SIZE, layoutByName, layoutOf, TO_LOBBY } from './lobby-layouts.js';

export const BUFFER_SIZE = 4096;  // longest legal message
// A WebSocket frame of more than this closes the connection, so a message sent stays below it.
const FRAME_LIMIT = 4095;
const IDENTITY = 5;
const VERSION = 3;

// The stream from the lobby is not what it must be; nothing after this point can be read.
export class ProtocolError extends Error {
  constructor(message) {
    super(message);
    this.name = 'ProtocolError';
  }
}

const utf8 = new TextEncoder();
const fromUtf8 = new TextDecoder('utf-8', { ignoreBOM: true });
const isContinuation = (byte) => (byte & 0xc0) === 0x80;

// The text's UTF-8 bytes, cut to `room` without splitting a character.
export function cutText(text, room) {
  const bytes = utf8.encode(text);
  if (bytes.length <= room) return bytes;
  let end = room;
  while (end > 0 && isContinuation(bytes[end])) end -= 1;
  return bytes.subarray(0, end);
}

// Reads a field up to its terminator. A sender may have cut the last character in two: what is
// left of it is dropped instead of being shown as a replacement mark.
function readText(bytes) {
  const terminator = bytes.indexOf(0);
  let end = terminator < 0 ? bytes.length : terminator;
  let lead = end - 1;
  while (lead >= 0 && lead > end - 4 && isContinuation(bytes[lead])) lead -= 1;
  if (lead >= 0) {
    const wants = bytes[lead] >= 0xf0 ? 4 : bytes[lead] >= 0xe0 ? 3 : bytes[lead] >= 0xc0 ? 2 : 1;
    if (lead + wants > end) end = lead;
  }
  return fromUtf8.decode(bytes.subarray(0, end));
}

const SCALARS = {
  u8: { min: 0, max: 0xff, get: 'getUint8', set: 'setUint8' },
  bool: { min: 0, max: 1, get: 'getUint8', set: 'setUint8' },
  u16: { min: 0, max: 0xffff, get: 'getUint16', set: 'setUint16' },
  i32: { min: -0x80000000, max: 0x7fffffff, get: 'getInt32', set: 'setInt32' },
  u32: { min: 0, max: 0xffffffff, get: 'getUint32', set: 'setUint32' },
  i64: { min: -(2n ** 63n), max: 2n ** 63n - 1n, get: 'getBigInt64', set: 'setBigInt64' },
};

function checked(field, scalar, value) {
  const isWide = typeof scalar.min === 'bigint';
  if (typeof value === 'string' && /^-?\d{1,20}$/.test(value)) {
    return checked(field, scalar, isWide ? BigInt(value) : Number(value));
  }
  if (isWide && Number.isSafeInteger(value)) return checked(field, scalar, BigInt(value));
  const isInteger = isWide ? typeof value === 'bigint' : Number.isInteger(value);
  if (!isInteger || value < scalar.min || value > scalar.max) {
    throw new RangeError(`${field.name}: ${String(value)} is not a ${field.kind}`);
  }
  return value;
}

function writeField(view, at, field, value) {
  const bytes = new Uint8Array(view.buffer, view.byteOffset, view.byteLength);
  switch (field.kind) {
    case 'text':
      bytes.set(cutText(String(value ?? ''), field.room), at);
      break;
    case 'tail':
      bytes.set(utf8.encode(value ?? ''), at);
      break;
    case 'array':
    case 'list':
      (value ?? []).forEach((item, i) =>
        writeField(view, at + i * field.item.size, { name: field.name, ...field.item }, item));
      break;
    case 'record':
      writeFields(view, at, field.fields, value);
      break;
    default: {
      const scalar = SCALARS[field.kind];
      view[scalar.set](at, checked(field, scalar, field.kind === 'bool' ? Number(value ?? 0)
        : value ?? 0), true);
    }
  }
}

function writeFields(view, start, fields, values) {
  for (const name of Object.keys(values)) {
    if (!fields.some((field) => field.name === name)) throw new TypeError(`no field '${name}'`);
  }
  for (const field of fields) writeField(view, start + field.offset, field, values[field.name]);
}

// How long a message of these values is, after checking what its last field may hold.
function encodedSize(layout, values) {
  const last = layout.fields.at(-1);
  const value = last && values[last.name];
  if (last?.kind === 'tail') return last.offset + utf8.encode(value ?? '').length;
  if (last?.kind !== 'list') return layout.size;
  const length = value?.length ?? 0;
  if (length > last.max) throw new RangeError(`${last.name}: at most ${last.max} records`);
  return last.offset + length * last.item.size;
}

// Encodes a message given by number or name, to the lobby unless told otherwise. Fields left out
// are zero; a text too long for its field is cut at a character. Throws TypeError for an unknown
// message or field and RangeError for a number that does not fit: nothing is wrapped silently.
export function encode(message, values = {}, direction = TO_LOBBY) {
  const layout = typeof message === 'string' ? layoutByName(direction, message)
    : layoutOf(direction, message);
  if (!layout) throw new TypeError(`no message ${String(message)} ${direction}`);
  const size = encodedSize(layout, values);
  if (size > FRAME_LIMIT) throw new RangeError(`${layout.name}: ${size} bytes are too many`);
  const bytes = new Uint8Array(size);
  const view = new DataView(bytes.buffer);
  view.setUint8(0, IDENTITY);
  view.setUint16(2, size);
  view.setUint8(4, VERSION);
  view.setUint16(6, layout.type);
  writeFields(view, 0, layout.fields, values);
  return bytes;
}

const zeroOf = (kind) => (kind === 'i64' ? 0n : kind === 'bool' ? false : 0);

function readField(view, at, field, values) {
  const left = view.byteLength - at;
  const bytes = (length) =>
    new Uint8Array(view.buffer, view.byteOffset + at, Math.max(0, Math.min(length, left)));
  const items = (count, item) => Array.from({ length: count }, (_, i) =>
    readField(view, at + i * item.size, item, values));
  switch (field.kind) {
    case 'text': return left > 0 ? readText(bytes(field.size)) : '';
    case 'tail': return left > 0 ? readText(bytes(values[field.count])) : '';
    case 'array': return items(field.length, field.item);
    case 'record': return readFields(view, at, field.fields);
    case 'list': {
      const whole = Math.max(0, Math.floor(left / field.item.size));
      return items(Math.min(values[field.count], field.max, whole), field.item);
    }
    default: {
      if (left < field.size) return zeroOf(field.kind);
      const value = view[SCALARS[field.kind].get](at, true);
      return field.kind === 'bool' ? value !== 0 : value;
    }
  }
}

function readFields(view, start, fields) {
  const values = {};
  for (const field of fields) {
    values[field.name] = readField(view, start + field.offset, field, values);
  }
  return values;
}

// Decodes one whole message. The result's `fields` hold its values by name; a number without a
// layout gives `known: false`, the name 'unknown' and no fields. Counts inside a message are never
// trusted past its end; fields past the end of a short message read as zero.
export function decode(bytes, direction = FROM_LOBBY) {
  if (bytes.length < HEADER_SIZE) throw new ProtocolError(`a message of ${bytes.length} bytes`);
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
  const type = view.getUint16(6);
  const layout = layoutOf(direction, type);
  return {
    direction, type, known: Boolean(layout), name: layout?.name ?? 'unknown',
    length: bytes.length, fields: layout ? readFields(view, 0, layout.fields) : {},
    ...(layout ? {} : { bytes }),
  };
}

// Cuts a stream of bytes into messages. Frames and messages need not end together: a message may
// come in pieces, and one piece may hold several.
export class MessageStream {
  #bytes = new Uint8Array(0);

  // Takes received bytes and yields each message they complete, a Uint8Array of its own. Throws
  // ProtocolError where the stream is broken: close the connection then.
  *push(chunk) {
    const joined = new Uint8Array(this.#bytes.length + chunk.length);
    joined.set(this.#bytes);
    joined.set(chunk, this.#bytes.length);
    this.#bytes = joined;
    for (let size; (size = messageSize(this.#bytes)) <= this.#bytes.length;) {
      const message = this.#bytes.slice(0, size);
      this.#bytes = this.#bytes.subarray(size);
      yield message;
    }
  }
}

// The length of the message that `bytes` begin with, Infinity while its header is incomplete.
function messageSize(bytes) {
  if (bytes.length > 0 && bytes[0] !== IDENTITY) {
    throw new ProtocolError(`identity ${bytes[0]} instead of ${IDENTITY}`);
  }
  if (bytes.length < HEADER_SIZE) return Infinity;
  const size = bytes[2] * 256 + bytes[3];
  if (size < HEADER_SIZE || size > BUFFER_SIZE) throw new ProtocolError(`message of ${size} bytes`);
  // An empty body needs no codec; the lobby enciphers nothing for clients.
  if (bytes[1] !== 0 && size > HEADER_SIZE) {
    throw new ProtocolError(`codec ${bytes[1]} is not known here`);
  }
  return size;
}

// The layout of every message between a game client and the lobby, as lobby-messages.js holds it.
//
// Layouts are frozen: clients and lobbies of other versions are in the field. Each row names the
// message, its number, its size in bytes with the 8-byte header, its fields in wire order with what
// they mean, and the number of its answer. The same number may mean another message in the other
// direction, so rows are looked up by both.

import { CODES, FROM_LOBBY, MESSAGES, TO_LOBBY } from './lobby-messages.js';

export { CODES, FROM_LOBBY, MESSAGES, TO_LOBBY };
export const HEADER_SIZE = 8;
export const KEEP_ALIVE = 0xf0f1;

const key = (direction, message) => `${direction} ${message}`;
const rows = new Map(MESSAGES.flatMap((message) =>
  [message.type, message.name].map((id) => [key(message.direction, id), message])));

// The layout of a message number in one direction, or undefined.
export function layoutOf(direction, type) {
  return rows.get(key(direction, type));
}

export function layoutByName(direction, name) {
  return rows.get(key(direction, name));
}

// The result code in an answer's fields; undefined in messages without one.
export function codeOf(type, fields) {
  return fields[layoutOf(FROM_LOBBY, type)?.code];
}

// The sentence for a result code that is not 0, in the player's words.
export function codeText(type, code) {
  return CODES.find((one) => one.type === type && one.code === code)?.sentence
    ?? `This was refused (code ${code}).`;
}

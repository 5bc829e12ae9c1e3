// The log of every message, decoded by field name, newest first.
import { element, prepend } from './dom.js';
import { KEEP_ALIVE, layoutOf, TO_LOBBY } from './lobby-protocol.js';
import { clock } from './texts.js';

const MOST = 200;
const hex = (type) => `0x${type.toString(16).toUpperCase().padStart(4, '0')}`;

// The message's fields as [name, text], with passwords, tokens and identities left out.
export function readableFields(message) {
  const layout = layoutOf(message.direction, message.type);
  const secrets = new Set(layout?.fields.filter((field) => field.secret).map(({ name }) => name));
  return Object.entries(message.fields).map(([name, value]) =>
    [name, secrets.has(name) ? '••••••' : readable(value)]);
}

function readable(value) {
  if (Array.isArray(value)) return value.map(readable).join('\n');
  if (typeof value === 'object') {
    return Object.entries(value).map(([name, item]) => `${name}: ${readable(item)}`).join(', ');
  }
  return String(value);
}

function fieldList(fields) {
  const list = element('dl', 'fields');
  for (const [name, text] of fields) list.append(element('dt', '', name), element('dd', '', text));
  return list;
}

export class MessageLog {
  #list;

  constructor(list) {
    this.#list = list;
  }

  add(message) {
    const isSent = message.direction === TO_LOBBY;
    const fields = readableFields(message);
    const arrow = element('span', 'arrow', isSent ? '↑' : '↓');
    arrow.ariaHidden = 'true';
    const summary = element('summary', '', element('time', '', clock(message.at)), arrow,
      element('span', 'direction', isSent ? 'sent' : 'received'),
      element('span', 'name', message.name), element('span', 'type', hex(message.type)),
      element('span', 'preview', fields.map(([name, text]) => `${name} ${text}`).join(' · ')));
    const entry = element('details', isSent ? 'sent' : 'received', summary,
      fields.length ? fieldList(fields) : element('p', 'empty', 'This message has no fields.'));
    const item = element('li', message.type === KEEP_ALIVE ? 'keep-alive' : '', entry);
    item.dataset.name = message.name;
    prepend(this.#list, item, MOST);
  }

  clear() {
    this.#list.replaceChildren();
  }
}

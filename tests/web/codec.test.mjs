import assert from 'node:assert/strict';
import test from 'node:test';
import {
  cutText, decode, encode, FROM_LOBBY, MessageStream, ProtocolError, TO_LOBBY,
} from '../../web/lobby-protocol.js';

const coins = (amount) => encode('GetCoinResult', { llGetCoinNum: amount }, FROM_LOBBY);
const join = (...parts) => Uint8Array.from(parts.flatMap((part) => [...part]));

test('wide numbers keep every digit; numbers that do not fit and unknown names are refused', () => {
  for (const amount of [0n, 1n, -1n, 2n ** 53n + 1n, 2n ** 63n - 1n, -(2n ** 63n)]) {
    assert.equal(decode(coins(amount)).fields.llGetCoinNum, amount);
  }
  assert.equal(decode(coins(12)).fields.llGetCoinNum, 12n);
  assert.equal(decode(coins('9007199254740993')).fields.llGetCoinNum, 2n ** 53n + 1n);
  for (const bad of [2n ** 63n, -(2n ** 63n) - 1n, 2 ** 53, 0.5, '7x', '', NaN]) {
    assert.throws(() => coins(bad), RangeError, String(bad));
  }
  const gender = (iGender) => encode('ModifyGenderReq', { iGender });
  assert.equal(decode(gender('-2'), TO_LOBBY).fields.iGender, -2);
  for (const bad of [2 ** 31, -(2 ** 31) - 1, 1.5, 1n, '2147483648', '1e3']) {
    assert.throws(() => gender(bad), RangeError, String(bad));
  }
  assert.throws(() => encode('NoSuchMessage'), TypeError);
  assert.throws(() => encode(0x00a6), TypeError, 'a number of the other direction');
  assert.throws(() => encode('ModifyGenderReq', { igender: 1 }), TypeError);
  assert.throws(() => encode('WinBulletinNotice', { bulletinItem: Array(6).fill({}) }, FROM_LOBBY),
    RangeError);
});

test('texts are cut between characters and keep their terminator', () => {
  const nick = (text) =>
    decode(encode('ModifyNickNameRes', { szNickName: text }, FROM_LOBBY)).fields.szNickName;
  const cases = [
    ['', ''], ['a'.repeat(31), 'a'.repeat(31)], ['a'.repeat(40), 'a'.repeat(31)],
    ['é'.repeat(16), 'é'.repeat(15)], ['界'.repeat(11), '界'.repeat(10)],
    ['😀'.repeat(8), '😀'.repeat(7)], [`abc${'😀'.repeat(7)}x`, `abc${'😀'.repeat(7)}`],
  ];
  for (const [given, kept] of cases) assert.equal(nick(given), kept);
  assert.equal(cutText('é', 1).length, 0);
  // A character that its sender cut in two is dropped.
  for (const [bytes, text] of [[[0x61, 0xe7, 0x95], 'a'], [[0xf0, 0x9f, 0x98], ''],
    [[0xe7, 0x95, 0x8c], '界'], [[0x61, 0xc3], 'a']]) {
    const message = encode('ModifyNickNameRes', {}, FROM_LOBBY);
    message.set(bytes, 12);
    assert.equal(decode(message).fields.szNickName, text);
  }
});

test('counts in a message are not trusted past its end', () => {
  const bulletins = encode('WinBulletinNotice',
    { usBulletNum: 65535, bulletinItem: [{ szContent: 'one' }, { szContent: 'two' }] }, FROM_LOBBY);
  assert.deepEqual(decode(bulletins).fields.bulletinItem.map(({ szContent }) => szContent),
    ['one', 'two']);
  assert.deepEqual(decode(bulletins.slice(0, -1)).fields.bulletinItem.length, 1);
  for (const iSize of [-1, 2 ** 31 - 1]) {
    const consume = encode('ConsumeSucessNotice', { iSize, szConsumeNotice: '{}' }, FROM_LOBBY);
    assert.equal(decode(consume).fields.szConsumeNotice, iSize < 0 ? '' : '{}');
  }
  for (let length = 8; length < 40; length += 1) {
    const cut = encode('RechargeReFreshCoinRes', { iUserId: 5 }, FROM_LOBBY).slice(0, length);
    assert.equal(decode(cut).fields.iUserId, length < 12 ? 0 : 5);
  }
  assert.throws(() => decode(new Uint8Array(7)), ProtocolError);
  assert.deepEqual(decode(Uint8Array.of(5, 0, 0, 8, 3, 0, 0x77, 0x77)).known, false);
});

test('messages come out whole wherever the stream is cut', () => {
  const messages = [coins(1n), encode(0xf0f1, {}, FROM_LOBBY), coins(-2n)];
  const bytes = join(...messages);
  for (let a = 0; a <= bytes.length; a += 1) {
    for (let b = a; b <= bytes.length; b += 1) {
      const stream = new MessageStream();
      const pieces = [bytes.slice(0, a), bytes.slice(a, b), bytes.slice(b)];
      assert.deepEqual(pieces.flatMap((piece) => [...stream.push(piece)]), messages, `cut at ${a} and ${b}`);
    }
  }
});

test('a message of 4096 bytes passes; a broken stream ends after its last good message', () => {
  const header = (length, { identity = 5, codec = 0 } = {}) =>
    Uint8Array.of(identity, codec, length >> 8, length & 0xff, 3, 0, 0, 1);
  const longest = join(header(4096), new Uint8Array(4088));
  assert.equal([...new MessageStream().push(longest)][0].length, 4096);
  assert.equal([...new MessageStream().push(header(8, { codec: 1 }))].length, 1);
  const broken = [header(7), header(4097), header(0), header(8, { identity: 6 }),
    header(9, { codec: 1 }), Uint8Array.of(4)];
  for (const tail of broken) {
    const got = [];
    assert.throws(() => {
      for (const message of new MessageStream().push(join(coins(3n), tail))) got.push(message);
    }, ProtocolError);
    assert.equal(got.length, 1);
  }
});

// What codes and reasons mean, in the player's words.

const COMMON = new Map([
  [150, 'This request named another player.'],
  [156, 'Too soon after the last one. Wait two seconds and try again.'],
  [157, 'The amount must be at least 1.'],
]);

// By operation. Codes that are not the lobby's own come from the account server, here as
// platform_sim gives them.
const BANK = new Map([
  [151, 'The bank password is wrong.'],
  [152, 'There are not enough coins for this.'],
]);
const BY_OPERATION = {
  login: new Map([
    [1, 'There is no such player.'],
    [2, 'The token is wrong. Get a new one from the platform.'],
  ]),
  bankLogin: BANK,
  bank: BANK,
  bankPassword: BANK,
  loginPassword: new Map([
    [1, 'This is not your account.'],
    [3, 'The old password is wrong.'],
    [4, 'Too soon after the last change. Wait six seconds and try again.'],
  ]),
  nickname: new Map([
    [1, 'This nickname is not allowed.'],
    [5, 'This nickname is taken.'],
    [6, 'This nickname is not allowed.'],
  ]),
  signature: new Map([[1, 'This text is not allowed.']]),
  mobile: new Map([[6, 'This is not a mobile number.']]),
  realName: new Map([[6, 'The name is missing, or the identity number has not 18 characters.']]),
  exchange: new Map([
    [3, 'The amount must be at least 1 and no more than your coins in hand.'],
    [4, 'You cannot send coins to yourself.'],
    [12, 'Too soon after the last transfer. Wait five seconds and try again.'],
    [20, 'There are not enough coins for this.'],
    [21, 'There is no such player.'],
  ]),
};

// The sentence for a result code that is not 0.
export function resultText(operation, code) {
  return BY_OPERATION[operation]?.get(code) ?? COMMON.get(code)
    ?? `This was refused (code ${code}).`;
}

const CLOSE_REASONS = {
  asked: 'You are logged out.',
  kicked: 'You were logged out because this account logged in somewhere else.',
  maintenance: 'The lobby is closed for maintenance. Please come back later.',
  silent: 'The lobby stopped answering. Log in again to go on.',
  protocol: 'The lobby sent something unreadable, so the connection was closed.',
  lost: 'The connection to the lobby was lost.',
};

export function closeText(reason) {
  return CLOSE_REASONS[reason] ?? CLOSE_REASONS.lost;
}

const TIMEOUTS = {
  bankLogin: 'No answer. The bank takes one attempt every two seconds; try again in a moment.',
  serverList: 'No answer. There may be no rooms for your site, or you asked twice within three '
    + 'seconds.',
  login: 'No answer from the account server. Please try again later.',
};

// The sentence for a request that failed without an answer.
export function failureText(operation, error) {
  if (error.code === 'timeout') {
    return TIMEOUTS[operation] ?? 'The lobby did not answer. Please try again in a moment.';
  }
  if (error.code === 'closed') return closeText(error.reason);
  if (error.code === 'not-connected') return 'You are not connected.';
  if (error instanceof RangeError) return 'This number is too large.';
  return error.message;
}

export const formatCoins = (amount) => amount.toLocaleString('en-US');

const two = (number) => String(number).padStart(2, '0');

export function clock(date) {
  return `${two(date.getHours())}:${two(date.getMinutes())}:${two(date.getSeconds())}`;
}

export const openTime = (hour, minute) => `${two(hour)}:${two(minute)}`;

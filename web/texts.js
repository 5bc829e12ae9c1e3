// What codes and reasons mean, in the player's words.

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

const NOT_ADMITTED = 'The lobby does not admit you now: it is closed for maintenance, or this account '
  + 'is disabled. Please try again later.';
const UNREACHABLE = 'The lobby cannot be reached. Is the address right and the lobby running?';

const TIMEOUTS = {
  bankLogin: 'No answer. The bank takes one attempt every two seconds; try again in a moment.',
  serverList: 'No answer. There may be no rooms for your site, or you asked twice within three '
    + 'seconds.',
  login: 'No answer from the account server. Please try again later.',
};

// The sentence for a request that failed; a refusal brings its own.
export function failureText(operation, error) {
  if (error.code === 'timeout') {
    return TIMEOUTS[operation] ?? 'The lobby did not answer. Please try again in a moment.';
  }
  // The lobby closes without a word whom it does not admit.
  if (operation === 'login' && error.reason === 'lost') return NOT_ADMITTED;
  if (error.code === 'closed') return closeText(error.reason);
  if (error.code === 'unreachable') return UNREACHABLE;
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

// What the lobby tells, as parts of the page: rooms, the tournament and notices.
import { element } from './dom.js';
import { clock, formatCoins, openTime } from './texts.js';

const cell = (text, label, className) => {
  const node = element('td', className, text);
  node.dataset.label = label;
  return node;
};

// A row of the room table. Server id 0 stands for all servers of a game and level in one.
export function serverRow(server) {
  const isOpen = server.ucOpenFlag !== 0;
  const state = element('span', `badge ${isOpen ? 'good' : 'muted'}`, isOpen ? 'open' : 'closed');
  return element('tr', '',
    cell(server.szServerName || `Game ${server.usGameID}`, 'Room', 'title'),
    cell(server.usGameID, 'Game'),
    cell(server.usServerID === 0 ? 'any' : server.usServerID, 'Server'),
    cell(server.usLevel, 'Level'),
    cell(`${server.usOnlineCount} / ${server.iMaxUserNum}`, 'Players'),
    cell(formatCoins(server.ulMinPoint), 'Least coins'),
    cell(`${server.szTelecomIP}:${server.usServerPort}`, 'Address'),
    cell(state, 'State'));
}

function facts(pairs) {
  return element('dl', 'facts', ...pairs.map(([name, value]) =>
    element('div', '', element('dt', '', name), element('dd', '', value))));
}

export function tournamentFacts(info) {
  const isMonthly = info.usCompeteType === 1;
  const opens = openTime(info.usOpenHour, info.usOpenMinute);
  const rounds = info.iTurnsUsers.slice(0, info.usTurnNum);
  const entry = isMonthly ? [['Your monthly tickets', info.iMonthTicketCount]]
    : [['Free entries left', `${info.iFreeCount} of ${info.usDayMaxFreeCount}`],
      ['Entry costs', `${formatCoins(info.iDayCompeteCostCoin)} coins`],
      ['Your daily tickets', info.iDayTicketCount]];
  const seat = info.ucIsDisconnect === 0 ? []
    : [['Your game goes on at', `${info.szServerIp}:${info.usServerPort}`]];
  return facts([
    ['Today', isMonthly ? 'Monthly tournament' : 'Daily tournament'],
    ['Opens at', isMonthly ? `day ${info.usOpenDay}, ${opens}` : opens],
    ['Award', `${formatCoins(info.iAwardCoin)} coins`],
    ['Rounds', info.usTurnNum === 0 ? 'not planned yet'
      : `${info.usTurnNum}, players kept: ${rounds.join(' → ')}`],
    ...entry,
    ['Score this month', info.iCompeteMonthScore],
    ['Rank this month', info.iCompeteMonthRank || 'none yet'],
    ...seat,
  ]);
}

export function notice(kind, title, text) {
  const item = element('li', 'notice', element('div', 'notice-head',
    element('span', 'badge', kind), element('strong', '', title),
    element('time', '', clock(new Date()))));
  if (text) item.append(element('p', '', text));
  item.dataset.kind = kind;
  return item;
}

// "type 4 × 3" of each thing named in a consume notice; the raw text when it is not understood.
function gains(json) {
  try {
    return JSON.parse(json).wsGainList.map(({ type, number }) => `type ${type} × ${number}`)
      .join(', ');
  } catch {
    return json;
  }
}

// The notices a push makes, by the event's name.
export const NOTICES = {
  bulletins: ({ bulletinItem }) => bulletinItem.map((item) => notice('bulletin',
    item.iUserId === 0 ? 'News'
      : `${item.szNickName} won ${formatCoins(item.iAwardNum)} in ${item.szServerName}`,
    item.szContent)),
  farm: ({ szMsgContent }) => [notice('farm', 'Farm message', szMsgContent)],
  publish: ({ szKey, szMsgContent }) => [notice('subscribed', szKey, szMsgContent)],
  consume: ({ szConsumeNotice }) => [notice('items', 'You received', gains(szConsumeNotice))],
  sync: ({ dataType, dataValue }) =>
    [notice('account', 'Your account changed', `kind ${dataType}, value ${dataValue}`)],
  coins: ({ llCurGameCoin }) =>
    [notice('coins', `You now have ${formatCoins(llCurGameCoin)} coins in hand`)],
  exchangeNotify: ({ iFromUserID, llExhangeCoin }) =>
    [notice('coins', `Player ${iFromUserID} sent you ${formatCoins(llExhangeCoin)} coins`)],
  faceFrame: ({ iError, iFrameId }) => [notice('account', iError === 0
    ? `Your picture frame is now ${iFrameId}` : `Your picture frame was not changed (${iError})`)],
  activity: ({ iActivityId, iLevel, iProgress }) => [notice('activity',
    `Activity ${iActivityId}: level ${iLevel}, progress ${iProgress}`)],
  activityClose: ({ iActivity }) => [notice('activity', `Activity ${iActivity} has ended`)],
};

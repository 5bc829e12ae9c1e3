// Compiled, never run: what the types must allow and what they must refuse.
import {
  codeText, encode, LobbyClient, LobbyError, MESSAGES, type tagServerInfo,
} from 'lobby-protocol';

async function play(): Promise<bigint> {
  const lobby = new LobbyClient({ reconnect: { minMs: 5 } });
  const end: () => void = lobby.on('bulletins', ({ bulletinItem }) => bulletinItem[0].szContent.trim());
  lobby.on('unknown', ({ bytes }) => bytes.length);
  lobby.on('close', ({ reason }) => reason === 'kicked');
  await lobby.connect('ws://127.0.0.1:9100');
  await lobby.login('10001', 'token', 1);
  const servers: tagServerInfo[] = await lobby.serverList();
  const answer = await lobby.request(0x00d5, { llGetNum: '5', szBankerPwd: servers[0].szServerName });
  lobby.send('UserProgressReq', { iActivityId: 1 });
  end();
  encode('KeepAlive');
  codeText(0xd6, MESSAGES[0].type);
  return answer.llGetCoinNum + (await lobby.take(500n, 'pw')).llGetCoinNum;
}

play().catch((error: unknown) => error instanceof LobbyError && error.code === 'refused' && error.result);

const wrong = new LobbyClient();
// @ts-expect-error no such event
wrong.on('bulletin', () => {});
// @ts-expect-error no such field
wrong.send('UserProgressReq', { iActivity: 1 });
// @ts-expect-error nothing answers it
wrong.request(0xe012);
// @ts-expect-error a 64-bit field is no number
wrong.take(1, 'pw').then(({ llGetCoinNum }) => Math.abs(llGetCoinNum));
// @ts-expect-error the password is missing
wrong.take(1);

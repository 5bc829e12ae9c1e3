// What no header tells of the protocol: how messages travel, and what answers what.
#include "Catalog.h"

namespace catalog {

const char* Rules() {
    return R"(## On the wire

**TCP.** Messages follow each other without anything between them. Bytes that are no message (another
identity, a length out of range, a body that does not decipher) close the connection; nothing is
ever answered to a fault. `version` and `reserve` are not looked at. When the lobby closes a
connection on purpose, what its peer sent before and is not handled yet is dropped; when the peer
hangs up, or can be sent nothing more, what it sent before is handled still.

**WebSocket**, on the same port. A client whose first bytes contain "Connection" is upgraded by the
standard handshake; its request must come in one read, and its path and origin do not matter. From
then on binary frames carry the same stream: a frame may hold several messages or part of one. A
client's frame holds at most 4095 bytes, as may what is carried over of an incomplete frame together
with what comes next. A close frame closes the connection without an answer; every other opcode is
taken for a binary frame, pings too. The lobby sends one frame per message, final and unmasked.

Where the operator has set `websocket=1`, as the shipped sample does, the same port serves WebSocket
clients as their libraries expect it: a request may come in several reads (of 4096 bytes at most) and
is answered with 400 in words when it has no `Sec-WebSocket-Key`; a ping is answered by a pong with
its bytes, a pong is dropped, a close is answered by a close with its status. Data frames may have
any size and may be fragmented. A text frame closes with status 1003, anything a frame may not be
with 1002. A client that begins with a capital letter speaks HTTP, every other one plain TCP.

**Encryption** (`encode` 1) is open to every sender, message by message; the lobby sends none. A body
of n bytes becomes n + 16. The key is 16 bytes: the 12 characters of `LOBBY_AES_KEY` and four times
0x12. E is AES-128 of one block, V 16 random bytes, + joins, ^ is exclusive or with as many bytes:

- n up to 15: W = E(V) + (body ^ V), then the last 16 bytes of W are replaced by E of them.
- n of 16 and more: E(V), then the full blocks of the body chained from V (each block is E of itself ^
  the one before it in the chain). Let C be the last of them and R the n mod 16 bytes that are left:
  in place of C stands C + (R ^ C), of which the last 16 bytes are replaced by E of them. When
  nothing is left, C is enciphered twice.

## Clients

The first message is the connect notice; its answer says whether the player is logged in (code 0) and
leaves the connection open in any case. Send something at least once in `timeout` seconds (120 unless
configured); the keep-alive is echoed. What the lobby refuses itself, and how often it takes what:

| Request | Answer | Not sooner than | The lobby's own codes |
|---|---|---|---|
| 0x00A1 connect notice | 0x00A6 | once; further ones are ignored | closes: another size, a disabled account, maintenance |
| 0x00D3 bank login | 0x00D4 | 2 s, else no answer; at once after a code 151 | 150 not the session's user |
| 0x00D5 take coin | 0x00D6 | 2 s, else 156 | 157 less than 1 coin, 150 not the session's user |
| 0x00D7 save coin | 0x00D8 | 2 s, else 156 | 157 less than 1 coin, 150 not the session's user |
| 0x00D9 bank password | 0x00DA | 2 s, else 156 | 150 not the session's user |
| 0x00E1 login password | 0x00E2 | 6 s, else 4 | 1 not the session's user |
| 0x00E3 nickname, 0x00E5 signature | the same number | | 1 forbidden text; closes: another size or user |
| 0x00E4 gender, 0x00E6 face, 0x00E7 mobile, 0x00E8 real name | the same number | | closes: another size or user |
| 0x00EA coin refresh | 0x00EA | the next second, else no answer | closes: another size or user |
| 0x0050 coin exchange | 0x0051 | 5 s, else 12 | 4 to oneself, 3 not positive or more than in hand |
| 0x9002 server list | 0x9003, until `usIsFinish` is 1 | 3 s, else no answer | no answer: another user, a site without games |
| 0x00F0 tournament | 0x00F1 | | |
| 0x00F2 subscribe, 0x00F3 unsubscribe | none | | |
| 0xE012 activity request | the activity's | | |
| 0xF0F1 keep-alive | 0xF0F1 | | |
| 0x9000 | | | closes |

0 is success, every other code the queue server's; all with their sentences under
[codes](#codes). Times are differences of clock seconds. Requests of another size than their
structure's are not answered (that of 0x0050, 0x9002 and 0x00F0 is not looked at), those that need a
link that is down neither.

An answer bears no number of its request: it is known by its type alone, so a client keeps one
request of a kind under way. What comes without having been asked for, at any time after the login:

| Push | Comes when |
|---|---|
| 0x00A8 kick-out | the account logs in elsewhere (`bStopSwitch` 0) or maintenance begins (1); the connection closes behind it |
| 0x0052 coins received | another player of this lobby gave coins |
| 0x00A7 consume notice | an item was used or bought elsewhere on the platform |
| 0x00B3 user data sync | account data changed elsewhere on the platform |
| 0x00B4 bulletins | bulletins wait, every `sendbulletintime` seconds (30 unless configured), at most five at a time |
| 0x00BB farm message | the farm has one for the player, or for everybody |
| 0x00E9 face frame | the queue server changed the frame; a client cannot ask for it |
| 0x00EA coin refresh | a recharge arrived; the same as the answer to one's own request |
| 0x00F4 published farm message | the farm has one under a key one is subscribed to |
| 0xE012 activity state | an activity has something to say, mostly the answer to one's own 0xE012 |
| 0xE014 activity closed | the platform ended an activity |

**To connect again** after a loss, wait a random time: all players of a lobby lose it at once, and
should not all come back in the same second. From 0.5 to 1 s at first, twice as long after each
failure, up to 30 s; after maintenance begin with the longest. Not after a kick-out for another
login: the two would put each other out for ever. Then log in anew and subscribe anew: the lobby keeps
nothing of a closed session. `web/lobby-protocol.js` does all of this by itself (`reconnect: true`) and speaks the whole of this
document, for browsers and node: [how to use it](../web/README.md).

## Back-ends

The lobby connects to each, sends 0xF0F1 every 25 seconds and echoes those it gets. A back-end must
not answer 0xF0F1 with 0xF0F1: each would be echoed, and the two would never stop. What the lobby
asks by itself:

| Server | When the link is up | Then |
|---|---|---|
| center | 0x00A0, answered by 0x9001 and 0x9005 | pushed as things change |
| web | 0x00A1 | pushed |
| queue | nothing | a request per player's request; answers carry its handle and node id back |
| data | 0x00A1, 0xD010, 0xD008 | 0xD010 and 0xD008 every 30 minutes; 0xD012 per login, 0xD014 when a player with changed progress leaves |
| config | 0xAD14; 0xAD11 and 0xAD13 are pushed | 0xAD26 every 10 seconds, 0xAD28 every 180 seconds |
| log | nothing | records; never answered |

)";
}

}  // namespace catalog

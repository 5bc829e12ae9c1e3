// Types of the client library. The messages' own types are in lobby-messages.d.ts.
import type {
  BindingMobileRes, ConsumeSucessNotice, ExchangeGameCoinNotify, ExchangeGameCoinRes,
  ActivityCloseNotice, ClientPublishMsg, GetCoinResult, Integer, KeepAlive, LobbyAuthenRes,
  LobbyClientCompeteRes, LobbyKickOutNotice, LobbyTransferFarmNotice, LoginBankResult,
  ModifyBankPasswdRes, ModifyFaceFrameRes, ModifyFaceIdRes, ModifyGenderRes, ModifyNickNameRes,
  ModifyPersonalSignatureRes, RealNameAuthenRes, RechargeReFreshCoinRes, Replies, Requests,
  SaveCoinRes, SychUserLobbyData, tagModifyPassWordRes, tagServerInfo, UserProgressReq,
  WinBulletinNotice,
} from './lobby-messages.js';

export * from './lobby-messages.js';

export const TO_LOBBY: 'to-lobby';
export const FROM_LOBBY: 'from-lobby';
export const HEADER_SIZE: 8;
export const BUFFER_SIZE: 4096;
export const KEEP_ALIVE: 0xf0f1;
export type Direction = typeof TO_LOBBY | typeof FROM_LOBBY;

export interface FieldLayout {
  name: string;
  /** from the start of the message, or of the record */
  offset: number;
  kind: 'bool' | 'u8' | 'u16' | 'i32' | 'u32' | 'i64' | 'text' | 'tail' | 'array' | 'list' | 'record';
  size: number;
  /** most bytes of a text */
  room?: number;
  /** belongs into no log */
  secret?: boolean;
  meaning: string;
}

export interface MessageLayout {
  direction: Direction;
  type: number;
  name: string;
  meaning: string;
  size: number;
  fields: FieldLayout[];
  /** number of the answer to a request */
  reply?: number;
  /** field of an answer that says how it went */
  code?: string;
}

export const MESSAGES: readonly MessageLayout[];
export const CODES: readonly { type: number; code: number; isOwn: boolean; sentence: string }[];
export function layoutOf(direction: Direction, type: number): MessageLayout | undefined;
export function layoutByName(direction: Direction, name: string): MessageLayout | undefined;
/** The result code in an answer's fields; undefined in messages without one. */
export function codeOf(type: number, fields: object): number | undefined;
/** The sentence for a result code that is not 0. */
export function codeText(type: number, code: number): string;

export interface DecodedMessage {
  direction: Direction;
  type: number;
  known: boolean;
  name: string;
  length: number;
  fields: Record<string, unknown>;
  /** the whole message, when it is not known */
  bytes?: Uint8Array;
}

/** The stream is not what it must be. */
export class ProtocolError extends Error {}
export function encode(message: number | string, values?: object, direction?: Direction): Uint8Array;
export function decode(bytes: Uint8Array, direction?: Direction): DecodedMessage;
/** The text's UTF-8 bytes, cut to `room` without splitting a character. */
export function cutText(text: string, room: number): Uint8Array;
export class MessageStream {
  push(chunk: Uint8Array): Generator<Uint8Array>;
}

export type CloseReason = 'asked' | 'kicked' | 'maintenance' | 'silent' | 'protocol' | 'lost';

/** Why a request or a connect failed. */
export class LobbyError extends Error {
  constructor(code: LobbyError['code'], message: string, more?: object);
  code: 'refused' | 'timeout' | 'closed' | 'unreachable' | 'not-connected';
  /** of 'refused': the answer's code; `message` is its sentence */
  result?: number;
  /** of 'refused': the whole answer */
  fields?: Record<string, unknown>;
  /** of 'closed' */
  reason?: CloseReason;
  /** the socket's own error, where the environment tells one */
  cause?: unknown;
}

export interface LobbyEvents {
  bulletins: WinBulletinNotice;
  kickOut: LobbyKickOutNotice;
  consume: ConsumeSucessNotice;
  sync: SychUserLobbyData;
  farm: LobbyTransferFarmNotice;
  publish: ClientPublishMsg;
  faceFrame: ModifyFaceFrameRes;
  coins: RechargeReFreshCoinRes;
  exchangeNotify: ExchangeGameCoinNotify;
  activity: UserProgressReq;
  activityClose: ActivityCloseNotice;
  unknown: { type: number; bytes: Uint8Array };
  message: DecodedMessage & { at: Date };
  close: { reason: CloseReason; willReconnect: boolean };
  reconnecting: { attempt: number; waitMs: number; reason: CloseReason };
  reconnected: LobbyAuthenRes;
  givenUp: { error: LobbyError };
}

export interface LobbyOptions {
  /** how long an answer may take; 8000 */
  timeoutMs?: number;
  /** between two keep-alives; 25000 */
  keepAliveMs?: number;
  /** open a lost connection again and log in anew; true: waits from 1000 up to 30000 ms */
  reconnect?: boolean | { minMs?: number; maxMs?: number };
  /** the class to connect with, where there is no global one */
  WebSocket?: new (url: string) => object;
}

export class LobbyClient {
  constructor(options?: LobbyOptions);
  userId: number;
  siteId: number;
  readonly connected: boolean;
  /** Returns a function that ends it. Throws TypeError for a name that is none. */
  on<Name extends keyof LobbyEvents>(name: Name, listener: (event: LobbyEvents[Name]) => void): () => void;
  connect(url: string): Promise<void>;
  close(): void;
  send<Message extends keyof Requests>(message: Message, fields?: Requests[Message]): void;
  request<Type extends keyof Replies>(type: Type, fields?: Requests[Type],
    options?: { timeoutMs?: number; isLast?: (fields: Replies[Type]) => boolean }): Promise<Replies[Type]>;

  login(userId: Integer, token: string, siteId: Integer, channelId?: string): Promise<LobbyAuthenRes>;
  bankLogin(password: string): Promise<LoginBankResult>;
  take(amount: Integer, bankPassword: string, at?: { gameId?: Integer; serverId?: Integer }): Promise<GetCoinResult>;
  save(amount: Integer, at?: { gameId?: Integer; serverId?: Integer; winAmount?: Integer }): Promise<SaveCoinRes>;
  bankPassword(oldPassword: string, newPassword: string, code?: string): Promise<ModifyBankPasswdRes>;
  loginPassword(oldPassword: string, newPassword: string): Promise<tagModifyPassWordRes>;
  nickname(name: string): Promise<ModifyNickNameRes>;
  gender(gender: Integer): Promise<ModifyGenderRes>;
  signature(text: string): Promise<ModifyPersonalSignatureRes>;
  face(faceId: Integer): Promise<ModifyFaceIdRes>;
  mobile(number: string): Promise<BindingMobileRes>;
  realName(name: string, identity: string): Promise<RealNameAuthenRes>;
  refresh(): Promise<RechargeReFreshCoinRes>;
  exchange(receiverId: Integer, amount: Integer): Promise<ExchangeGameCoinRes>;
  serverList(): Promise<tagServerInfo[]>;
  tournament(): Promise<LobbyClientCompeteRes>;
  subscribe(key: string, mainId?: Integer, subId?: Integer): void;
  unsubscribe(key: string, mainId?: Integer, subId?: Integer): void;
  keepAlive(): Promise<KeepAlive>;
  activity(activityId: Integer, report?: { level?: Integer; progress?: Integer; other1?: Integer;
    other2?: Integer; other3?: Integer }): void;
}

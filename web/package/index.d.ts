// SPDX-License-Identifier: Apache-2.0

/** What bytes are taken from; a string is its UTF-8. */
export type Bytes = Uint8Array | ArrayBuffer | ArrayBufferView | string;

export type ErrorCode =
  | "OUT_OF_MEMORY"
  | "NOT_MAIL" // empty, or bytes that are no message: a picture, a program
  | "IS_MBOX" // many messages in one file: mbox() reads them
  | "TOO_LARGE"
  | "NOT_FOUND"
  | "INVALID_ARGUMENT"
  | "DAMAGED" // strict parsing was asked for, and a boundary is missing
  | "STALE" // the message was changed since this part was taken from it
  | "DISPOSED"
  | "IO";

/** What mimetree throws. After one, all is as it was. */
export class MimetreeError extends Error {
  readonly code: ErrorCode;
}

/** A mailbox (RFC 5322 3.4). */
export class Address {
  /** Display name, decoded; empty when there is none. */
  readonly name: string;
  /** "user@example.org", without angle brackets. */
  readonly address: string;
  /** For people, not for a header: `Ann Other <ann@example.org>`. */
  toString(): string;
}

/** The addresses of a field in their order, members of groups included. */
export class Addresses extends Array<Address> {
  /** The first, or an empty one. */
  readonly first: Address;
  /** For people, not for a header: `Ann Other <ann@example.org>, bob@example.org`. */
  toString(): string;
}

export interface Header {
  /** As written. */
  name: string;
  /** Folds opened, encoded words decoded. */
  value: string;
  /** As received. */
  raw: Uint8Array;
}

/** A place where something is wrong with a message. */
export interface Finding {
  /** Of its kind, "MT012". */
  id: string;
  /** The name of its kind, "nul-byte", which explain() explains. */
  kind: string;
  /** Unusual and harmless; against a standard, and repaired; another reader may see another message. */
  severity: "info" | "warning" | "critical";
  /** Bytes in front of it, in `source` or, where that is null, in write(). */
  offset: number;
  /** From 1. */
  line: number;
  /** As IMAP counts parts; empty for the message itself. */
  part: string;
  /** One line for people, in which nothing of the mail stands raw. */
  message: string;
  /** How many more of the kind there are, which are not listed. */
  more: number;
}

/** A part of a message: the message itself (the root), a multipart, or a leaf with a body. */
export class Part {
  private constructor();
  /** "text/plain", in lower case; also where the header gives none. */
  readonly type: string;
  /** As labelled or found out. */
  readonly charset: string;
  /** The transfer coding, in lower case. */
  readonly encoding: string;
  /** "attachment", "inline", or what else Content-Disposition says, in lower case. */
  readonly disposition: string;
  /** Without angle brackets. */
  readonly contentId: string;
  /** A name that is safe to give to a file; made up for a part that has none. */
  readonly name: string;
  /** The name as the mail has it, decoded; may be hostile. */
  readonly declaredName: string;
  /** The decoded body, a copy; of a text its UTF-8. */
  readonly bytes: Uint8Array;
  /** The body of a text; "" of any other. */
  readonly text: string;
  /** Of a multipart/signed: its first part as it came, kept for S/MIME and not for OpenPGP. */
  readonly signedBytes: Uint8Array;
  /** The fields of its own header. */
  readonly headers: Header[];
  /** "2.1": the first child of the root's second child; "" for the root and below a depth of 32. */
  readonly path: string;
  /** 0 for the root. */
  readonly depth: number;
  readonly children: Part[];
  readonly isMultipart: boolean;
  readonly isText: boolean;
  readonly isAttachment: boolean;
  /** Whether it is one of those that a reader shows as the mail's text. */
  readonly isBody: boolean;
  /** Whether it is a message inside the message, which message() opens. */
  readonly isMessage: boolean;
  /** The first field of that name, in any letter case, decoded; null when there is none. */
  header(name: string): string | null;
  /** A parameter of Content-Type, decoded; null when there is none. */
  parameter(name: string): string | null;
  /** The message inside the part. */
  message(): Message;
  /** The decoded body as it goes into a file, text in its own charset. */
  fileBytes(): Uint8Array;
  /** Its children. */
  [Symbol.iterator](): IterableIterator<Part>;
}

/** A message. A change makes the parts void that were taken before: ask for them again. */
export class Message {
  private constructor();
  /** Decoded. */
  readonly subject: string;
  /** Without angle brackets. */
  readonly messageId: string;
  readonly from: Addresses;
  readonly to: Addresses;
  readonly cc: Addresses;
  readonly bcc: Addresses;
  readonly replyTo: Addresses;
  /** Of all fields of that name. */
  addresses(field: string): Addresses;
  /** Null when it is missing or unreadable. */
  readonly date: Date | null;
  /** The sender's, in minutes east of Greenwich; null when it is not known. */
  readonly zone: number | null;
  readonly headers: Header[];
  /** The first field of that name, in any letter case, decoded; null when there is none. */
  header(name: string): string | null;
  /** What a reader would show: the inline plain texts in reading order, joined. */
  readonly text: string;
  /** The same of the HTML texts. As it came: show it in a sandbox only. */
  readonly html: string;
  /** The parts that a reader shows: of a text in both forms the one that is preferred. */
  bodyParts(preferred?: "plain" | "html"): Part[];
  readonly attachments: Part[];
  /** Leaves that are no attachment and no text shows: pictures in HTML. */
  readonly inlineParts: Part[];
  /** All of them, depth first, the root first. */
  parts(): Part[];
  readonly root: Part;
  /** The part at a path, "2.1"; "" is the root. Null when there is none. */
  part(path: string): Part | null;
  /** With or without angle brackets or "cid:". */
  partByCid(cid: string): Part | null;
  /** All parts. */
  [Symbol.iterator](): IterableIterator<Part>;
  /** What is wrong with it, by place. */
  readonly findings: Finding[];
  /** Sets the field, in the place of the first that had the name; more of that name go. */
  setHeader(name: string, value: string): void;
  /** Removes all fields of that name; true when there was one. */
  removeHeader(name: string): boolean;
  /** Sets the text that `text` gives. */
  setText(text: string): void;
  /** Writes every text in that charset, or in utf-8 where it cannot hold the text. */
  setCharset(charset: string): void;
  /** Removes a part of this message, but not the root. */
  removePart(part: Part): void;
  /** Attaches a file. The type goes by its name unless given. */
  attach(bytes: Bytes, name: string, type?: string): void;
  /** The message as bytes, with CRLF. */
  write(): Uint8Array;
  /** The bytes that it was read from, a copy; null for what was built or changed. */
  readonly source: Uint8Array | null;
  /** Frees its memory now rather than when it is collected. It must not be used any more. */
  dispose(): void;
}

/** A message as it stands in a mailbox. */
export interface RawMessage {
  /** Its lines unquoted. */
  bytes: Uint8Array;
  /** The line in front of it, without its line end. */
  fromLine: string;
  /** From 1. */
  number: number;
  /** Where its From line begins. */
  offset: number;
  /** How many bytes of the mailbox belong to it. */
  size: number;
  parse(options?: ParseOptions): Message;
}

/** A mailbox of many messages. */
export class Mbox {
  private constructor();
  /** Its messages. Ends with an Error at one that is no mail; raw() goes on. */
  [Symbol.iterator](): IterableIterator<Message>;
  /** Its messages as they stand there, not parsed yet. */
  raw(): IterableIterator<RawMessage>;
  /** Frees its memory now rather than when it is collected. */
  dispose(): void;
}

export interface ParseOptions {
  /** Refuse a multipart whose boundary is missing. */
  strict?: boolean;
}

export interface MboxOptions {
  /** How lines of text that begin with "From " were marked; found out unless given. */
  kind?: "automatic" | "rd" | "o" | "content-length" | "none";
}

/** "ann@example.org", "Ann Other <ann@example.org>", several after commas, or name and address apart. */
export type Mailbox = string | { name?: string; address: string };

export interface NewMail {
  from?: Mailbox | Mailbox[];
  to?: Mailbox | Mailbox[];
  cc?: Mailbox | Mailbox[];
  bcc?: Mailbox | Mailbox[];
  replyTo?: Mailbox | Mailbox[];
  subject?: string;
  /** Now unless given. */
  date?: Date | string | number;
  /** Made up unless given. */
  messageId?: string;
  /** Other fields by name. */
  headers?: Record<string, string | string[]>;
  text?: string;
  html?: string;
  attachments?: { name: string; bytes: Bytes; type?: string }[];
  /** Pictures, which the HTML shows as `cid:` and that identifier. */
  inline?: { cid: string; bytes: Bytes; type: string }[];
  /** Of the texts: utf-8 unless given. */
  charset?: string;
  /** The transfer coding of the texts, which goes by the text unless given. */
  encoding?: string;
}

/** Reads a message. Damage is repaired, and told by `findings`. */
export function parse(source: Bytes | Blob, options?: ParseOptions): Promise<Message>;

/** Reads a mailbox. */
export function mbox(source: Bytes | Blob, options?: MboxOptions): Promise<Mbox>;

/** Makes a message, with the structure that its pieces need. */
export function build(mail: NewMail): Promise<Message>;

/** What a kind of findings is, and what it offends; null when there is none such. */
export function explain(kind: string): Promise<{ explanation: string; reference: string } | null>;

/** The version of the library. */
export function version(): Promise<string>;

/**
 * Loads the WebAssembly module, as all of these do by themselves.
 * @param source  where mimetree.wasm does not stand beside index.js: its bytes, or the module compiled
 */
export function load(source?: BufferSource | WebAssembly.Module): Promise<void>;

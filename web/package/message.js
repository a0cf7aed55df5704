// SPDX-License-Identifier: Apache-2.0
// A message, and the plain values that it answers with.

import { check, checkCode, lend, ownBytes, sizedBytes, sizedText, textAt, viewOf, wasm } from "./engine.js";
import { Part } from "./part.js";
import { Tree } from "./tree.js";

const TEXT_KINDS = { plain: 0, html: 1 };
const SEVERITIES = [undefined, "info", "warning", "critical"];

export class Address {
  constructor(name, address) {
    this.name = name;
    this.address = address;
  }

  /** For people, not for a header. */
  toString() {
    return this.name && this.address ? `${this.name} <${this.address}>` : this.name || this.address;
  }
}

export class Addresses extends Array {
  static get [Symbol.species]() {
    return Array;
  }

  get first() {
    return this[0] ?? new Address("", "");
  }

  toString() {
    return this.join(", ");
  }
}

export class Message {
  #tree;

  /** Made by parse() and its kin only. */
  constructor(tree) {
    this.#tree = tree;
  }

  get #pointer() {
    return this.#tree.pointer;
  }

  // -- What the header says

  get subject() {
    return textAt(wasm.mt_message_subject(this.#pointer));
  }

  get messageId() {
    return textAt(wasm.mt_message_message_id(this.#pointer));
  }

  get from() {
    return this.addresses("From");
  }

  get to() {
    return this.addresses("To");
  }

  get cc() {
    return this.addresses("Cc");
  }

  get bcc() {
    return this.addresses("Bcc");
  }

  get replyTo() {
    return this.addresses("Reply-To");
  }

  addresses(field) {
    const pointer = this.#pointer;
    return lend([field], (at) =>
      Addresses.from({ length: wasm.mt_message_address_count(pointer, at) }, (_, i) => {
        const name = textAt(wasm.mt_message_address_name(pointer, at, i));
        return new Address(name, textAt(wasm.mt_message_address(pointer, at, i)));
      }),
    );
  }

  get date() {
    return this.#date()?.date ?? null;
  }

  get zone() {
    return this.#date()?.zone ?? null;
  }

  #date() {
    return lend([new Uint8Array(16)], (at) => {
      if (!wasm.mt_message_date(this.#pointer, at, at + 8, at + 12)) return undefined;
      const found = new DataView(wasm.memory.buffer, at, 16);
      const date = new Date(Number(found.getBigInt64(0, true)) * 1000);
      // Limit: years that Date cannot hold are no date.
      if (Number.isNaN(date.getTime())) return undefined;
      return { date, zone: found.getInt32(12, true) ? found.getInt32(8, true) : null };
    });
  }

  get headers() {
    return this.root.headers;
  }

  header(name) {
    return lend([name], (at) => sizedText(wasm.mt_message_header_n, this.#pointer, at)) ?? null;
  }

  // -- What is in it

  get text() {
    return sizedText(wasm.mt_message_text, this.#pointer);
  }

  get html() {
    return sizedText(wasm.mt_message_html, this.#pointer);
  }

  bodyParts(preferred = "plain") {
    const kind = TEXT_KINDS[preferred];
    if (kind === undefined) throw new TypeError(`neither "plain" nor "html": ${preferred}`);
    const at = (message, i) => wasm.mt_message_body_part(message, kind, i);
    return this.#tree.listed((message) => wasm.mt_message_body_part_count(message, kind), at, this.#pointer);
  }

  get attachments() {
    return this.#tree.listed(wasm.mt_message_attachment_count, wasm.mt_message_attachment, this.#pointer);
  }

  get inlineParts() {
    return this.#tree.listed(wasm.mt_message_inline_part_count, wasm.mt_message_inline_part, this.#pointer);
  }

  get root() {
    return this.#tree.parts[0];
  }

  parts() {
    return [...this.#tree.parts];
  }

  part(path) {
    return this.#tree.part(lend([path], (at) => wasm.mt_message_part_at(this.#pointer, at)));
  }

  partByCid(cid) {
    return this.#tree.part(lend([cid], (at) => wasm.mt_message_part_by_cid(this.#pointer, at)));
  }

  [Symbol.iterator]() {
    return this.parts()[Symbol.iterator]();
  }

  // -- What is wrong with it

  get findings() {
    const list = check(wasm.mt_message_findings(this.#pointer));
    try {
      return Array.from({ length: wasm.mt_findings_count(list) }, (_, i) => ({
        id: textAt(wasm.mt_findings_id(list, i)),
        kind: textAt(wasm.mt_findings_name(list, i)),
        severity: SEVERITIES[wasm.mt_findings_severity(list, i)],
        offset: Number(wasm.mt_findings_offset(list, i)),
        line: Number(wasm.mt_findings_line(list, i)),
        part: textAt(wasm.mt_findings_part(list, i)),
        message: textAt(wasm.mt_findings_sentence(list, i)),
        more: Number(wasm.mt_findings_more(list, i)),
      }));
    } finally {
      wasm.mt_findings_free(list);
    }
  }

  // -- Changing and writing it

  setHeader(name, value) {
    this.#change([name, value], wasm.mt_message_set_header);
  }

  removeHeader(name) {
    return this.#tree.change((message) => lend([name], (at) => wasm.mt_message_remove_header(message, at) === 1));
  }

  setText(text) {
    this.#change([text], wasm.mt_message_set_text);
  }

  setCharset(charset) {
    this.#change([charset], wasm.mt_message_set_charset);
  }

  removePart(part) {
    const handle = Part.handle(part, this.#tree);
    this.#tree.change((message) => checkCode(wasm.mt_message_remove_part(message, handle)));
  }

  attach(source, name, type) {
    const bytes = viewOf(source);
    const attach = (message, at, ...rest) => wasm.mt_message_attach_bytes(message, at, bytes.length, ...rest);
    this.#change([bytes, name, type], attach);
  }

  #change(values, call) {
    this.#tree.change((message) => lend(values, (...places) => checkCode(call(message, ...places))));
  }

  write() {
    return ownBytes(wasm.mt_message_write, this.#pointer);
  }

  /** The bytes that it was read from; null for what was built or changed. */
  get source() {
    const bytes = sizedBytes(wasm.mt_message_source, this.#pointer);
    return bytes.length > 0 ? bytes : null;
  }

  dispose() {
    this.#tree.dispose();
  }
}

export const messageOf = (bytes, strict) => new Message(Tree.read(bytes, strict));

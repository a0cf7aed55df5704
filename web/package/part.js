// SPDX-License-Identifier: Apache-2.0
// A part of a message.

import { check, ownBytes, sizedBytes, sizedText, lend, textAt, wasm } from "./engine.js";
import { MimetreeError } from "./errors.js";
import { Message } from "./message.js";
import { Tree } from "./tree.js";

export class Part {
  #tree;
  #place;
  #changes;

  /** Made by Message only. */
  constructor(tree, place) {
    this.#tree = tree;
    this.#place = place;
    this.#changes = tree.changes;
  }

  get #pointer() {
    if (this.#changes !== this.#tree.changes) throw new MimetreeError("STALE", "the message was changed: ask for the part again");
    return this.#tree.pointers[this.#place];
  }

  get type() {
    return textAt(wasm.mt_part_type(this.#pointer));
  }

  get charset() {
    return textAt(wasm.mt_part_charset(this.#pointer));
  }

  get encoding() {
    return textAt(wasm.mt_part_encoding(this.#pointer));
  }

  get disposition() {
    return textAt(wasm.mt_part_disposition(this.#pointer));
  }

  get contentId() {
    return textAt(wasm.mt_part_content_id(this.#pointer));
  }

  get name() {
    return textAt(wasm.mt_part_name(this.#pointer));
  }

  get declaredName() {
    return textAt(wasm.mt_part_declared_name(this.#pointer));
  }

  get bytes() {
    return sizedBytes(wasm.mt_part_bytes, this.#pointer);
  }

  get text() {
    return sizedText(wasm.mt_part_text, this.#pointer);
  }

  get signedBytes() {
    return sizedBytes(wasm.mt_part_signed_bytes, this.#pointer);
  }

  get path() {
    return textAt(wasm.mt_part_path(this.#pointer));
  }

  get depth() {
    return wasm.mt_part_depth(this.#pointer);
  }

  get children() {
    return this.#tree.listed(wasm.mt_part_child_count, wasm.mt_part_child, this.#pointer);
  }

  get isMultipart() {
    return wasm.mt_part_is_multipart(this.#pointer) === 1;
  }

  get isText() {
    return wasm.mt_part_is_text(this.#pointer) === 1;
  }

  get isAttachment() {
    return wasm.mt_part_is_attachment(this.#pointer) === 1;
  }

  get isBody() {
    return wasm.mt_part_is_body(this.#pointer) === 1;
  }

  get isMessage() {
    return wasm.mt_part_is_message(this.#pointer) === 1;
  }

  get headers() {
    const pointer = this.#pointer;
    return Array.from({ length: wasm.mt_part_header_count(pointer) }, (_, i) => ({
      name: textAt(wasm.mt_part_header_name(pointer, i)),
      value: sizedText(wasm.mt_part_header_value_n, pointer, i),
      raw: sizedBytes(wasm.mt_part_header_raw, pointer, i),
    }));
  }

  header(name) {
    return lend([name], (at) => sizedText(wasm.mt_part_header_n, this.#pointer, at)) ?? null;
  }

  parameter(name) {
    return lend([name], (at) => textAt(wasm.mt_part_parameter(this.#pointer, at))) ?? null;
  }

  message() {
    return new Message(Tree.own(check(wasm.mt_part_message(this.#pointer))));
  }

  fileBytes() {
    return ownBytes(wasm.mt_part_file_bytes, this.#pointer);
  }

  [Symbol.iterator]() {
    return this.children[Symbol.iterator]();
  }

  /** For Message.removePart(): the handle of a part of that tree. */
  static handle(part, tree) {
    return part.#tree === tree ? part.#pointer : 0;
  }
}

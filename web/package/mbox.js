// SPDX-License-Identifier: Apache-2.0
// The messages of an mbox, out of bytes.

import { check, checkCode, put, sizedBytes, sizedText, textAt, wasm } from "./engine.js";
import { MimetreeError } from "./errors.js";
import { messageOf } from "./message.js";

const MBOX_KINDS = { automatic: 0, rd: 1, o: 2, "content-length": 3, none: 4 };
const unheld = new FinalizationRegistry((address) => wasm.free(address));

/** A message as it stands in the mailbox, and where. */
class RawMessage {
  constructor(box) {
    this.bytes = sizedBytes(wasm.mt_mbox_bytes, box);
    this.fromLine = textAt(wasm.mt_mbox_from_line(box));
    this.number = wasm.mt_mbox_number(box);
    this.offset = Number(wasm.mt_mbox_offset(box));
    this.size = Number(wasm.mt_mbox_size(box));
  }

  parse({ strict = false } = {}) {
    return messageOf(this.bytes, strict);
  }
}

export class Mbox {
  #address;
  #size;
  #kind;

  constructor(bytes, kind = "automatic") {
    this.#kind = MBOX_KINDS[kind];
    if (this.#kind === undefined) throw new TypeError(`no kind of mbox: ${kind}`);
    this.#address = put(bytes);
    this.#size = bytes.length;
    unheld.register(this, this.#address, this);
  }

  *raw() {
    if (this.#address === 0) throw new MimetreeError("DISPOSED", "the mailbox was disposed of");
    const box = check(wasm.mt_mbox_from_bytes(this.#address, this.#size, this.#kind));
    try {
      while (this.#address !== 0 && wasm.mt_mbox_next(box)) yield new RawMessage(box);
      checkCode(wasm.mt_mbox_status(box));
    } finally {
      wasm.mt_mbox_free(box);
    }
  }

  *[Symbol.iterator]() {
    for (const raw of this.raw()) yield raw.parse();
  }

  dispose() {
    unheld.unregister(this);
    wasm.free(this.#address);
    this.#address = 0;
  }
}

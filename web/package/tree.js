// SPDX-License-Identifier: Apache-2.0
// The tree of a message in the module's memory.
//
// JavaScript does not see that memory: a loop over a mailbox would fill it long before anything were
// collected.  So those trees that were not used for long are put away, which are then but the bytes that
// they were read from, and are read again when they are asked.  What was changed or built stays, until
// it is collected or disposed of.

import { bytesAt, check, put, sizedBytes, viewOf, wasm } from "./engine.js";
import { MimetreeError } from "./errors.js";
import { Part } from "./part.js";

const STRICT = 1;
const BORROW_SOURCE = 2;
const MOST_AWAKE = 64;
const MOST_BYTES = 64 << 20;

const awake = new Set(); // of those that can be put away, the one used last at the end
let awakeBytes = 0;
let latest;
const collected = new FinalizationRegistry((memory) => memory.free());

/** What a tree has there.  The tree is not known here, so that it can be collected. */
class Memory {
  pointer = 0;
  borrowed = 0; // the bytes of the mail
  size = 0;
  isKept = false;

  read(bytes, options) {
    this.borrowed = put(bytes);
    this.size = bytes.length;
    this.pointer = wasm.mt_message_parse(this.borrowed, this.size, options | BORROW_SOURCE);
    if (this.pointer === 0) {
      wasm.free(this.borrowed);
      this.borrowed = 0;
      check(0);
    }
  }

  free() {
    this.stay();
    wasm.mt_message_free(this.pointer);
    wasm.free(this.borrowed);
    this.pointer = this.borrowed = 0;
  }

  /** It is used: others are put away when there are too many. */
  rise() {
    if (this.isKept || this === latest) return;
    this.stay();
    latest = this;
    awake.add(this);
    awakeBytes += this.size;
    for (const other of awake) {
      if (other === this || (awake.size <= MOST_AWAKE && awakeBytes <= MOST_BYTES)) break;
      other.putAway();
    }
  }

  /** It is none of those that can be put away. */
  stay() {
    if (latest === this) latest = undefined;
    if (awake.delete(this)) awakeBytes -= this.size;
  }

  putAway() {
    this.bytes = bytesAt(this.borrowed, this.size);
    this.free();
  }
}

const pointersOf = (countOf, one, ...of) => Array.from({ length: countOf(...of) }, (_, i) => one(...of, i));

export class Tree {
  #memory = new Memory();
  #pointers; // of its parts, as long as it is awake
  #parts; // until it is changed
  changes = 0;

  static read(source, strict) {
    const tree = new Tree();
    tree.#memory.read(viewOf(source), strict ? STRICT : 0);
    return tree.#begin();
  }

  /** Takes a message that the module made. */
  static own(pointer) {
    const bytes = sizedBytes(wasm.mt_message_source, check(pointer));
    if (bytes.length > 0) {
      wasm.mt_message_free(pointer);
      return Tree.read(bytes);
    }
    const tree = new Tree();
    tree.#memory.pointer = pointer;
    tree.#memory.isKept = true;
    return tree.#begin();
  }

  #begin() {
    collected.register(this, this.#memory, this);
    this.#memory.rise();
    return this;
  }

  get pointer() {
    const memory = this.#memory;
    if (memory === undefined) throw new MimetreeError("DISPOSED", "the message was disposed of");
    if (memory.pointer === 0) {
      memory.read(memory.bytes, 0);
      memory.bytes = this.#pointers = undefined;
    }
    memory.rise();
    return memory.pointer;
  }

  /** Those of its parts, the root's first. */
  get pointers() {
    const { pointer } = this;
    this.#pointers ??= pointersOf(wasm.mt_message_part_count, wasm.mt_message_part, pointer);
    return this.#pointers;
  }

  get parts() {
    this.#parts ??= this.pointers.map((_, place) => new Part(this, place));
    return this.#parts;
  }

  /** The parts that the module numbers so. */
  listed(countOf, one, ...of) {
    const { pointers, parts } = this;
    const places = new Map(pointers.map((pointer, place) => [pointer, place]));
    return pointersOf(countOf, one, ...of).map((pointer) => parts[places.get(pointer)]);
  }

  /** The part that it gives so; null for none. */
  part(pointer) {
    return pointer === 0 ? null : this.parts[this.pointers.indexOf(pointer)];
  }

  /** Does what changes it; parts are others afterwards. */
  change(call) {
    const { pointer } = this;
    this.#memory.stay();
    this.#memory.isKept = true;
    const done = call(pointer);
    this.#pointers = this.#parts = undefined;
    ++this.changes;
    return done;
  }

  dispose() {
    this.#memory?.free();
    this.#memory = this.#pointers = this.#parts = undefined;
    collected.unregister(this);
  }
}

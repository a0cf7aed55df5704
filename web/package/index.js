// SPDX-License-Identifier: Apache-2.0
// What users of the package import.  index.d.ts says what each name means.

import { buildMessage } from "./build.js";
import { bytesOf, lend, load, textAt, wasm } from "./engine.js";
import { Mbox } from "./mbox.js";
import { messageOf } from "./message.js";

export { load };
export { MimetreeError } from "./errors.js";
export { Address, Addresses, Message } from "./message.js";
export { Mbox };
export { Part } from "./part.js";

export async function parse(source, { strict = false } = {}) {
  const [bytes] = await Promise.all([bytesOf(source), load()]);
  return messageOf(bytes, strict);
}

export async function mbox(source, { kind } = {}) {
  const [bytes] = await Promise.all([bytesOf(source), load()]);
  return new Mbox(bytes, kind);
}

export async function build(mail) {
  await load();
  return buildMessage(mail);
}

export async function explain(kind) {
  await load();
  return lend([kind], (at) => {
    const explanation = textAt(wasm.mt_finding_explanation(at));
    return explanation === undefined ? null : { explanation, reference: textAt(wasm.mt_finding_reference(at)) };
  });
}

export async function version() {
  await load();
  return textAt(wasm.mt_version());
}

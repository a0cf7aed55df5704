// SPDX-License-Identifier: Apache-2.0
// Making a message.

import { check, lend, viewOf, wasm } from "./engine.js";
import { Message } from "./message.js";
import { Tree } from "./tree.js";

const listOf = (value) => (Array.isArray(value) ? value : [value]);

// Addresses as texts ("Ann Other <ann@example.org>, bob@example.org"), as { name, address }, or a list.
const addMailboxes = (role, add) => (builder, value) => {
  for (const one of listOf(value)) {
    if (typeof one === "string") lend([one], (at) => wasm[add](builder, at));
    else lend([one.name ?? "", one.address], (name, address) => wasm.mt_builder_address(builder, role, name, address));
  }
};

const setText = (set) => (builder, value) => lend([value], (at) => wasm[set](builder, at));

const addFiles = (add, name) => (builder, value) => {
  for (const file of listOf(value)) {
    const bytes = viewOf(file.bytes);
    lend([bytes, file[name], file.type], (at, ...rest) => wasm[add](builder, at, bytes.length, ...rest));
  }
};

function setDate(builder, date) {
  const seconds = Math.floor(new Date(date).getTime() / 1000);
  if (Number.isNaN(seconds)) throw new TypeError(`no date: ${date}`);
  wasm.mt_builder_date(builder, BigInt(seconds), -new Date(date).getTimezoneOffset());
}

function addHeaders(builder, fields) {
  for (const [name, value] of Object.entries(fields))
    for (const one of listOf(value)) lend([name, one], (...places) => wasm.mt_builder_header(builder, ...places));
}

const STEPS = {
  from: addMailboxes(0, "mt_builder_from"),
  to: addMailboxes(1, "mt_builder_to"),
  cc: addMailboxes(2, "mt_builder_cc"),
  bcc: addMailboxes(3, "mt_builder_bcc"),
  replyTo: addMailboxes(4, "mt_builder_reply_to"),
  subject: setText("mt_builder_subject"),
  date: setDate,
  messageId: setText("mt_builder_message_id"),
  headers: addHeaders,
  text: setText("mt_builder_text"),
  html: setText("mt_builder_html"),
  attachments: addFiles("mt_builder_attach_bytes", "name"),
  inline: addFiles("mt_builder_inline_bytes", "cid"),
  charset: setText("mt_builder_charset"),
  encoding: setText("mt_builder_encoding"),
};

export function buildMessage(mail) {
  const builder = check(wasm.mt_builder_new());
  try {
    for (const [name, value] of Object.entries({ date: new Date(), ...mail })) {
      if (!Object.hasOwn(STEPS, name)) throw new TypeError(`no piece of a mail: ${name}`);
      if (value !== undefined && value !== null) STEPS[name](builder, value);
    }
    return new Message(Tree.own(wasm.mt_builder_build(builder)));
  } finally {
    wasm.mt_builder_free(builder);
  }
}

// SPDX-License-Identifier: Apache-2.0
// The package says what the program says; what is JavaScript's own stands in rows.

import assert from "node:assert/strict";
import { createHash } from "node:crypto";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { Worker } from "node:worker_threads";

import { built, mimetree, said, samples } from "./support.mjs";

const { build, explain, mbox, parse } = mimetree;
const sha256 = (bytes) => createHash("sha256").update(bytes).digest("hex");
const plain = (addresses) => addresses.map(({ name, address }) => ({ name, address }));
const utc = (date) => date && date.toISOString().replace(".000Z", "Z");

const head = (mail) => ({
  subject: mail.subject,
  dateUtc: utc(mail.date),
  messageId: mail.messageId,
  from: plain(mail.from),
  to: plain(mail.to),
  cc: plain(mail.cc),
  bcc: plain(mail.bcc),
  replyTo: plain(mail.replyTo),
  text: mail.text,
  html: mail.html,
});

const node = (part, { contentType }) => ({
  contentType: contentType && part.type,
  children: part.isMessage ? undefined : part.children.length,
  headers: part.headers.map(({ name, value }) => ({ name, value })),
});

const only = (keys, from) => Object.fromEntries(Object.keys(keys).map((key) => [key, from[key]]));

/** The program's document goes on into messages in messages, which the package opens. */
function* pairs(part, nodes, place = 0) {
  yield [part, nodes[place]];
  const inside = nodes.flatMap(({ parent }, i) => (parent === place ? [i] : []));
  const children = part.isMessage ? [part.message().root] : part.children;
  for (const [i, child] of inside.entries()) yield* pairs(children[i], nodes, child);
}

test("each sample mail is as the program prints it", async () => {
  const documents = said("json", "--with", "text,html,attachments=sha256", ...samples);
  const findings = said("check", "--json", ...samples);
  for (const [i, { path, nodes, attachments, ...theirs }] of documents.entries()) {
    const bytes = new Uint8Array(readFileSync(path));
    const mail = await parse(bytes);
    assert.deepEqual(head(mail), only(head(mail), theirs), path);
    const parts = [...pairs(mail.root, nodes)];
    assert.equal(parts.length, nodes.length, path);
    for (const [part, its] of parts) {
      const is = node(part, its);
      const headers = its.headers.filter(({ name }) => name); // without lines that are no field
      assert.deepEqual(is, { ...only(is, its), children: is.children && its.children, headers }, `${path}, part ${its.part}`);
    }
    for (const file of attachments.filter((one) => nodes[one.node].uuencoded.length === 0))
      assert.equal(sha256(parts[file.node][0].fileBytes()), file.sha256, file.name);
    const found = mail.findings.map(({ kind, message, ...rest }) => ({ ...rest, name: kind, sentence: message }));
    assert.deepEqual(found, findings[i].findings.map((one) => only(found[0], one)), path);
    assert.deepEqual(mail.source, bytes);
    assert.equal((await parse(mail.write())).subject, mail.subject);
  }
});

test("hundreds of messages at hand answer, and leave the memory small", async () => {
  const body = "x".repeat(1 << 20);
  const mails = [];
  for (let i = 0; i < 300; ++i) mails.push(await parse(`Subject: ${i}\n\n${i}${body}`));
  mails[0].setHeader("Subject", "changed");
  for (const [i, mail] of mails.entries()) {
    assert.equal(mail.subject, i ? `${i}` : "changed");
    assert.equal(mail.root.bytes.length, body.length + `${i}`.length);
  }
  const { wasm } = await import(`file://${built}/package/engine.js`);
  assert.ok(wasm.memory.buffer.byteLength < 300 << 20, `${wasm.memory.buffer.byteLength}`);
});

test("what runs out of memory says so, and the next call is served", async () => {
  const { wasm } = await import(`file://${built}/package/engine.js`);
  const held = [];
  for (let size = 1 << 30; size >= 1 << 16; size >>= 1)
    for (let at; (at = wasm.malloc(size)) !== 0; ) held.push(at);
  const large = `Subject: x\n\n${"y".repeat(1 << 18)}`;
  await assert.rejects(parse(large), { code: "OUT_OF_MEMORY" });
  held.forEach((at) => wasm.free(at));
  assert.equal((await parse(large)).subject, "x");
});

const nested = (depth) =>
  Array.from({ length: depth }, (_, i) => `Content-Type: multipart/mixed; boundary=b${i}\n\n--b${i}\n`).join("") + "\nend";

test("no depth is too deep", async () => {
  const mails = [nested(50000), "Content-Type: message/rfc822\n\n".repeat(50000), "(".repeat(1 << 20)];
  for (const [mail, field] of [[mails[0], ""], [mails[1], ""], ["\nx", `From: ${mails[2]}\n`]]) {
    const read = await parse(field + mail);
    assert.ok(read.parts().length > 0 && read.write().length > 0 && read.findings && read.from);
  }
});

const REFUSED = [
  ["NOT_MAIL", () => parse("")],
  ["NOT_MAIL", () => parse("\x7fELF\x02\x01\x01")],
  ["IS_MBOX", () => parse("From a@b Thu Nov  1 12:34:56 2001\nA: b\n\nx\n\nFrom a@b Thu Nov  1 12:34:56 2001\nA: b\n\ny\n")],
  ["DAMAGED", () => parse(nested(1), { strict: true })],
  ["INVALID_ARGUMENT", () => build({ from: "nobody at all" })],
  ["INVALID_ARGUMENT", async () => (await parse("A: b\n\n")).setHeader("X\nY", "z")],
  ["INVALID_ARGUMENT", async () => (await parse("A: b\n\n")).removePart((await parse("A: b\n\n")).root)],
  [
    "STALE",
    async () => {
      const mail = await parse("A: b\n\nx");
      const { root } = mail;
      mail.setText("y");
      return root.text;
    },
  ],
  [
    "DISPOSED",
    async () => {
      const mail = await parse("A: b\n\n");
      mail.dispose();
      mail.dispose();
      return mail.subject;
    },
  ],
];

test("what cannot be done is an Error with a code", async () => {
  for (const [code, call] of REFUSED) await assert.rejects(call, { name: "MimetreeError", code });
  await assert.rejects(parse(7), TypeError);
  await assert.rejects(build({ sender: "x" }), TypeError);
  await assert.rejects(build({ date: "never" }), TypeError);
});

test("bytes come out of anything that holds some", async () => {
  const bytes = new TextEncoder().encode("xSubject: \u00e9\n\n").subarray(1);
  const buffer = bytes.slice().buffer;
  for (const source of [bytes, buffer, new DataView(buffer), new Blob([bytes]), "Subject: \u00e9\n\n"])
    assert.equal((await parse(source)).subject, "\u00e9");
});

test("what is built is read so, and can be changed", async () => {
  const date = new Date("2026-03-06T17:40:00Z");
  const picture = new Uint8Array([0x89, 0x50, 0, 255]);
  const mail = await build({
    from: { name: "M\u00fcller, Zo\u00eb", address: "zoe@example.org" },
    to: ["bob@example.com", "Ann <ann@example.com>"],
    subject: "a\0b",
    date,
    headers: { "X-One": ["1", "2"] },
    text: "text\n",
    html: '<img src="cid:p@x">',
    inline: [{ cid: "p@x", bytes: picture, type: "image/png" }],
    attachments: [{ name: "\u00e9.txt", bytes: "file" }],
  });
  assert.equal(`${mail.from}; ${mail.to}`, "M\u00fcller, Zo\u00eb <zoe@example.org>; bob@example.com, Ann <ann@example.com>");
  assert.equal(mail.subject, "a\uFFFDb");
  assert.deepEqual([mail.date, mail.zone, mail.header("x-none")], [date, 0 - date.getTimezoneOffset(), null]);
  assert.equal(mail.headers.filter(({ name }) => name === "X-One").length, 2);
  assert.deepEqual(mail.partByCid("cid:p@x").bytes, picture);
  assert.deepEqual([mail.inlineParts.map((p) => p.type), mail.bodyParts("html").map((p) => p.type)], [["image/png"], ["text/html"]]);
  mail.removePart(mail.attachments[0]);
  mail.attach("more", "more.txt");
  assert.deepEqual([...mail.attachments].map((p) => p.name), ["more.txt"]);
  assert.deepEqual([mail.removeHeader("x-one"), mail.removeHeader("x-one"), mail.source], [true, false, null]);
  mail.setCharset("iso-8859-1");
  assert.equal(mail.part("1").children[0] ?? mail.part("1"), mail.part(mail.part("1").children[0]?.path ?? "1"));
  assert.match((await explain("nul-byte")).reference, /RFC/);
  assert.equal(await explain("nothing"), null);
});

test("a mailbox is walked through more than once, past what is no mail", async () => {
  const from = "From a@b Thu Nov  1 12:34:56 2001\n";
  const box = await mbox(`${from}Subject: 1\n\n>From x\n\n${from}\x00\x01\x02\x03\n\n${from}Subject: 3\n\n`);
  for (let round = 0; round < 2; ++round) {
    const raw = [...box.raw()];
    assert.deepEqual(raw.map(({ number, offset }) => [number, offset > 0]), [[1, false], [2, true], [3, true]]);
    assert.equal(raw[0].parse().text.trim(), "From x");
    assert.equal(raw[2].parse().subject, "3");
  }
  box.dispose();
  assert.throws(() => [...box.raw()], { code: "DISPOSED" });
});

test("a worker reads mail", async () => {
  const code = `import("${`file://${built}/package/index.js`}").then(async ({ parse }) =>
    require("node:worker_threads").parentPort.postMessage((await parse("Subject: there\\n\\n")).subject))`;
  const subject = await new Promise((resolve) => new Worker(code, { eval: true }).on("message", resolve));
  assert.equal(subject, "there");
});

#!/usr/bin/env node
// SPDX-License-Identifier: Apache-2.0
// Measures the package for Node and browsers beside postal-mime and mailparser, in one run: each mail
// is parsed, and all of it decoded: header fields, texts and files.  Prints the table of docs/web.md.
//
// usage: web_compare.mjs [FOLDER...]    (after make web)
//
// The mails are those in the folders, each by itself, and 2,000 made ones.  Rounds are interleaved; the
// table has medians of the processor's time.

import { readdirSync, readFileSync } from "node:fs";
import path from "node:path";

import { fetched, mimetree } from "../tests/web/support.mjs";

const ROUNDS = 5;
const { default: PostalMime } = await fetched("postal-mime");
const { simpleParser } = await fetched("mailparser");
// It would make HTML of text and text of HTML, which the others do not.
const NO_MORE = { skipHtmlToText: true, skipTextToHtml: true, skipTextLinks: true, skipImageLinks: true };

const readers = {
  async mimetree(data) {
    const mail = await mimetree.parse(data);
    let size = mail.text.length + mail.html.length;
    for (const part of mail) {
      for (const { value } of part.headers) size += value.length;
      if (!part.isBody && !part.isMultipart) size += part.bytes.length;
    }
    return size;
  },
  async "postal-mime"(data) {
    const mail = await PostalMime.parse(data);
    let size = (mail.text?.length ?? 0) + (mail.html?.length ?? 0);
    for (const { value } of mail.headers) size += value.length;
    for (const { content } of mail.attachments) size += content.byteLength ?? content.length;
    return size;
  },
  async mailparser(data) {
    const mail = await simpleParser(data, NO_MORE);
    let size = (mail.text || "").length + (mail.html || "").length;
    for (const [, value] of mail.headers) size += `${value.text ?? value.value ?? value}`.length;
    for (const { content } of mail.attachments) size += content.length;
    return size;
  },
};

async function* made(count) {
  const words = "the train leaves Z\u00fcrich at nine, see you at the caf\u00e9 \u5c71\u7530 \u0395\u03bb\u03ad\u03bd\u03b7 and bring what was asked for".split(" ");
  const prose = (length, from) => Array.from({ length }, (_, i) => words[(i * 7 + from) % words.length]).join(" ");
  for (let i = 0; i < count; ++i) {
    const mail = await mimetree.build({
      from: { name: `Zo\u00eb ${i}`, address: `zoe${i}@example.org` },
      to: "bob@example.com, Ann Other <ann@example.com>",
      subject: prose(6, i),
      text: prose(150 + (i % 5) * 100, i),
      html: i % 2 ? `<p>${prose(200, i)}</p>` : undefined,
      attachments: i % 3 ? [] : [{ name: `${i}.bin`, bytes: Uint8Array.from({ length: 20000 }, (_, at) => at * i) }],
    });
    yield Buffer.from(mail.write());
  }
}

async function measure(read, mails) {
  globalThis.gc?.();
  let threw = 0;
  const begin = process.cpuUsage();
  for (const data of mails) await read(data).catch(() => ++threw);
  const { user, system } = process.cpuUsage(begin);
  return { ms: (user + system) / 1000, threw };
}

const median = (numbers) => numbers.sort((a, b) => a - b)[numbers.length >> 1];

const sets = { "made mails": [] };
for await (const mail of made(2000)) sets["made mails"].push(mail);
for (const folder of process.argv.slice(2))
  sets[path.basename(folder)] = readdirSync(folder, { recursive: true })
    .filter((name) => name.endsWith(".eml"))
    .map((name) => readFileSync(path.join(folder, name)));

console.log("| mails | MB | reader | ms a mail | MB/s | threw | times |\n|---|---|---|---|---|---|---|");
for (const [name, mails] of Object.entries(sets)) {
  const size = mails.reduce((sum, mail) => sum + mail.length, 0) / 1e6;
  const rounds = Object.fromEntries(Object.keys(readers).map((reader) => [reader, []]));
  for (let round = 0; round < ROUNDS; ++round)
    for (const [reader, read] of Object.entries(readers)) rounds[reader].push(await measure(read, mails));
  const ours = median(rounds.mimetree.map(({ ms }) => ms));
  for (const [reader, done] of Object.entries(rounds)) {
    const ms = median(done.map((one) => one.ms));
    const cells = [`${name} (${mails.length})`, size.toFixed(1), reader, (ms / mails.length).toFixed(3), ((1000 * size) / ms).toFixed(1), done[0].threw, (ms / ours).toFixed(1)];
    console.log(`| ${cells.join(" | ")} |`);
  }
}

// SPDX-License-Identifier: Apache-2.0
// Writes a mail with HTML, an inline picture, an attachment and international names:
//     node build_mail.mjs PICTURE FILE > mail.eml
import { readFile } from "node:fs/promises";
import path from "node:path";

import { build } from "mimetree";

const [, , picture, file] = process.argv;
const mail = await build({
  from: { name: "Zo\u00eb M\u00fcller", address: "zoe@example.org" },
  to: { name: "\u0395\u03bb\u03ad\u03bd\u03b7 \u03a0\u03b1\u03c0\u03c0\u03ac", address: "eleni@example.com" },
  cc: { name: "Ngata, Wiremu", address: "wiremu@example.nz" },
  subject: "\u5c71\u7530\u82b1\u5b50: the report",
  text: "Here it is.\n",
  html: '<p>Here <img src="cid:logo@example.org"> it is.</p>\n',
  inline: [{ cid: "logo@example.org", bytes: await readFile(picture), type: "image/png" }],
  attachments: [{ name: path.basename(file), bytes: await readFile(file) }],
});
process.stdout.write(mail.write());

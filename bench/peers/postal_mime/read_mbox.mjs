// SPDX-License-Identifier: Apache-2.0
// examples/javascript/read_mbox.mjs with postal-mime, which takes single mails.
import { readFile } from "node:fs/promises";

import PostalMime from "postal-mime";

const box = (await readFile(process.argv[2])).toString("latin1");
const mails = box.split(/^From .*\r?\n/m).slice(1);
for (const [number, text] of mails.entries()) {
  const unquoted = text.replace(/^>(>*From )/gm, "$1");
  const mail = await PostalMime.parse(Buffer.from(unquoted, "latin1"));
  console.log(`${number + 1}: ${mail.subject}`);
}

// SPDX-License-Identifier: Apache-2.0
// Saves the attachments of a mail:  node save_attachments.mjs mail.eml directory
import { mkdir, readFile, writeFile } from "node:fs/promises";
import path from "node:path";

import { parse } from "mimetree";

const [, , mail, directory] = process.argv;
await mkdir(directory, { recursive: true });
for (const file of (await parse(await readFile(mail))).attachments) {
  const to = path.join(directory, file.name); // which is safe
  await writeFile(to, file.fileBytes(), { flag: "wx" });
  console.log(to);
}

// SPDX-License-Identifier: Apache-2.0
// examples/javascript/save_attachments.mjs with postal-mime: names that are safe, and not there yet.
import { mkdir, readFile, writeFile } from "node:fs/promises";
import path from "node:path";

import PostalMime from "postal-mime";

const [, , mail, directory] = process.argv;
await mkdir(directory, { recursive: true });
const { attachments } = await PostalMime.parse(await readFile(mail));
for (const [number, file] of attachments.entries()) {
  if (file.disposition !== "attachment") continue;
  let name = path.win32.basename(path.basename(file.filename ?? ""));
  name = name.replace(/[\x00-\x1F\x7F<>:"|?*\u202A-\u202E\u2066-\u2069]/g, "_").replace(/^\.+|[. ]+$/g, "");
  if (/^(con|prn|aux|nul|com\d|lpt\d)(\.|$)/i.test(name)) name = `_${name}`;
  while (Buffer.byteLength(name) > 200) name = name.slice(1);
  const to = path.join(directory, name || `attachment-${number + 1}`);
  await writeFile(to, new Uint8Array(file.content), { flag: "wx" });
  console.log(to);
}

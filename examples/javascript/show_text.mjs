// SPDX-License-Identifier: Apache-2.0
// Shows the text that a person would read:  node show_text.mjs mail.eml
import { readFile } from "node:fs/promises";

import { parse } from "mimetree";

try {
  const mail = await parse(await readFile(process.argv[2]));
  process.stdout.write(mail.text);
} catch (error) {
  console.error(error.message);
  process.exitCode = 1;
}

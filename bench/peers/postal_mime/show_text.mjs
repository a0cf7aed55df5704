// SPDX-License-Identifier: Apache-2.0
// examples/javascript/show_text.mjs with postal-mime.
import { readFile } from "node:fs/promises";

import PostalMime from "postal-mime";

try {
  const mail = await PostalMime.parse(await readFile(process.argv[2]));
  process.stdout.write(mail.text ?? "");
} catch (error) {
  console.error(error.message);
  process.exitCode = 1;
}

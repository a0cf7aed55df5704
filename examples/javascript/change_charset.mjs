// SPDX-License-Identifier: Apache-2.0
// Writes a mail anew with all its texts in another charset:
//     node change_charset.mjs mail.eml utf-8 > new.eml
import { readFile } from "node:fs/promises";

import { parse } from "mimetree";

const mail = await parse(await readFile(process.argv[2]));
mail.setCharset(process.argv[3]);
process.stdout.write(mail.write());

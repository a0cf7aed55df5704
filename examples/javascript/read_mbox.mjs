// SPDX-License-Identifier: Apache-2.0
// Lists the messages of an mbox:  node read_mbox.mjs archive.mbox
import { readFile } from "node:fs/promises";

import { mbox } from "mimetree";

let number = 0;
for (const mail of await mbox(await readFile(process.argv[2]))) console.log(`${++number}: ${mail.subject}`);

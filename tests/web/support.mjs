// SPDX-License-Identifier: Apache-2.0
// What the tests of web/ share: the built package, the sample mails, and the program's word on them.

import { execFileSync } from "node:child_process";
import { createRequire } from "node:module";
import { readdirSync, readFileSync } from "node:fs";
import path from "node:path";
import { pathToFileURL } from "node:url";

export const root = path.resolve(import.meta.dirname ?? path.dirname(new URL(import.meta.url).pathname), "../..");
export const built = process.env.MIMETREE_WEB ?? path.join(root, "build/web");
export const mimetree = await import(pathToFileURL(path.join(built, "package/index.js")));

/** A package that fetch.sh fetched; undefined where it could not. */
export async function fetched(name) {
  try {
    return await import(pathToFileURL(createRequire(path.join(built, "fetched/")).resolve(name)));
  } catch {
    return undefined;
  }
}

export const samples = ["tests/samples", "examples"].flatMap((folder) =>
  readdirSync(path.join(root, folder), { recursive: true })
    .filter((name) => name.endsWith(".eml"))
    .map((name) => path.join(root, folder, name))
    .filter((file) => !/^(From |$)/.test(readFileSync(file, "latin1"))) // to the program a mailbox, or none
    .sort(),
);

/** What the program prints of each file, a line of JSON for each. */
export function said(...command) {
  const program = path.join(root, "build/release/cli/mimetree");
  let out;
  try {
    out = execFileSync(process.env.MIMETREE ?? program, command, { maxBuffer: 1 << 28 });
  } catch (error) {
    out = error.stdout; // the status tells of findings
  }
  return out.toString().trim().split("\n").map(JSON.parse);
}

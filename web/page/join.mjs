// SPDX-License-Identifier: Apache-2.0
// Makes the page one file: its modules, the package's among them, as one script, which is all that
// its policy lets run; its style; and the WebAssembly module.
// usage: join.mjs PACKAGE PAGE.html

import { createHash } from "node:crypto";
import { readFileSync, writeFileSync } from "node:fs";
import path from "node:path";
import { gzipSync } from "node:zlib";

const [built, out] = process.argv.slice(2);
const here = path.dirname(new URL(import.meta.url).pathname);
const IMPORT = /^import [^;]*? from "(\..*?)";\n/gm;

/** A module behind those that it imports. Each name has to be one of all modules' alone. */
function joined(file, done) {
  if (done.has(file)) return "";
  done.add(file);
  const text = readFileSync(file, "utf8");
  const before = [...text.matchAll(IMPORT)].map(([, name]) => joined(path.resolve(path.dirname(file), name), done));
  const own = text.replace(IMPORT, "").replace(/^export \{[^}]*\}( from "[^"]*")?;\n/gm, "").replace(/^export /gm, "");
  return before.join("") + own.replaceAll("import.meta.url", "document.baseURI");
}

const script = `\n${joined(path.join(here, "page.js"), new Set())}\n`;
if (/<\/script|<!--/i.test(script)) throw new Error("the script would end the element that it stands in");
const hash = createHash("sha256").update(script).digest("base64");
const pieces = {
  policy: `default-src 'none'; script-src 'sha256-${hash}' 'wasm-unsafe-eval'; style-src 'unsafe-inline'; img-src data: blob:; form-action 'none'; base-uri 'none'`,
  style: readFileSync(path.join(here, "page.css"), "utf8"),
  engine: gzipSync(readFileSync(path.join(built, "mimetree.wasm")), { level: 9 }).toString("base64"),
  script: script.slice(1, -1),
};
const page = readFileSync(path.join(here, "page.html"), "utf8");
writeFileSync(out, page.replace(/@(\w+)@/g, (_, name) => pieces[name]));

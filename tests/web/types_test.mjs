// SPDX-License-Identifier: Apache-2.0
// index.d.ts is true: the examples and the cookbook's code agree with it, and it has no other names
// than the package.

import assert from "node:assert/strict";
import { existsSync, readFileSync, readdirSync } from "node:fs";
import path from "node:path";
import { test } from "node:test";

import { built, fetched, mimetree } from "./support.mjs";

const text = readFileSync(path.join(built, "package/index.d.ts"), "utf8");
const instances = {
  Message: await mimetree.parse("A: b\n\nx"),
  Part: (await mimetree.parse("A: b\n\nx")).root,
  Mbox: await mimetree.mbox(""),
  Address: new mimetree.Address("a", "b"),
  Addresses: new mimetree.Addresses(),
};

test("classes have the members that it declares", () => {
  for (const [name, instance] of Object.entries(instances)) {
    const [, body] = text.match(new RegExp(`class ${name} .*?\\{\\n(.*?)\\n\\}`, "s"));
    const declared = [...body.matchAll(/^ {2}(?:readonly )?(\w+)[:(]/gm)].map(([, member]) => member);
    const own = [...Object.getOwnPropertyNames(Object.getPrototypeOf(instance)), ...Object.keys(instance)];
    assert.deepEqual(declared.filter((one) => one !== "constructor").sort(), own.filter((one) => one !== "constructor").sort(), name);
  }
  const named = [...text.matchAll(/^export (?:class|function) (\w+)/gm)].map(([, one]) => one);
  assert.deepEqual(named.sort(), Object.keys(mimetree).sort());
});

const typescript = await fetched("typescript");
test("code that uses it is well typed", { skip: typescript ? false : "no typescript in build/web/fetched" }, () => {
  const { default: ts } = typescript;
  const files = readdirSync(path.join(built, "examples")).map((name) => path.join(built, "examples", name));
  const cookbook = path.join(built, "cookbook.mjs");
  const options = {
    allowJs: true, checkJs: true, noEmit: true, strict: true, types: ["node"], typeRoots: [path.join(built, "fetched/node_modules/@types")],
    target: ts.ScriptTarget.ES2022, module: ts.ModuleKind.NodeNext, moduleResolution: ts.ModuleResolutionKind.NodeNext,
    strictNullChecks: false, useUnknownInCatchVariables: false, preserveSymlinks: true,
  };
  const program = ts.createProgram([...files, ...(existsSync(cookbook) ? [cookbook] : [])], options);
  const faults = ts.getPreEmitDiagnostics(program).map((one) => `${one.file?.fileName}: ${ts.flattenDiagnosticMessageText(one.messageText, "\n")}`);
  assert.deepEqual(faults, []);
});

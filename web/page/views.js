// SPDX-License-Identifier: Apache-2.0
// The views of a mail, each an element.  What comes out of the mail is only ever text.

import { explain } from "../package/index.js";
import { walkable } from "./keys.js";
import { framed, isPicture } from "./sanitize.js";

const MOST_TEXT = 1 << 20;

/** An element with attributes, or a class alone, and children: elements and texts. */
export function make(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  const { onclick, ...others } = typeof attributes === "string" ? { class: attributes } : attributes;
  for (const [attribute, value] of Object.entries(others)) element.setAttribute(attribute, value);
  if (onclick) element.addEventListener("click", onclick);
  element.append(...children.filter((child) => child !== undefined));
  return element;
}

export const button = (label, onclick, spoken = label) => make("button", { type: "button", "aria-label": spoken, onclick }, label);

export const counted = (n, one, many = `${one}s`) => `${n.toLocaleString("en")} ${n === 1 ? one : many}`;

export function sizeText(size) {
  if (size < 1000) return counted(size, "byte");
  return size < 1e6 ? `${(size / 1e3).toFixed(1)} kB` : `${(size / 1e6).toFixed(1)} MB`;
}

/** Gives bytes to the browser as a file to save; never as a page of its own. */
export function save(name, bytes) {
  const place = URL.createObjectURL(new Blob([bytes], { type: "application/octet-stream" }));
  make("a", { href: place, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(place), 60000);
}

const readable = (text) => (text.length > MOST_TEXT ? `${text.slice(0, MOST_TEXT)}\n[...]` : text);
const nothing = (sentence) => make("p", "nothing", sentence);

export const textView = ({ mail }) => make("pre", { class: "text", dir: "auto" }, readable(mail.text));

export function htmlView({ mail }) {
  const { html, remote } = framed(mail);
  const frame = make("iframe", { sandbox: "", title: "The mail's HTML", referrerpolicy: "no-referrer", srcdoc: html });
  const note = remote ? `${counted(remote, "picture")} from elsewhere not loaded. ` : "";
  return make("div", "html", make("p", "note", `${note}Links are not followed: they tell where they lead.`), frame);
}

function preview(part) {
  if (!isPicture(part)) return make("span", { class: "kind", "aria-hidden": "true" }, part.name.split(".").at(-1).slice(0, 4));
  const place = URL.createObjectURL(new Blob([part.bytes], { type: part.type }));
  const picture = make("img", { src: place, alt: "" });
  picture.addEventListener("load", () => URL.revokeObjectURL(place));
  return picture;
}

const actions = (part, open) => [
  button("Save", () => save(part.name, part.fileBytes()), `Save ${part.name}`),
  part.isMessage ? button("Open", () => open(part), `Open ${part.name}`) : undefined,
];

export function filesView({ mail, open }) {
  const files = [...mail.attachments, ...mail.inlineParts];
  if (files.length === 0) return nothing("Nothing is attached.");
  return make("ul", "files", ...files.map((part) =>
    make("li", {}, preview(part),
      make("span", "name", make("bdi", {}, part.name), make("small", {}, `${part.type}, ${sizeText(part.bytes.length)}${part.isAttachment ? "" : ", shown in the mail"}`)),
      ...actions(part, open))));
}

const fields = (headers) =>
  make("table", "fields", make("tbody", {}, ...headers.map(({ name, value }) =>
    make("tr", {}, make("th", { scope: "row" }, name), make("td", { dir: "auto" }, value)))));

export const headersView = ({ mail }) => fields(mail.headers);

function partDetails(part, open) {
  const about = [part.type, part.charset, part.encoding, part.isMultipart ? counted(part.children.length, "part") : sizeText(part.bytes.length)];
  const box = make("div", "details",
    make("p", {}, make("b", {}, part.path || "The mail itself"), `: ${about.filter(Boolean).join(", ")} `, ...(part.isMultipart ? [] : actions(part, open))),
    fields(part.headers));
  if (part.isText) box.append(make("pre", { class: "text", dir: "auto" }, readable(part.text)));
  return box;
}

export function partsView({ mail, open }) {
  const details = make("div", { "aria-live": "polite" });
  const parts = mail.parts();
  const items = parts.map((part, i) =>
    make("li", { role: "treeitem", class: "item", tabindex: i ? -1 : 0, "aria-level": part.depth + 1, "aria-selected": "false", style: `--depth: ${Math.min(part.depth, 12)}` },
      make("span", "type", part.type), ...(part.isMultipart ? [] : [make("bdi", "name", part.declaredName && part.name)])));
  const tree = make("ul", { role: "tree", class: "tree", "aria-label": "Parts" }, ...items);
  const choose = (item) => {
    for (const other of items) other.setAttribute("aria-selected", other === item);
    details.replaceChildren(partDetails(parts[items.indexOf(item)], open));
  };
  walkable(tree, () => items, "vertical", choose);
  choose(items[0]);
  return make("div", "parts", tree, details);
}

async function explanation(details, kind) {
  const { explanation: text, reference } = await explain(kind);
  details.append(make("p", {}, text, " ", make("i", {}, reference)));
}

function finding({ severity, message, kind, id, line, part, more }) {
  const place = [part && `part ${part}`, line && `line ${line}`, more && `${more} more like it`].filter(Boolean).join(", ");
  const details = make("details", {}, make("summary", {}, kind, make("small", {}, ` ${id}`)));
  details.addEventListener("toggle", () => explanation(details, kind), { once: true });
  return make("li", severity, make("b", "severity", severity), make("p", {}, message, make("small", {}, ` ${place}`)), details);
}

export function findingsView({ findings }) {
  if (findings.length === 0) return nothing("Nothing is wrong with this mail.");
  const order = ["critical", "warning", "info"];
  const sorted = [...findings].sort((a, b) => order.indexOf(a.severity) - order.indexOf(b.severity));
  return make("ul", "findings", ...sorted.map(finding));
}

// SPDX-License-Identifier: Apache-2.0
// The page: files in, a list of their messages, and the chosen one in its views.

import { load, mbox, parse } from "../package/index.js";
import { walkable } from "./keys.js";
import { counted, filesView, findingsView, headersView, htmlView, make, partsView, save, textView } from "./views.js";

const at = (id) => document.getElementById(id);
const [list, tabs, view, status] = ["list", "tabs", "view", "status"].map(at);

const say = (sentence) => (status.textContent = sentence);

let messages = []; // bytes of the mails in the list
let shown; // { mail, findings, open, outer }

// -- A mail

const VIEWS = [
  { name: "HTML", make: htmlView, isThere: ({ mail }) => mail.html !== "" },
  { name: "Text", make: textView, isThere: ({ mail }) => mail.text !== "" },
  { name: "Attachments", make: filesView, count: ({ mail }) => mail.attachments.length + mail.inlineParts.length },
  { name: "Header", make: headersView, count: ({ mail }) => mail.headers.length },
  { name: "Parts", make: partsView, count: ({ mail }) => mail.parts().length },
  { name: "Findings", make: findingsView, count: ({ findings }) => findings.length, level: ({ findings }) => worst(findings) },
];

const worst = (findings) => ["critical", "warning", "info"].find((level) => findings.some(({ severity }) => severity === level));

const tabItems = () => [...tabs.children];

function showView(tab) {
  for (const other of tabItems()) other.setAttribute("aria-selected", other === tab);
  view.setAttribute("aria-labelledby", tab.id);
  view.replaceChildren(VIEWS[tab.dataset.view].make(shown));
}

function showTabs() {
  const there = VIEWS.filter(({ isThere }) => !isThere || isThere(shown));
  tabs.replaceChildren(...there.map(({ name, count, level }, i) => {
    const place = VIEWS.findIndex((one) => one.name === name);
    const number = count?.(shown);
    const badge = number ? make("span", `badge ${level?.(shown) ?? ""}`, number.toLocaleString("en")) : undefined;
    return make("button", { type: "button", role: "tab", class: "item", id: `tab-${name}`, "aria-controls": "view", tabindex: i ? -1 : 0, "data-view": place }, name, badge);
  }));
  showView(tabs.firstChild);
}

const moment = new Intl.DateTimeFormat(undefined, { dateStyle: "full", timeStyle: "short" });
const day = new Intl.DateTimeFormat(undefined, { dateStyle: "medium" });

function showWho({ mail }) {
  const rows = [["From", mail.from], ["To", mail.to], ["Cc", mail.cc], ["Date", mail.date ? moment.format(mail.date) : ""]];
  at("who").replaceChildren(...rows.filter(([, value]) => value?.length > 0).flatMap(([name, value]) =>
    [make("dt", {}, name), make("dd", {}, make("bdi", {}, `${value}`))]));
}

function show(mail, outer) {
  shown = { mail, findings: mail.findings, outer, open: (part) => attempt(() => show(part.message(), shown)) };
  at("mail").hidden = false;
  at("subject").textContent = mail.subject || "(no subject)";
  document.title = `${mail.subject || "A mail"} - mimetree`;
  at("back").hidden = !outer;
  at("back").textContent = outer ? `Back to ${outer.mail.subject || "the outer mail"}` : "";
  showWho(shown);
  showTabs();
  const wrong = shown.findings.filter(({ severity }) => severity !== "info").length;
  say(`${mail.subject || "A mail"}: ${counted(mail.attachments.length, "attachment")}, ${wrong ? counted(wrong, "fault") : "no fault"} found`);
  if (outer) at("subject").focus();
}

/** Does what may fail at a mail, and says so. */
async function attempt(call) {
  try {
    await call();
  } catch (error) {
    say(error.code ? `That cannot be read: ${error.message}.` : `${error}`);
    status.classList.add("wrong");
  }
}

walkable(tabs, tabItems, "horizontal", showView);
at("back").addEventListener("click", () => {
  show(shown.outer.mail, shown.outer.outer);
  at("subject").focus();
});
at("save").addEventListener("click", () => save(`${shown.mail.subject.replace(/[^\p{L}\p{N}]+/gu, " ").trim().slice(0, 60) || "mail"}.eml`, shown.mail.source ?? shown.mail.write()));

// -- The list

const listItems = () => [...list.children];

function showMessage(item) {
  for (const other of list.querySelectorAll("[aria-selected=true]")) other.setAttribute("aria-selected", "false");
  item.setAttribute("aria-selected", "true");
  status.classList.remove("wrong");
  attempt(async () => show(await parse(messages[item.dataset.at])));
}

async function row(bytes, place) {
  let about;
  try {
    const mail = await parse(bytes);
    const { first } = mail.from;
    about = [mail.subject || "(no subject)", first.name || first.address, mail.date ? day.format(mail.date) : ""];
    mail.dispose();
  } catch (error) {
    about = ["(no mail)", error.message, ""];
  }
  const [subject, from, date] = about;
  return make("li", { role: "option", class: "item", tabindex: place ? -1 : 0, "aria-selected": "false", "data-at": place },
    make("bdi", "subject", subject), make("bdi", "from", from), make("span", "date", date));
}

const nextFrame = () => new Promise((resolve) => setTimeout(resolve));

/** Fills the list in slices, between which the page answers. */
async function fillList() {
  list.replaceChildren();
  const mine = messages;
  let slice = performance.now();
  for (const [place, bytes] of mine.entries()) {
    list.append(await row(bytes, place));
    if (place === 0) {
      list.firstChild.setAttribute("aria-selected", "true");
      list.firstChild.focus();
    }
    if (performance.now() - slice < 40) continue;
    at("count").textContent = `${counted(place + 1, "message")} of ${mine.length.toLocaleString("en")}`;
    await nextFrame();
    if (messages !== mine) return;
    slice = performance.now();
  }
  at("count").textContent = counted(mine.length, "message");
}

walkable(list, listItems, "vertical", showMessage);

// -- Files

/** The mails of a file. */
async function mailsOf(file) {
  const bytes = new Uint8Array(await file.arrayBuffer());
  try {
    (await parse(bytes)).dispose();
    return [bytes];
  } catch (error) {
    if (error.code !== "IS_MBOX") throw new Error(`${file.name}: ${error.message}`, { cause: error });
  }
  const box = await mbox(bytes);
  const mails = Array.from(box.raw(), (raw) => raw.bytes);
  box.dispose();
  return mails;
}

async function openFiles(files) {
  status.classList.remove("wrong");
  say("Reading...");
  const read = await Promise.allSettled([...files].map(mailsOf));
  const failed = read.find(({ status: is }) => is === "rejected");
  const found = read.flatMap(({ value }) => value ?? []);
  if (found.length === 0) throw failed.reason;
  messages = found;
  document.body.className = found.length > 1 ? "many" : "one";
  at("welcome").hidden = true;
  at("messages").hidden = found.length === 1;
  show(await parse(found[0]));
  if (found.length > 1) await fillList();
  else at("subject").focus();
  if (failed) throw failed.reason;
}

const open = (files) => files.length > 0 && attempt(() => openFiles(files));

at("files").addEventListener("change", (event) => open(event.target.files));
document.addEventListener("dragover", (event) => {
  event.preventDefault();
  document.body.classList.add("dragged");
});
document.addEventListener("dragleave", (event) => event.relatedTarget ?? document.body.classList.remove("dragged"));
document.addEventListener("drop", (event) => {
  event.preventDefault();
  document.body.classList.remove("dragged");
  open(event.dataTransfer.files);
});

// -- The engine, which stands in the page

async function unpacked(element) {
  const packed = Uint8Array.from(atob(element.textContent), (byte) => byte.charCodeAt(0));
  element.remove();
  return new Response(new Blob([packed]).stream().pipeThrough(new DecompressionStream("gzip"))).arrayBuffer();
}

await attempt(async () => load(await unpacked(at("engine"))));
document.body.dataset.ready = "";

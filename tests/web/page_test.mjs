// SPDX-License-Identifier: Apache-2.0
// The page in a browser: it shows what the package says, of the sample mails; of hostile ones nothing
// runs and nothing is fetched; and hands without a mouse reach everything.

import assert from "node:assert/strict";
import { existsSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, test } from "node:test";
import { pathToFileURL } from "node:url";

import { built, fetched, mimetree, root, samples } from "./support.mjs";

const driver = await fetched("puppeteer-core");
const browserAt = "/usr/bin/chromium";
if (!driver || !existsSync(browserAt)) {
  console.log("skipped: no puppeteer-core in build/web/fetched, or no chromium");
  process.exit(77);
}

const FLAGS = "--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking --disable-component-update --disable-sync";
const profile = mkdtempSync(path.join(tmpdir(), "mimetree-"));
const browser = await driver.launch({ executablePath: browserAt, userDataDir: profile, args: FLAGS.split(" ") });
after(async () => {
  await browser.close();
  rmSync(profile, { recursive: true, force: true });
});

/** A page with what it asked for and what ran that should not. */
async function opened({ scheme = "light", width = 1100 } = {}) {
  const page = await browser.newPage();
  await (await page.createCDPSession()).send("Browser.setDownloadBehavior", { behavior: "deny" });
  const asked = [];
  await page.setRequestInterception(true);
  page.on("request", (request) => {
    asked.push(request.url());
    request.continue();
  });
  page.on("dialog", (dialog) => asked.push(`dialog ${dialog.message()}`) && dialog.dismiss());
  page.on("pageerror", (error) => asked.push(`error ${error.message}`));
  await page.setViewport({ width, height: 800 });
  await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
  await page.goto(pathToFileURL(path.join(built, "mimetree.html")).href);
  await page.waitForSelector("body[data-ready]");
  const read = async (...files) => {
    await page.evaluate(() => (document.getElementById("status").textContent = ""));
    await (await page.$("#files")).uploadFile(...files);
    await page.waitForFunction(() => !/^(Reading\.\.\.)?$/.test(document.getElementById("status").textContent));
  };
  return { page, read, outside: () => asked.filter((url) => !/^(file|data|blob):/.test(url)) };
}

const texts = (page, selector) => page.$$eval(selector, (found) => found.map((one) => one.textContent));
const focused = (page) => page.evaluate(() => document.activeElement.textContent);
const hostile = readdirSync(path.join(root, "tests/web/hostile")).map((name) => path.join(root, "tests/web/hostile", name));

test("what the package says of a mail is shown", async () => {
  const { page, read, outside } = await opened();
  for (const file of [...hostile, ...samples.filter((_, i) => i % 3 === 0)]) {
    const mail = await mimetree.parse(readFileSync(file));
    await read(file);
    assert.deepEqual(await texts(page, "#subject"), [mail.subject || "(no subject)"], file);
    const tabs = await texts(page, "[role=tab]");
    const views = { html: mail.html, text: mail.text };
    assert.deepEqual(tabs.filter((tab) => tab.toLowerCase() in views).map((tab) => tab.toLowerCase()), Object.keys(views).filter((name) => views[name]), file);
    for (const tab of tabs.map((name) => name.replace(/\d+$/, ""))) {
      await page.click(`#tab-${tab}`);
      if (tab === "Text") assert.equal((await texts(page, ".text"))[0], mail.text);
      if (tab === "Parts") assert.deepEqual(await texts(page, ".tree .type"), mail.parts().map(({ type }) => type));
      if (tab === "Header") assert.deepEqual(await texts(page, "td"), mail.headers.map(({ value }) => value));
      if (tab === "Findings") assert.equal((await texts(page, ".findings > li")).length, mail.findings.length);
      if (tab === "Attachments") assert.deepEqual(await texts(page, ".files bdi"), [...mail.attachments, ...mail.inlineParts].map(({ name }) => name));
    }
    assert.deepEqual(outside(), [], file);
  }
  await page.close();
});

test("nothing of a hostile mail runs or is fetched", async () => {
  const { page, read, outside } = await opened();
  for (const file of hostile) {
    await read(file);
    const frame = page.frames().find((one) => one !== page.mainFrame());
    const box = await (await page.$("iframe")).boundingBox();
    for (let y = 10; y < 200; y += 25) await page.mouse.click(box.x + 60, box.y + y); // links, buttons
    await page.click("#tab-Attachments");
    for (const button of await page.$$("[aria-label^=Save]")) await button.click();
    assert.equal(await page.evaluate(() => window.hit), undefined, file);
    assert.match(await page.title(), / - mimetree$/);
    assert.deepEqual([outside(), page.url(), browser.targets().filter((one) => one.type() === "page").length > 2], [[], page.url(), false], file);
    assert.equal(frame.url(), "about:srcdoc");
  }
  await page.close();
});

test("keys reach everything, and what has the focus is seen", async () => {
  const { page, read } = await opened();
  const walk = async (...keys) => {
    for (const key of keys) await page.keyboard.press(key);
    assert.notEqual(await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle), "none", keys.join());
  };
  await read(path.join(root, "examples/mails/archive.mbox"), path.join(root, "examples/mails/trip.eml"));
  await page.waitForFunction(() => document.getElementById("count").textContent === "3 messages");
  await walk("ArrowDown", "End");
  await page.waitForFunction(() => document.getElementById("subject").textContent.startsWith("Our trip"));
  await walk("Tab", "Tab");
  assert.equal(await focused(page), "HTML");
  await walk("ArrowRight", "ArrowRight");
  assert.match(await focused(page), /^Attachments/);
  await walk("End", "ArrowLeft", "Tab", "Tab");
  assert.equal(await focused(page), "multipart/mixed");
  await walk("End");
  assert.match((await texts(page, "[role=treeitem][aria-selected=true]"))[0], /^message\/rfc822/);
  await walk("Tab", "Tab", "Enter");
  await page.waitForFunction(() => document.getElementById("subject").textContent === "Your tickets");
  assert.match((await texts(page, "#status"))[0], /^Your tickets: 0 attachments/);
  await page.click("#back");
  assert.match((await texts(page, "#subject"))[0], /^Our trip/);
  const unnamed = await page.$$eval("button:not([hidden]), input, iframe, [role]", (all) =>
    all.filter((one) => !(one.ariaLabel || one.title || one.textContent.trim() || one.labels?.length || one.getAttribute("aria-labelledby") || one.id === "status")).length);
  assert.equal(unnamed, 0);
  await page.close();
});

test("what is no mail is said, and the page goes on", async () => {
  const { page, read } = await opened();
  await read(path.join(root, "examples/mails/logo.png"));
  assert.match((await texts(page, "#status"))[0], /logo\.png: not a mail/);
  await read(samples[0]);
  assert.equal(await page.$eval("#mail", (mail) => mail.hidden), false);
  await page.close();
});

test("it fits dark rooms and narrow screens", async () => {
  const pictures = path.join(built, "screenshots");
  mkdirSync(pictures, { recursive: true });
  const grounds = new Set();
  for (const [scheme, width] of [["light", 1100], ["dark", 1100], ["light", 390], ["dark", 390]]) {
    const { page, read } = await opened({ scheme, width });
    await read(path.join(root, "examples/mails/trip.eml"));
    for (const tab of ["HTML", "Attachments", "Header", "Parts", "Findings"]) {
      await page.click(`#tab-${tab}`);
      assert.ok((await page.evaluate(() => document.documentElement.scrollWidth)) <= width, `${tab}, ${width}`);
      await page.screenshot({ path: path.join(pictures, `${tab}-${scheme}-${width}.png`) });
    }
    grounds.add(await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
    await page.close();
  }
  assert.equal(grounds.size, 2);
});

// SPDX-License-Identifier: Apache-2.0
// HTML of a mail as a document for a frame.  The frame's sandbox and the policy are what nothing gets
// past; what would only be refused there is taken out here, so that pictures are in their places and
// links tell where they lead.

const FRAME_POLICY = "default-src 'none'; img-src data:; style-src 'unsafe-inline'; form-action 'none'; base-uri 'none'";

const NOT_SHOWN = "script, noscript, template, iframe, frame, frameset, object, embed, applet, portal, link, meta, base, audio, video, dialog";

// What may name something elsewhere.
const ADDRESSES = /^(src|srcset|imagesrcset|href|xlink:href|background|poster|action|formaction|ping|data|cite|longdesc|lowsrc|dynsrc|manifest|codebase|classid|profile|usemap|http-equiv)$/;

const PICTURES = /^image\/(png|jpeg|gif|webp|bmp|avif)$/;

export const isPicture = (part) => PICTURES.test(part.type);

function dataOf(part) {
  const { bytes } = part;
  let text = "";
  for (let at = 0; at < bytes.length; at += 0x8000) text += String.fromCharCode(...bytes.subarray(at, at + 0x8000));
  return `data:${part.type};base64,${btoa(text)}`;
}

/** The picture that a cid: names; undefined when there is none in the mail. */
function pictureOf(address, mail) {
  let cid;
  try {
    cid = decodeURIComponent(address);
  } catch {
    cid = address;
  }
  const part = mail.partByCid(cid) ?? mail.partByCid(address);
  return part && isPicture(part) ? dataOf(part) : undefined;
}

const withPictures = (style, mail) => style.replace(/cid:[^"')\s]+/gi, (cid) => pictureOf(cid, mail) ?? "data:,");

/** What stands for an address of the mail: an attribute's new value, or undefined. */
function allowed(element, name, value, mail) {
  const address = value.trim();
  if (/^cid:/i.test(address)) return pictureOf(address, mail);
  if (element.localName === "img" && name === "src" && /^data:image\//i.test(address)) return address;
  return name === "href" && /^#[\w-]+$/.test(address) && element.localName === "a" ? address : undefined;
}

/** @returns the document, and how many pictures from elsewhere it has */
export function framed(mail) {
  const page = new DOMParser().parseFromString(mail.html, "text/html");
  let remote = 0;
  for (const element of page.querySelectorAll(NOT_SHOWN)) element.remove();
  for (const element of page.querySelectorAll("*")) {
    for (const { name, value } of [...element.attributes]) {
      const attribute = name.toLowerCase();
      if (attribute.startsWith("on")) element.removeAttribute(name);
      if (attribute === "style") element.setAttribute(name, withPictures(value, mail));
      if (!ADDRESSES.test(attribute)) continue;
      const kept = allowed(element, attribute, value, mail);
      if (kept !== undefined) element.setAttribute(name, kept);
      else element.removeAttribute(name);
      if (kept === undefined && attribute === "href") element.setAttribute("title", value);
      if (kept === undefined && attribute === "src") ++remote;
    }
    if (element.localName === "style") element.textContent = withPictures(element.textContent, mail);
  }
  const policy = page.createElement("meta");
  policy.httpEquiv = "Content-Security-Policy";
  policy.content = FRAME_POLICY;
  const style = page.createElement("style");
  style.textContent = "body { font: 16px/1.5 system-ui, sans-serif; overflow-wrap: break-word } a[title] { text-decoration: underline; cursor: help } img { max-width: 100% }";
  page.head.prepend(policy, style);
  return { html: `<!doctype html>${page.documentElement.outerHTML}`, remote };
}

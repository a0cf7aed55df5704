// SPDX-License-Identifier: Apache-2.0
// What mimetree throws.

// By the number of the library's mt_code.
const CODES = ["OK", "OUT_OF_MEMORY", "IO", "NOT_MAIL", "IS_MBOX", "TOO_LARGE", "NOT_FOUND", "INVALID_ARGUMENT", "DAMAGED"];

export class MimetreeError extends Error {
  constructor(code, message) {
    super(message);
    this.name = "MimetreeError";
    this.code = typeof code === "number" ? CODES[code] : code;
  }
}

export const outOfMemory = () => new MimetreeError("OUT_OF_MEMORY", "out of memory");

// SPDX-License-Identifier: Apache-2.0
// The WebAssembly module: loading it, and what goes into its memory and out of it.

import { MimetreeError, outOfMemory } from "./errors.js";

/** The C interface, once load() is through. */
export let wasm;

let loading;
let heap = new Uint8Array();
let sizeAt;
const encoder = new TextEncoder();
const decoder = new TextDecoder("utf-8", { ignoreBOM: true });

// -- Loading

/**
 * Loads the module, once; every function that is asynchronous does so by itself.
 * @param source  its bytes or a WebAssembly.Module, where mimetree.wasm does not stand beside this file
 */
export function load(source) {
  loading ??= start(source).catch((error) => {
    loading = undefined;
    throw error;
  });
  return loading;
}

async function start(source) {
  const made = await WebAssembly.instantiate(source ?? (await fetched()), { env, wasi_snapshot_preview1: wasi });
  wasm = (made.instance ?? made).exports;
  wasm._initialize();
  sizeAt = wasm.malloc(8);
}

async function fetched() {
  const place = new URL("./mimetree.wasm", import.meta.url);
  if (place.protocol === "file:" && globalThis.process?.versions?.node) {
    const files = "node:fs/promises"; // bundlers for browsers shall not look for it
    return (await import(/* webpackIgnore: true */ /* @vite-ignore */ files)).readFile(place);
  }
  const answer = await fetch(place);
  if (!answer.ok) throw new Error(`${place}: ${answer.status}`);
  return answer.arrayBuffer();
}

// Clocks of browsers are coarse on purpose.  The digits that they leave are chance: Message-IDs are
// made of the time.
function nanoseconds() {
  const [chance] = crypto.getRandomValues(new Uint32Array(1));
  return BigInt(Date.now()) * 1000000n + BigInt(chance % 1000000);
}

const env = { emscripten_notify_memory_growth() {} };
const SUCCESS = 0;
const NO_SYSTEM_CALL = 52;

// What the standard library is linked with: there is a clock, and no files and no environment.
const wasi = {
  clock_time_get(clock, precision, at) {
    new DataView(wasm.memory.buffer).setBigUint64(at >>> 0, nanoseconds(), true);
    return SUCCESS;
  },
  environ_sizes_get(countAt, bytesAt) {
    const numbers = new DataView(wasm.memory.buffer);
    numbers.setUint32(countAt >>> 0, 0, true);
    numbers.setUint32(bytesAt >>> 0, 0, true);
    return SUCCESS;
  },
  environ_get: () => SUCCESS,
  fd_close: () => NO_SYSTEM_CALL,
  fd_seek: () => NO_SYSTEM_CALL,
  fd_write: () => NO_SYSTEM_CALL,
  proc_exit(status) {
    throw new Error(`mimetree ended with ${status}`);
  },
};

// -- Memory: addresses are unsigned, and a view is void once memory grew

function memory() {
  if (heap.buffer !== wasm.memory.buffer) heap = new Uint8Array(wasm.memory.buffer);
  return heap;
}

const sizeFound = () => new DataView(wasm.memory.buffer).getUint32(sizeAt, true);

/** The text at an address, to the NUL; undefined for none. */
export function textAt(address) {
  if (address === 0) return undefined;
  return decoder.decode(memory().subarray(address >>> 0, heap.indexOf(0, address >>> 0)));
}

/** A copy of bytes. */
export const bytesAt = (address, size) => memory().slice(address >>> 0, (address >>> 0) + size);

/** What `call` gives with the place for a size behind its arguments, as bytes, a copy. */
export function sizedBytes(call, ...given) {
  const address = call(...given, sizeAt);
  return address === 0 ? new Uint8Array() : bytesAt(address, sizeFound());
}

/** The same as a text; undefined for none. */
export function sizedText(call, ...given) {
  const address = call(...given, sizeAt) >>> 0;
  return address === 0 ? undefined : decoder.decode(memory().subarray(address, address + sizeFound()));
}

/** The same of what the caller has to free; an Error for none. */
export function ownBytes(call, ...given) {
  const address = check(call(...given, sizeAt));
  const bytes = bytesAt(address, sizeFound());
  wasm.mt_free(address);
  return bytes;
}

/** Puts bytes into memory, which the caller has to free there. */
export function put(bytes) {
  const address = wasm.malloc(bytes.length || 1) >>> 0;
  if (address === 0) throw outOfMemory();
  memory().set(bytes, address);
  return address;
}

// NUL ends a text there.
const ending = (text) => encoder.encode(`${String(text).replaceAll("\0", "\uFFFD")}\0`);

/** What `use` gives with the addresses of texts and bytes, which are there that long; 0 for none. */
export function lend(values, use) {
  const places = [];
  try {
    for (const value of values) {
      if (value === undefined || value === null) places.push(0);
      else places.push(put(value instanceof Uint8Array ? value : ending(value)));
    }
    return use(...places);
  } finally {
    for (const place of places) wasm.free(place);
  }
}

// -- Errors

/** The same handle; an Error for none. */
export function check(handle) {
  if (handle === 0) throw new MimetreeError(wasm.mt_last_error_code(), textAt(wasm.mt_last_error()));
  return handle;
}

/** An Error unless a code is MT_OK. */
export const checkCode = (code) => void check(code === 0 ? 1 : 0);

// -- What callers give

/** Bytes out of what holds some. */
export async function bytesOf(source) {
  return typeof source?.arrayBuffer === "function" ? new Uint8Array(await source.arrayBuffer()) : viewOf(source);
}

export function viewOf(source) {
  if (typeof source === "string") return encoder.encode(source);
  if (source instanceof ArrayBuffer) return new Uint8Array(source);
  if (ArrayBuffer.isView(source)) return new Uint8Array(source.buffer, source.byteOffset, source.byteLength);
  throw new TypeError("bytes are wanted: Uint8Array, ArrayBuffer, Blob or string");
}

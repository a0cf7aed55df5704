#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures the Python package beside Python's email, in one run: each mail is parsed, walked, and all
of it decoded, header fields, texts and bodies.  Prints the table of docs/python.md.

usage: python_compare.py [FOLDER...]

The mails are those in the folders, each by itself, and 5,000 generated ones out of an mbox.  Rounds are
interleaved; the table has medians of the processor's time.
"""

import email
import email.header
import email.policy
import gc
import pathlib
import statistics
import sys
import tempfile
import time

import mimetree

ROOT = pathlib.Path(__file__).resolve().parents[1]
ROUNDS = 3


def ours(data):
    size = 0
    for part in mimetree.parse(data):
        size += sum(len(field.value) for field in part.headers)
        size += len(part.text) if part.is_text else len(part.bytes)
    return size


def modern(data):
    size = 0
    for part in email.message_from_bytes(data, policy=email.policy.default).walk():
        size += sum(len(str(value)) for value in part.values())
        if not part.is_multipart():
            size += len(part.get_content())
    return size


def compat32(data):
    size = 0
    for part in email.message_from_bytes(data, policy=email.policy.compat32).walk():
        for value in part.values():
            size += len(str(email.header.make_header(email.header.decode_header(value))))
        if not part.is_multipart():
            body = part.get_payload(decode=True)
            if part.get_content_maintype() == "text":
                body = body.decode(part.get_content_charset("us-ascii"), "replace")
            size += len(body)
    return size


def measure(function, mails):
    """Seconds of the processor, and how many mails raised."""
    gc.collect()
    raised, begin = 0, time.process_time()
    for data in mails:
        try:
            function(data)
        except Exception:  # which each library raises its own of
            raised += 1
    return time.process_time() - begin, raised


def generated(count):
    sys.path.insert(0, str(ROOT / "bench"))
    import dask_scale

    with tempfile.TemporaryDirectory() as folder:
        dask_scale.generate(pathlib.Path(folder), count * 10 // 9)
        for path in sorted(pathlib.Path(folder).glob("*.mbox")):
            yield from (raw.bytes for raw in mimetree.Mbox(path).raw())


def main():
    sets = {"an mbox of 5,000": list(generated(5000))}
    for folder in map(pathlib.Path, sys.argv[1:]):
        sets[folder.name] = [path.read_bytes() for path in folder.rglob("*.eml")]
    readers = {"mimetree": ours, "email, default": modern, "email, compat32": compat32}
    print("| mails | MB | reader | ms a mail | MB/s | raised | times |\n|---|---|---|---|---|---|---|")
    for name, mails in sets.items():
        size = sum(map(len, mails)) / 1e6
        rounds = [{reader: measure(function, mails) for reader, function in readers.items()}
                  for _ in range(ROUNDS)]
        seconds = {reader: statistics.median(one[reader][0] for one in rounds) for reader in readers}
        for reader, took in seconds.items():
            print(f"| {name} ({len(mails)}) | {size:.1f} | {reader} | {1000 * took / len(mails):.3f} | "
                  f"{size / took:.1f} | {rounds[0][reader][1]} | {took / seconds['mimetree']:.1f} |", flush=True)


if __name__ == "__main__":
    main()

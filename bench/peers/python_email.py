#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Python's email package, measured as the libraries in peer.h are: parse, decode every leaf."""
import email
import email.policy
import os
import sys
import time


def read_mails(path):
    with open(path, "rb") as file:
        while size := file.readline():
            yield file.read(int(size))


def decoded(message):
    total = 0
    for part in message.walk():
        if part.is_multipart():
            continue
        data = part.get_payload(decode=True) or b""
        if part.get_content_maintype() == "text":
            charset = part.get_content_charset() or "us-ascii"
            data = data.decode(charset, "replace").encode("utf-8", "replace")
        total += len(data)
    return total


def one_pass(mails):
    return sum(decoded(email.message_from_bytes(mail, policy=email.policy.compat32)) for mail in mails)


for path in sys.argv[1:]:
    mails = list(read_mails(path))[:500]  # a folder's first 500 are enough for a rate
    total = one_pass(mails)
    if "MIMETREE_BENCH_ONCE" in os.environ:
        continue
    start, passes = time.process_time(), 0
    while (elapsed := time.process_time() - start) < 0.2:
        one_pass(mails)
        passes += 1
    rate = sum(map(len, mails)) * passes / elapsed / 1e6
    print("load", os.path.basename(path).split(".")[0], "%.2f" % rate, total, flush=True)

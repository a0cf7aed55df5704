#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads a generated archive by mimetree.dask on a scheduler and two worker processes, of which one is
killed in the middle, and compares the rows with those of a single process.

usage: dask_scale.py [MAILS [FOLDER]]      (100000, and a folder that goes afterwards)
"""

import base64
import collections
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

import dask
import distributed

import mimetree.dask

ROOT = pathlib.Path(__file__).resolve().parents[1]
FROM = b"From ann@example.org Thu Nov  1 12:34:56 2001\n"
# What cannot be read, and what looks like a mail's beginning inside of one.
ODD = [b"\n", b"\0\1\2\3" * 50, b"Content-Length: 61\nSubject: quoted\n\n" + FROM + b"Subject: no\n\n\n"]


def samples():
    for path in sorted(ROOT.glob("tests/samples/*/*.eml")) + sorted(ROOT.glob("examples/mails/*.eml")):
        data = path.read_bytes().replace(b"\r\n", b"\n")
        if len(data) < 20000 and not data.startswith(b"From "):
            yield data.replace(b"\nFrom ", b"\n>From ")


def with_attachment(dice):
    """A mail of a few kilobytes, as most are."""
    data = base64.encodebytes(dice.randbytes(dice.randrange(7000)))
    return (b"Message-ID: <%d@example.org>\nFrom: Ann <ann@example.org>\nTo: bob@example.com\n"
            b"Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\nDate: Thu, 1 Nov 2001 12:34:56 +0100\n"
            b"Content-Type: multipart/mixed; boundary=x\n\n--x\n\nSee the file.\n--x\n"
            b"Content-Type: application/pdf; name=report.pdf\nContent-Disposition: attachment\n"
            b"Content-Transfer-Encoding: base64\n\n%s--x--\n" % (dice.getrandbits(64), data))


def generate(folder, count):
    """Three mbox files and a Maildir with a tenth of the mails."""
    dice, mails = random.Random(1), list(samples())
    for name in ("cur", "new", "tmp"):
        (folder / "maildir" / name).mkdir(parents=True)
    boxes = [open(folder / f"{number}.mbox", "wb") for number in range(3)]
    for number in range(count):
        mail = b"X-Number: %d\n" % number + (dice.choice(mails) if number % 3 == 0 else with_attachment(dice))
        if number % 500 == 250:
            mail = dice.choice(ODD)
        if number % 10 == 9:
            (folder / "maildir/cur" / f"{number}:2,S").write_bytes(mail)
        else:
            boxes[dice.randrange(3)].write(FROM + mail + b"\n\n")
    for box in boxes:
        box.close()


def archive(folder, blocksize):
    return mimetree.dask.read_mails([folder / "*.mbox", folder / "maildir"], blocksize)


def start(*command):
    return subprocess.Popen([sys.executable, "-m", *command], stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def on_workers(folder, blocksize):
    """The rows, the seconds, and how many blocks were lost; one worker is killed when a third of all
    are done."""
    port = str(random.randrange(20000, 60000))
    server = "tcp://127.0.0.1:" + port
    scheduler = start("distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", port, "--no-dashboard")
    workers = [start("distributed.cli.dask_worker", server, "--no-nanny", "--nthreads", "1", "--no-dashboard")
               for _ in range(2)]
    try:
        client = distributed.Client(server, timeout=120)
        client.wait_for_workers(2, timeout=120)
        begin = time.monotonic()
        futures = client.compute(archive(folder, blocksize).to_delayed())
        while sum(future.done() for future in futures) < len(futures) / 3:
            time.sleep(0.01)
        workers[0].send_signal(signal.SIGKILL)
        while len(client.scheduler_info()["workers"]) > 1:
            time.sleep(0.01)
        lost = sum(not future.done() for future in futures)
        rows = [row for rows in client.gather(futures) for row in rows]
        seconds = time.monotonic() - begin
        client.close()
        return rows, seconds, len(futures), lost
    finally:
        for process in [*workers, scheduler]:
            process.kill()
            process.wait()


def main(count=100000, folder=None):
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(folder or temporary)
        generate(folder, int(count))
        size = sum(path.stat().st_size for path in folder.rglob("*") if path.is_file())
        blocksize = max(1000, size // 60)
        begin, processor = time.monotonic(), time.process_time()
        with dask.config.set(scheduler="synchronous"):
            alone = archive(folder, size).compute()
        seconds, processor = time.monotonic() - begin, time.process_time() - processor
        print(f"one process: {len(alone)} rows of {size / 1e6:.0f} MB in {seconds:.1f} s, "
              f"{processor:.1f} s of the processor")
        rows, seconds, blocks, lost = on_workers(folder, blocksize)
        print(f"two workers, one killed: {len(rows)} rows in {seconds:.1f} s; {blocks} blocks of "
              f"{blocksize} bytes, of which {lost} were not there after its end")
        errors = collections.Counter((row["error"] or "").partition(":")[0] for row in rows)
        print("rows with an error:", {name: number for name, number in errors.items() if name})
        if len(alone) != int(count) or rows != alone:
            sys.exit("the rows differ")
        print("the rows are the same")


if __name__ == "__main__":
    main(*sys.argv[1:])

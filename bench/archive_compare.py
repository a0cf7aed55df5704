#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures the program over an archive beside other programs, and writes the section "Archives" of
docs/benchmarks.md.

usage: archive_compare.py PROGRAM DOCS_DIR [WORK_DIR]

Makes an mbox of MAILS mails (default 100,000, about 1.3 GB; always the same) and the same as a
Maildir in WORK_DIR, which keeps them for the next run, or in a temporary folder. Each command runs
ROUNDS times (default 3), in turn with the others; the best counts, as what else a machine does only
ever costs. What takes a process a mail, and Python, is measured over the first SAMPLE mails (default
2,000). With SHOW=1 the section is printed and nothing written.
"""
import base64
import dataclasses
import datetime
import os
import pathlib
import quopri
import random
import re
import shutil
import subprocess
import sys
import tempfile

import sections
from libraries import processor

MAILS = int(os.environ.get("MAILS", "100000"))
SAMPLE = min(MAILS, int(os.environ.get("SAMPLE", "2000")))
ROUNDS = int(os.environ.get("ROUNDS", "3"))
WORDS = ("the of report meeting invoice please find attached regards plan budget week project "
         "team review draft agenda number total Straße café résumé привет 会議 資料").split()
SCRIPT = pathlib.Path(__file__).parent / "peers" / "email" / "read_archive.py"
NOTE = """\
Written by `make bench-archive`: %s generated mails, %s MB, as an mbox and as a Maildir; %s, %d cores of an
%s, the best of %d runs; CPU is user and system time for a thousand mails. Two mails in five are plain text, the others have HTML beside it, and a fifth have a file; most texts
are encoded.

Rows with a star are of the first %s mails: ripmime, munpack and mshow take a process a mail, and Python its
time. A dry run of `extract` decodes all files and names them, but writes none. `show` has HTML in it where a
mail has nothing else; `mu view` and `mshow` show what is plain.
"""


# -- The archive

def text_of(rand, size):
    words, length = [], 0
    while length < size:
        word = rand.choice(WORDS)
        words.append(word + ("\n" if rand.random() < 0.1 else " "))
        length += len(word) + 1
    return "".join(words) + "\n"


def leaf(content_type, coding, body, more=""):
    return (f"Content-Type: {content_type}\nContent-Transfer-Encoding: {coding}\n{more}\n"
            .encode() + body)


def text_leaf(rand, size, subtype="plain"):
    text = text_of(rand, size)
    if subtype == "html":
        text = "<html><body><p>" + text.replace("\n", "</p>\n<p>") + "</p></body></html>\n"
    if rand.random() < 0.4:
        text = text.encode("ascii", "ignore").decode()
        return leaf(f"text/{subtype}; charset=us-ascii", "7bit", text.encode())
    content_type = f"text/{subtype}; charset=utf-8"
    if rand.random() < 0.7:
        return leaf(content_type, "quoted-printable", quopri.encodestring(text.encode()))
    return leaf(content_type, "base64", base64.encodebytes(text.encode()))


def multipart(rand, subtype, parts):
    mark = "=_%016x" % rand.getrandbits(64)
    return (f"Content-Type: multipart/{subtype}; boundary=\"{mark}\"\n\n".encode() +
            b"".join(f"--{mark}\n".encode() + part + b"\n" for part in parts) +
            f"--{mark}--\n".encode())


class Pool:
    """Texts and encoded bytes to choose from: making new ones for each mail would take an hour."""

    def __init__(self):
        rand = random.Random(0)
        self.plain = [text_leaf(rand, int(rand.lognormvariate(7, 1))) for _ in range(500)]
        self.html = [text_leaf(rand, int(rand.lognormvariate(8, 1)), "html") for _ in range(500)]
        self.lines = base64.encodebytes(rand.randbytes(8 << 20))  # of 77 bytes

    def file(self, rand, number):
        kind, ending = rand.choice([("application/pdf", "pdf"), ("image/jpeg", "jpg"),
                                    ("application/zip", "zip")])
        size = 77 * int(1 + rand.lognormvariate(9.4, 1) / 57)
        at = 77 * rand.randrange(50_000)
        return leaf(kind, "base64", self.lines[at:at + size],
                    f"Content-Disposition: attachment; filename=\"file-{number}.{ending}\"\n")


def mail_of(number, pool):
    rand = random.Random(number)
    sender = f"user{int(rand.paretovariate(0.8)) % 5000}@example.org"
    subject = base64.b64encode(" ".join(rand.choices(WORDS, k=5)).encode()).decode()
    clock = f"{number // 3600 % 24:02}:{number // 60 % 60:02}:{number % 60:02}"
    head = (f"Return-Path: <{sender}>\n"
            f"Received: from a.example.org by b.example.org; Thu, 1 Nov 2001 {clock} +0000\n"
            f"From: {sender}\nTo: list@example.org\nSubject: =?utf-8?B?{subject}?=\n"
            f"Date: Thu, 1 Nov 2001 12:34:56 +0100\nMessage-ID: <{number}@example.org>\n"
            "MIME-Version: 1.0\n").encode()
    body = rand.choice(pool.plain)
    if rand.random() < 0.6:
        body = multipart(rand, "alternative", [body, rand.choice(pool.html)])
    if rand.random() < 0.2:
        body = multipart(rand, "mixed", [body, pool.file(rand, number)])
    return head + body


@dataclasses.dataclass
class Archive:
    mbox: pathlib.Path
    maildir: pathlib.Path
    mails: int

    def size(self):
        return self.mbox.stat().st_size


def make(work, mails):
    """The mbox and the Maildir; what is there already is taken."""
    made = Archive(work / f"{mails}.mbox", work / f"{mails}.Maildir", mails)
    if made.maildir.exists():
        return made
    part, pool = work / "part", Pool()
    shutil.rmtree(part, ignore_errors=True)
    for sub in "cur", "new", "tmp":
        (part / sub).mkdir(parents=True)
    with made.mbox.open("wb") as box:
        for number in range(mails):
            mail = mail_of(number, pool)
            (part / "cur" / f"1.Q{number:08}.host:2,S").write_bytes(mail)
            mail = re.sub(rb"^(>*From )", rb">\1", mail, flags=re.M)
            box.write(b"From list@example.org Thu Nov  1 12:34:56 2001\n" + mail + b"\n")
    part.rename(made.maildir)
    return made


# -- The programs

@dataclasses.dataclass
class Row:
    what: str
    who: str
    archive: Archive
    where: str  # mbox or Maildir
    command: list
    names: bool = False  # of the files, on standard input
    real: float = float("inf")
    cpu: float = float("inf")
    peak: int = 0  # KiB

    def run(self, out):
        shutil.rmtree(out, ignore_errors=True)
        out.mkdir()
        with tempfile.TemporaryFile() as names:
            if self.names:
                names.write(b"".join(os.fsencode(f) + b"\0" for f in
                                     sorted((self.archive.maildir / "cur").iterdir())))
                names.seek(0)
            used = out / "used"
            subprocess.run(["time", "-o", used, "-f", "%e %U %S %M", *map(str, self.command)],
                           stdin=names, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        real, user, system, peak = used.read_text().split()[-4:]
        self.real = min(self.real, float(real))
        self.cpu = min(self.cpu, float(user) + float(system))
        self.peak = max(self.peak, int(peak))

    def cells(self):
        mails, star = self.archive.mails, " *" if self.archive.mails < MAILS else ""
        return [self.what, self.who + star, self.where, f"{mails / self.real:,.0f}",
                f"{self.archive.size() / self.real / 1e6:,.1f}", f"{self.cpu / mails * 1e6:,.0f}",
                f"{self.peak / 1000:,.0f}"]


def our_rows(program, work, whole, sample):
    none = ["-o", work / "none"]
    ours = [("json", ["--with", "text"]), ("check", []), ("grep", ["-c", "no such word"]),
            ("extract", ["--dry-run", *none]), ("stats", ["--json"]), ("show", [])]
    for name, options in ours:
        for where, path in ("mbox", whole.mbox), ("Maildir", whole.maildir):
            for jobs, label in (1, "1 job"), (2, "2 jobs"):
                shown = name + (", dry run" if name == "extract" else "")
                yield Row(shown, f"mimetree, {label}", whole, where,
                          [program, name, *options, "--jobs", jobs, path])
    yield Row("extract", "mimetree, 1 job", sample, "Maildir",
              [program, "extract", "-o", work / "out" / "ours", "--jobs", 1, sample.maildir])


def peer_rows(work, sample):
    out = work / "out"
    each, many = ["xargs", "-0", "-n", "1"], ["xargs", "-0", "-n", "500"]
    for what, who, command in [
            ("extract", "ripmime", [*each, "ripmime", "-d", out, "-i"]),
            ("extract", "munpack", [*each, "munpack", "-q", "-f", "-C", out]),
            ("show", "mu view", [*many, "mu", "view", "--nocolor"]),
            ("show", "mshow", [*each, "mshow"])]:
        if shutil.which(who.split()[0]):
            yield Row(what, who, sample, "Maildir", command, names=True)
    for name, what in ("grep", "grep"), ("extract", "extract, dry run"):
        for where, path in ("mbox", sample.mbox), ("Maildir", sample.maildir):
            yield Row(what, "Python's email", sample, where, [sys.executable, SCRIPT, name, path])


def section(rows, whole):
    head = ["what", "program", "archive", "mails/s", "MB/s", "CPU, ms", "peak, MB"]
    lines = [head, ["---"] * 3 + ["---:"] * 4, *(row.cells() for row in rows)]
    note = NOTE % (f"{MAILS:,}", f"{whole.size() / 1e6:,.0f}", datetime.date.today(), os.cpu_count(),
                   processor(), ROUNDS, f"{SAMPLE:,}")
    return f"## Archives\n\n{note}\n" + "".join("| " + " | ".join(line) + " |\n" for line in lines)


def main(program, docs, work):
    whole, sample = make(work, MAILS), make(work, SAMPLE)
    rows = sorted([*our_rows(program, work, whole, sample), *peer_rows(work, sample)],
                  key=lambda row: row.what)
    for _ in range(ROUNDS):
        for row in rows:
            row.run(work / "out")
    text = section(rows, whole)
    print(text)
    if not os.environ.get("SHOW"):
        sections.put(docs, "archives", text)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    PROGRAM, DOCS = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2])
    if len(sys.argv) == 4:
        pathlib.Path(sys.argv[3]).mkdir(exist_ok=True)
        main(PROGRAM, DOCS, pathlib.Path(sys.argv[3]).resolve())
    else:
        with tempfile.TemporaryDirectory() as folder:
            main(PROGRAM, DOCS, pathlib.Path(folder))

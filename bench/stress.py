#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Attacks this engine and other libraries with mail made to cost, and writes docs/robustness.md with
a plot of three attacks.

usage: stress.py BUILD_DIR DOCS_DIR

BUILD_DIR is that of `make bench`, whose programs load a mail, decode every leaf and end. Each
attack comes in three sizes, n, 2 n and 4 n; a run has LIMIT seconds of processor time (default 20).
This engine gets a stack of 256 KB, the others what the system gives (8 MB as a rule).
"""
import collections
import datetime
import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import time

from libraries import COLOURS, OURS, processor, program, there

LIMIT = int(os.environ.get("LIMIT", "20"))
SIZES = [256_000, 512_000, 1_024_000]
MULTIPART = 'Content-Type: multipart/mixed; boundary="%s"\r\n\r\n'


def repeated(unit, head="", tail=""):
    return lambda size: head + unit * ((size - len(head)) // len(unit)) + tail


def numbered(unit, head="", tail=""):
    """`unit` with every {0} replaced by the number of its repetition."""
    def make(size):
        parts, length, i = [head], len(head), 0
        while length < size:
            parts.append(unit.format(i))
            length += len(parts[-1])
            i += 1
        return "".join(parts) + tail
    return make


def closed_nest(size):
    levels = size // 90
    opened = "".join(MULTIPART % ("b%d" % i) + "--b%d\r\n" % i for i in range(levels))
    return opened + "x\r\n" + "".join("--b%d--\r\n" % i for i in reversed(range(levels)))


def dashes_below_nest(size):
    levels = size // 170
    head = "".join(MULTIPART % ("b%d%s" % (i, "x" * (i % 7))) + "--b%d%s\r\n" % (i, "x" * (i % 7))
                   for i in range(levels))
    return head + "-" * (size - len(head))


def growing_boundaries(size):
    levels = int(size ** 0.5) // 2
    head = "".join(MULTIPART % ("b" + "x" * (i % 60)) + "--b%s\r\n" % ("x" * (i % 60))
                   for i in range(levels))
    return head + ("--b" + "x" * 60 + "\r\n") * ((size - len(head)) // 65)


ATTACKS = {
    "parts nested in parts, closed": closed_nest,
    "parts nested in parts, never closed":
        numbered('Content-Type: multipart/mixed; boundary=b{0}\r\n\r\n--b{0}\r\n'),
    "signatures nested in signatures":
        numbered('Content-Type: multipart/signed; boundary=b{0}\r\n\r\n--b{0}\r\n'),
    "dashes below a nest": dashes_below_nest,
    "boundaries that are prefixes of one another": growing_boundaries,
    "empty parts": repeated("--b\r\n\r\n", MULTIPART % "b", "--b--\r\n"),
    "small parts": repeated("--b\r\nContent-Type: text/plain\r\n\r\nhello\r\n", MULTIPART % "b", "--b--\r\n"),
    "forwards in forwards": repeated("Content-Type: message/rfc822\r\n\r\n"),
    "header fields": numbered("X-{0}: y\r\n", "", "\r\nbody\r\n"),
    "one field of many folds": repeated(" folded\r\n", "Subject: x\r\n", "\r\nbody\r\n"),
    "addresses": repeated("a@b, ", "To: ", "c@d\r\n\r\nbody\r\n"),
    "comments in comments": repeated("(", "To: a@b ", "\r\n\r\nbody\r\n"),
    "quotes in a parameter": repeated('x "y', "Content-Type: text/plain; name=", "\r\n\r\nbody\r\n"),
    "parameters": numbered("; p{0}=v", "Content-Type: text/plain", "\r\n\r\nbody\r\n"),
    "pieces of one parameter": numbered("; name*{0}=v", "Content-Type: text/plain", "\r\n\r\nbody\r\n"),
    "encoded words": repeated("=?utf-8?Q?a?= ", "Subject: ", "\r\n\r\nbody\r\n"),
    "encoded words never ended": repeated("=?utf-8?Q?", "Subject: ", "\r\n\r\nbody\r\n"),
    "no line end at all": repeated("x"),
    "bare CR": repeated("A: 1\r", "", "\r\rbody\r"),
    "CR CR LF": repeated("A: 1\r\r\n", "", "\r\r\nbody\r\r\n"),
    "escapes": repeated("=3D", "Content-Transfer-Encoding: quoted-printable\r\n\r\n"),
    "soft breaks": repeated("=\r\n", "Content-Transfer-Encoding: quoted-printable\r\n\r\n"),
    "uuencoded lines": repeated("#86)C\r\n",
                                "Content-Transfer-Encoding: x-uuencode\r\n\r\nbegin 644 a\r\n", "`\r\nend\r\n"),
}
PLOTTED = ["parts nested in parts, never closed", "dashes below a nest", "quotes in a parameter"]
Run = collections.namedtuple("Run", "outcome seconds memory")


def limits(library):
    def apply():
        resource.setrlimit(resource.RLIMIT_CPU, (LIMIT, LIMIT + 1))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if library == OURS:
            resource.setrlimit(resource.RLIMIT_STACK, (256 << 10, 256 << 10))
    return apply


def run(build, library, path):
    """One mail in a process of its own. `time` starts it, being small: the peak memory of a process
    begins with that of the one that it was forked from."""
    with subprocess.Popen(["/usr/bin/time", "-f", "%M", *program(build, library), path],
                          preexec_fn=limits(library), stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                          env={**os.environ, "MIMETREE_BENCH_ONCE": "1"}, text=True) as process:
        said = process.stderr.read()
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    seconds, memory = used.ru_utime + used.ru_stime, int(said.split()[-1]) * 1024
    outcome = "ok" if status == 0 else "time" if seconds >= LIMIT - 1 else "crash"
    return Run(outcome, seconds, memory)


def attack(build, libraries, make, folder):
    """For each library, runs at the three sizes; none after one that failed."""
    files = []
    for size in SIZES:
        mail = make(size).encode("latin-1")
        files.append((len(mail), os.path.join(folder, "attack.%d" % size)))
        pathlib.Path(files[-1][1]).write_bytes(b"%d\n%s" % (len(mail), mail))
    result = {}
    for library in libraries:
        empty = run(build, library, "/dev/null")
        runs = []
        for size, path in files:
            one = run(build, library, path)
            runs.append((size, Run(one.outcome, max(0.0, one.seconds - empty.seconds),
                                   max(0, one.memory - empty.memory))))
            if one.outcome != "ok":
                break
        result[library] = runs
    return result


def cell(runs):
    texts = []
    for size, one in runs:
        texts.append("%.0f" % (one.seconds * 1e9 / size) if one.outcome == "ok"
                     else "**%s**" % {"time": "> %d s" % LIMIT, "crash": "crash"}[one.outcome])
    size, last = runs[-1]
    memory = " (%.1f x)" % (last.memory / size) if last.outcome == "ok" else ""
    return " / ".join(texts) + memory


def plot(results, libraries):
    """Seconds against size for three attacks, on logarithmic scales. Gives SVG text."""
    import math
    parts, left = [], 60
    for name in PLOTTED:
        parts.append('<text x="%d" y="24">%s</text>' % (left, name))
        for power in range(-3, 2):
            y = 240 - (power + 3) * 45
            parts.append('<text x="%d" y="%d" class="s" text-anchor="end">%g s</text>'
                         '<path d="M%d %dh240" stroke="#8884"/>' % (left - 6, y + 4, 10.0 ** power, left, y))
        for at, size in enumerate(SIZES):
            parts.append('<text x="%d" y="260" class="s" text-anchor="middle">%d KB</text>'
                         % (left + at * 120, size // 1000))
        for library in libraries:
            points = []
            for at, (_, one) in enumerate(results[name][library]):
                if one.outcome == "crash":
                    break
                points.append("%d,%.0f" % (left + at * 120,
                                           240 - (math.log10(max(one.seconds, 1e-3)) + 3) * 45))
                filled = COLOURS[library] if one.outcome == "ok" else "none"
                parts.append('<circle cx="%s" cy="%s" r="3" fill="%s" stroke="%s"/>'
                             % (*points[-1].split(","), filled, COLOURS[library]))
            parts.append('<polyline points="%s" fill="none" stroke="%s" stroke-width="2"/>'
                         % (" ".join(points), COLOURS[library]))
        left += 330
    for at, library in enumerate(libraries):
        parts.append('<text x="%d" y="284" style="fill:%s">%s</text>' % (60 + at * 110, COLOURS[library], library))
    return ('<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 1010 296" font-family="sans-serif" '
            'font-size="13">\n<style>text{fill:#777}.s{font-size:10px}</style>\n%s\n</svg>\n' % "\n".join(parts))


def page(results, libraries):
    rows = ["| attack | " + " | ".join(libraries) + " |", "| --- |" + " ---: |" * len(libraries)]
    for name, result in results.items():
        rows.append("| %s | %s |" % (name, " | ".join(cell(result[n]) for n in libraries)))
    return """# Robustness

Written by `make stress`: %s, on an %s. Each cell has the nanoseconds a byte at %s KB of the attack,
and in brackets the most memory at the last size, as a multiple of the input; a node of a tree takes
some hundred bytes, however few of the input made it. Steady numbers mean linear time; **crash** is a
process that was killed by its own fault (a full stack, mostly), and **> %d s** one that was stopped.
mimetree ran with a stack of 256 KB, the others with the system's.

![Time against size](robustness.svg)

In the plot, an open circle is a run that was stopped; what crashes is not there.

%s

What the engine promises, and which tests stand behind each promise, is in
[SECURITY.md](../SECURITY.md).
""" % (datetime.date.today(), processor(), ", ".join(str(s // 1000) for s in SIZES), LIMIT, "\n".join(rows))


def main(build, docs):
    libraries = there(build)
    results = {}
    with tempfile.TemporaryDirectory() as folder:
        for name, make in ATTACKS.items():
            start = time.time()
            results[name] = attack(build, libraries, make, folder)
            print("%-45s %5.1f s" % (name, time.time() - start), file=sys.stderr, flush=True)
    text = page(results, libraries)
    print(text)
    (pathlib.Path(docs) / "robustness.md").write_text(text)
    (pathlib.Path(docs) / "robustness.svg").write_text(plot(results, libraries))


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])

#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures this engine beside other libraries, in one run, and writes a section of
docs/benchmarks.md and its two charts.

usage: compare.py BUILD_DIR DOCS_DIR

Every round runs every program once on one core, so that what else the machine does falls on all
of them alike; the table has the medians of ROUNDS rounds (default 7). CORE is the core to pin to
(default: the last). QUICK=1: three rounds.
"""
import collections
import datetime
import json
import os
import pathlib
import statistics
import subprocess
import sys

import sections
from libraries import COLOURS, OURS, PEERS, processor, program, there

ROUNDS = 3 if os.environ.get("QUICK") else int(os.environ.get("ROUNDS", "7"))
CORE = os.environ.get("CORE", str((os.cpu_count() or 1) - 1))
# Without these, rates jump with the sizes of blocks freed before (malloc gives them back to the
# kernel, and large ones always), and with the distance of source and target ("rep movsb").
STEADY = {
    "GLIBC_TUNABLES": "glibc.malloc.mmap_max=0:"
    "glibc.malloc.trim_threshold=17179869184:glibc.cpu.x86_rep_movsb_threshold=1073741824"
}
# What does less than the others in a workload counts in no ratio there.
ALTERED = {"latin1_qp", "gb2312_qp", "sjis_b64", "iso2022jp_b64", "digest"}
LESS = {("mimetic", "load", name) for name in ALTERED} | {("vmime", "load", "digest")}
LESS |= {("mimetic", "write", name) for name in ALTERED | {"newsletter", "attach_10m"}}
CODERS = ["gmime", "glib", "modpbase64", "iconv", "icu"]
NOTES = """\
A rate in brackets is of a library that does less there, and counts in no ratio: mimetic converts no
charset, leaves a digest's messages closed, and writes encoded bodies back as it kept them; VMime
leaves a digest's messages closed; a coder gives up in the middle. mimetic checks no text either.
GMime, too, writes encoded bodies back as it kept them, but counts: here they are encoded anew.
Python's email is measured with its `compat32` policy, which reads only the fields that are asked for. GMime, libetpan and this engine open every message inside a message.
Rates count bytes of input, for loading and decoding every leaf and freeing the tree, or for writing
a loaded tree back."""


class Bench:
    def __init__(self, build):
        self.root, self.build = build, pathlib.Path(build) / "bench"
        self.mails = self.build / "mails"
        self.rates = collections.defaultdict(lambda: collections.defaultdict(list))

    def run(self, command, extra=None):
        done = subprocess.run(["taskset", "-c", CORE, *map(str, command)], capture_output=True,
                              text=True, env={**os.environ, **STEADY, **(extra or {})})
        if done.returncode:
            print("%s ended with status %d" % (command[0], done.returncode), file=sys.stderr)
        return done

    def program(self, name):
        return program(self.root, name)

    def libraries(self):
        return there(self.root)

    def measure(self):
        subprocess.run([self.build / "write_workloads", self.mails], check=True)
        files = sorted(self.mails.glob("*.mails"))
        for number in range(ROUNDS):
            print("round %d of %d" % (number + 1, ROUNDS), file=sys.stderr, flush=True)
            for library in self.libraries():
                for line in self.run([*self.program(library), *files]).stdout.splitlines():
                    work, name, rate, _ = line.split()
                    self.rates[work, name][library].append(float(rate))
            self.measure_coders()

    def measure_coders(self):
        """Who gives up before nine tenths are written does less than the others."""
        written = collections.defaultdict(dict)
        for line in self.run(self.program("coders")).stdout.splitlines():
            library, operation, rate, size = line.split()
            self.rates["codec", operation][library].append(float(rate))
            written[operation][library] = int(size)
        for operation, sizes in written.items():
            LESS.update((n, "codec", operation) for n in sizes if sizes[n] < 0.9 * sizes[OURS])

    def median(self, key):
        return {library: statistics.median(rates) for library, rates in self.rates[key].items()}

    def what(self, name):
        return (self.mails / (name + ".what")).read_text().strip()

    def peak_memory(self, name):
        """Peak resident size above that of an empty run, as a multiple of the input."""
        file, empty = self.mails / (name + ".mails"), self.mails / "empty.none"
        empty.write_text("")
        once = {"MIMETREE_BENCH_ONCE": "1"}

        def peak(library, path):
            command = ["/usr/bin/time", "-f", "%M", *self.program(library), path]
            return int(self.run(command, once).stderr.split()[-1]) * 1024

        return {n: (peak(n, file) - peak(n, empty)) / file.stat().st_size for n in self.libraries()}

    def benchmark(self, program):
        done = self.run([self.build / program, "--benchmark_format=json",
                         "--benchmark_min_warmup_time=0.05"])
        return json.loads(done.stdout)["benchmarks"]


def table(head, rows):
    def line(cells):
        return "| " + " | ".join(cells) + " |"

    return "\n".join([line(head), line(["---"] + ["---:"] * (len(head) - 1)), *map(line, rows)]) + "\n"


def number(value):
    return "-" if value is None else "%.2f" % value if value < 10 else "{:,.0f}".format(value)


def rate_rows(bench, work, names, peers, label):
    for name in names:
        rates = bench.median((work, name))
        if OURS not in rates:
            continue
        best = max((r for n, r in rates.items() if n != OURS and (n, work, name) not in LESS),
                   default=None)
        ratio = "%.1f" % (rates[OURS] / best) if best else "-"
        cells = [("(%s)" if (p, work, name) in LESS else "%s") % number(rates.get(p)) for p in peers]
        yield [label(name), number(rates[OURS]), *cells, ratio]


def growth_rows(results):
    """With the time a byte beside that of the second row, for the first is what a mail costs."""
    groups = collections.defaultdict(list)
    for result in results:
        groups[result["name"].split("/")[0]].append(result)
    for name, group in groups.items():
        times = [r["cpu_time"] / r["input"] for r in group]
        for result, time in zip(group, times):
            ratio = "%.1f" % (time / times[1]) if time is not times[0] else ""
            yield [name, "{:,}".format(int(result["name"].split("/")[1])),
                   "{:,.0f}".format(result["input"]), "%.2f" % time, ratio,
                   "%.2f" % result["peak/input"]]


def bar_chart(title, groups, colours):
    """Horizontal bars: groups is a list of (label, [(name, value)]). Gives SVG text."""
    left, width, bar, gap = 250, 480, 13, 12
    most = max(value for _, bars in groups for _, value in bars)
    parts, y = [], 46
    for label, bars in groups:
        middle = y + len(bars) * bar / 2 + 4
        parts.append('<text x="%d" y="%.0f" text-anchor="end">%s</text>' % (left - 10, middle, label))
        for name, value in bars:
            length = max(1.0, width * value / most)
            parts.append('<rect x="%d" y="%d" width="%.1f" height="%d" fill="%s"/>'
                         % (left, y, length, bar - 2, colours[name]))
            parts.append('<text x="%.1f" y="%d" class="value">%s %s</text>'
                         % (left + length + 5, y + bar - 4, name, number(value)))
            y += bar
        y += gap
    return ('<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 %d %d" font-family="sans-serif" '
            'font-size="12">\n<style>text{fill:#444}.value{font-size:10px}'
            '@media(prefers-color-scheme:dark){text{fill:#ccc}}</style>\n'
            '<text x="%d" y="22" font-size="15">%s</text>\n%s\n</svg>\n'
            % (left + width + 150, y, left, title, "\n".join(parts)))


CODER_COLOURS = {**COLOURS, "iconv": "#8b949e", "icu": "#57ab5a", "glib": "#b08800", "modpbase64": "#e0823d"}


def chart_groups(bench, work, names, label):
    """This engine and the three fastest of those that do all of it."""
    for name in names:
        rates = bench.median((work, name))
        others = [(n, r) for n, r in rates.items() if n != OURS and (n, work, name) not in LESS]
        yield label(name), [(OURS, rates[OURS])] + sorted(others, key=lambda item: -item[1])[:3]


def page(bench, loads, writes, codecs, memory, growth, allocations):
    peers = [p for p in PEERS if p in bench.libraries()]
    head = ["work", OURS, *peers, "to the fastest other"]
    return "\n".join([
        "Written by `make bench`: %s, one core of an %s; medians of %d rounds in which the programs "
        "took turns. MB/s.\n" % (datetime.date.today(), processor(), ROUNDS),
        NOTES + "\n",
        "![Loading](benchmarks-load.svg)\n", "## Loading\n",
        table(head, rate_rows(bench, "load", loads, peers, bench.what)), "## Writing back\n",
        table(head, rate_rows(bench, "write", writes, peers, bench.what)),
        "## Transfer codings and charsets\n", "![Coders](benchmarks-coders.svg)\n",
        table(["coder", OURS, *CODERS, "to the fastest other"],
              rate_rows(bench, "codec", codecs, CODERS, str)),
        "## Memory\n", "Peak above an empty run, as a multiple of the input:\n",
        table(["mail", *bench.libraries()],
              [[bench.what(n), *("%.2f" % peak[p] for p in bench.libraries())]
               for n, peak in memory.items()]),
        "What the engine takes from the heap to load one mail:\n",
        table(["mail", "allocations", "enlarged", "peak / input", "peak / decoded"],
              [[bench.what(r["name"].split("/")[1]), "%d" % r["allocations"], "%d" % r["enlarged"],
                "%.2f" % r["peak/input"], "%.3f" % r["peak/decoded"]] for r in allocations]),
        "## Growth\n", "Load, read the addresses and write back; nanoseconds a byte, and peak of "
        "the heap while loading as a multiple of the input. The smallest mails cost what a mail "
        "costs.\n",
        table(["what grows", "n", "bytes", "ns a byte", "to the second row", "peak / input"],
              growth_rows(growth))])


def main(build, docs):
    bench = Bench(build)
    bench.measure()
    loads = sorted(n for w, n in bench.rates if w == "load")
    writes = sorted(n for w, n in bench.rates if w == "write")
    codecs = [n for w, n in bench.rates if w == "codec"]
    memory = {n: bench.peak_memory(n) for n in ("attach_10m", "many_parts", "newsletter")}
    growth = bench.benchmark("growth_bench")
    allocations = [r for r in bench.benchmark("load_bench") if r["name"].startswith("load/")]
    docs = pathlib.Path(docs)
    text = page(bench, loads, writes, codecs, memory, growth, allocations)
    print(text)
    sections.put(docs, "libraries", text)
    (docs / "benchmarks-load.svg").write_text(bar_chart(
        "Loading, MB/s", list(chart_groups(bench, "load", loads, bench.what)), COLOURS))
    (docs / "benchmarks-coders.svg").write_text(bar_chart(
        "Coders and charsets, MB/s of input", list(chart_groups(bench, "codec", codecs, str)), CODER_COLOURS))


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])

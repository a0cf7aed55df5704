# SPDX-License-Identifier: Apache-2.0
"""docs/benchmarks.md: each script owns the section of its name, and leaves the others alone."""
NAMES = ["libraries", "archives"]  # in their order


def put(docs, name, text):
    path = docs / "benchmarks.md"
    old = path.read_text() if path.exists() else ""
    page = ["# Benchmarks\n"]
    for each in NAMES:
        begin, end = f"<!-- {each} -->\n", f"<!-- end of {each} -->\n"
        kept = old.partition(begin)[2].partition(end)[0]
        page.append(begin + (text if each == name else kept) + end)
    path.write_text("\n".join(page))

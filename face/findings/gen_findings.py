#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes docs/findings.md out of the table in kinds.cpp.  With --check it only compares."""
import re
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
PAGE = HERE.parent.parent / "docs" / "findings.md"
ROW = re.compile(r'\{\{(\d+), "(MT\d+)", "([a-z0-9-]+)", k(\w+), "([^"]+)",\s*'
                 r'((?:"(?:[^"\\]|\\.)*"\s*)+)\},\s*(\w+)\},')
OPENING = """# Findings

<!-- Made by face/findings/gen_findings.py from face/findings/kinds.cpp; do not edit. -->

What `mimetree check`, `mimetree::findings()` and `mt_message_findings()` say of a mail. Numbers and names stay what
they are; sentences may change.

| Severity | Means |
|---|---|
| info | unusual, and harmless |
| warning | against a standard, and repaired when it was read |
| critical | another reader may see a different message |

Each finding has a place: the offset of its first byte and the line in the input, and the number of its part as IMAP
counts them (RFC 3501 6.4.5), which goes on into messages within messages: `2.1.3`. The message itself has none, and
so has the text of a message with one part. Within a message that is encoded, the place is that of its part.

Limits: of one kind 20 places are listed, and the last one says how many follow. Messages within messages are opened
to a depth of 32. Numbers of parts are cut behind 64 levels, and what is quoted from the mail behind 60 characters;
control and bidirectional characters are spelled (`\\x0A`, `\\u202E`). Lines that all end with LF are how mail is stored,
and no finding. Where the engine's tree cannot be followed in the input, what is below is not looked at.

| Number | Name | Severity | Offends |
|---|---|---|---|
"""


def rows():
    text = (HERE / "kinds.cpp").read_text(encoding="ascii")
    found = ROW.findall(text)
    if len(found) != len(re.findall(r"^    \{\{\d", text, re.M)):
        raise SystemExit("a row of kinds.cpp has another form")
    for _, id, name, severity, reference, literals, _ in found:
        pieces = re.findall(r'"((?:[^"\\]|\\.)*)"', literals)
        explanation = "".join(pieces).replace('\\"', '"').replace("\\\\", "\\")
        yield id, name, severity.lower(), reference, explanation


def page():
    table, sections = [], []
    for id, name, severity, reference, explanation in rows():
        table.append(f"| {id} | [{name}](#{id.lower()}-{name}) | {severity} | {reference} |\n")
        sections.append(f"\n## {id} {name}\n\n{severity}, {reference}\n\n{explanation}\n")
    return OPENING + "".join(table) + "".join(sections)


def main():
    if "--check" not in sys.argv[1:]:
        PAGE.write_text(page(), encoding="ascii")
    elif PAGE.read_text(encoding="ascii") != page():
        raise SystemExit("docs/findings.md is not what face/findings/gen_findings.py makes")


main()

#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Doxygen's input filter: shows it our plain comments as the kind that it reads.

A block of `//` right in front of a declaration is about it, and about those that follow without
a blank line or a block of their own; one behind a declaration is about what stands there; the one
behind `#pragma once` is about the file, and about the type that the file is named after.  Copies and
moves do what they do everywhere, and are left out.  In Markdown, what stands in backquotes holds no
commands of Doxygen's.

usage: filter.py FILE
"""

import html
import pathlib
import re
import sys

COMMENT = re.compile(r"\s*//( ?.*)")
TRAILING = re.compile(r"(.*?[;,{})\w]) *// (?!IWYU|NOLINT)(.*)")
COPY_OR_MOVE = re.compile(r"\s*(~?(\w+)\(((const )?\2&&?( \w+)?)?\)|\w+& operator=\(.*\)).*;")
NO_DECLARATION = re.compile(r"\s*(friend |public:|private:|protected:|static_assert|#|\}|$)")
TYPE = re.compile(r"(?:class|struct) (?:MIMETREE_API )?(\w+).*\{")
LITERAL_OR_COMMENT = re.compile(r"""//.*|"(\\.|[^"\\])*"|'(\\.|[^'\\])*'""")


def plain(text):
    """Neither commands nor tags, but code stays as it is."""
    return re.sub(r"`[^`]*`|^     .*|[<@](?!file)", lambda m: "\\" * (len(m[0]) == 1) + m[0], text)


def documented(text, line):
    return "/**\n" + "\n".join(map(plain, text)) + "\n*/\n" + line


def header(lines, chief):
    block, about, of_file = [], [], None
    depth = depth_of_about = 0
    at_start = True  # of a declaration
    for line in lines:
        comment = at_start and COMMENT.fullmatch(line)
        if comment:
            if not comment[1].startswith((" SPDX", " NOLINT")):
                block.append(comment[1])
            continue
        if block:
            about, depth_of_about, block = block, depth, []
            if of_file is None and not line.strip():
                of_file, line = about, documented([" @file", *about], line)
                about = []
        elif not line.strip():
            about = []
        a_type = TYPE.match(line)
        if a_type and not about and a_type[1].lower() == chief:
            about, depth_of_about = of_file, depth
        if at_start and COPY_OR_MOVE.fullmatch(line):
            continue
        code = LITERAL_OR_COMMENT.sub("", line)
        trailing = TRAILING.fullmatch(line)
        own = about and at_start and depth == depth_of_about and not NO_DECLARATION.match(line)
        if trailing:
            line = f"{trailing[1]} ///< {plain(trailing[2])}"
        yield documented(about, line) if own and not (trailing and line.count("(")) else line
        depth += sum(map(code.count, "({")) - sum(map(code.count, ")}"))
        if a_type:
            about = []
        at_start = line.startswith(("#", "/**")) or not code.strip() or code.rstrip()[-1] in ";{}:,>"


def markdown(lines):
    def code(span):
        return "<code>" + re.sub(r"([\\@%#])", r"\\\1", html.escape(span[1], quote=False)) + "</code>"

    fenced = False
    for line in lines:
        fenced ^= line.startswith("```")
        verbatim = fenced or line.startswith(("    ", "```"))
        if not verbatim:
            line = re.sub(r"(?<!`)`([^`]+)`(?!`)", code, line)
            line = re.sub(r"\[([^]]*)\]\(#[^)]*\)", r"\1", line)  # Doxygen names headings otherwise
        yield line


path = pathlib.Path(sys.argv[1])
text = path.read_text(encoding="utf-8").split("\n")
print("\n".join(markdown(text) if path.suffix == ".md" else header(text, path.stem.lower())))

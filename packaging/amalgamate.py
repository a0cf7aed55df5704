#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the library as two files, mimetree.h and mimetree.cpp, for projects that want no build
system of ours:

    python3 packaging/amalgamate.py DIR
    g++ -std=c++20 -O2 -c DIR/mimetree.cpp

Sources and headers are joined as they are, each behind what it includes: one translation unit of
them all has to compile.  Headers come once, the .inc files wherever they are included.  What is no
C++ (the C interface) is the first part of mimetree.h, so that C programs include the same file.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'\s*#\s*include\s+(?:"([^"]+)"|<(mimetree/[^>]+)>|(\w+))')
DEFINE_PATH = re.compile(r'\s*#\s*define\s+(\w+)\s+"([^"]+\.inc)"')
NOT_COPIED = re.compile(r"\s*(#\s*pragma once|// SPDX-.*|/\* SPDX-.*\*/)\s*$")


def files(*patterns):
    return [path for pattern in patterns for path in sorted(ROOT.glob(pattern))]


class Joiner:
    """One output file; `done` holds the headers that are in this or in an earlier one."""

    def __init__(self, done):
        self.done = done
        self.paths = {}  # what macros name: #include SIMD_KERNELS
        self.lines = []

    def resolve(self, name, origin):
        for folder in (ROOT, ROOT / "include", origin.parent):
            if (folder / name).is_file():
                return folder / name
        raise SystemExit(f"{origin}: no file {name}")

    def add(self, path):
        if path in self.done:
            return
        if path.suffix != ".inc":
            self.done.add(path)
        self.lines.append(f"/* -- {path.relative_to(ROOT)} */")
        for line in path.read_text(encoding="ascii").splitlines():
            if define := DEFINE_PATH.match(line):
                self.paths[define[1]] = define[2]
            include = INCLUDE.match(line)
            if include:
                name = include[1] or include[2] or self.paths[include[3]]
                self.add(self.resolve(name, path))
            elif not NOT_COPIED.match(line):
                self.lines.append(line)

    def add_all(self, paths):
        for path in paths:
            self.add(path)

    def write(self, path, opening):
        text = "\n".join([opening.rstrip(), *self.lines]) + "\n"
        path.write_text(re.sub(r"\n{3,}", "\n\n", text), encoding="ascii")


# What compilers say of one large file and not of its parts: that the bytes of a StringBuffer, which
# hold text or a pointer, may be unset, and that not each instruction set uses each constant.
NO_WARNINGS = """#if defined(__clang__)
#pragma clang diagnostic ignored "-Wunused-const-variable"
#elif defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif"""


def version():
    text = '#include "include/mimetree/version.h"\nMIMETREE_VERSION\n'
    run = subprocess.run(["cc", "-E", "-P", "-"], input=text, text=True, cwd=ROOT,
                         capture_output=True, check=True)
    return run.stdout.strip().strip('"')


def header(done):
    """For C what C can read, for C++17 the engine too, for C++20 the face on top."""
    out = Joiner(done)
    out.lines.append("#ifndef MIMETREE_SINGLE_FILE_H\n#define MIMETREE_SINGLE_FILE_H")
    out.add_all(files("include/mimetree/version.h", "include/mimetree/*.h"))
    out.lines.append("#ifdef __cplusplus")
    out.add_all(files("foundation/*.h", "mime/*.h"))
    out.lines.append("#if __cplusplus >= 202002L || defined(_MSVC_LANG) && _MSVC_LANG >= 202002L")
    out.add_all(files("include/mimetree/*.hpp"))
    out.lines.append("#endif  // C++20\n#endif  // C++\n#endif")
    return out


def source(done):
    out = Joiner(done)
    out.lines += [NO_WARNINGS, '#include "mimetree.h"']
    out.add_all(files("foundation/*/*.cpp", "mime/*/*.cpp", "face/*/*.cpp"))
    return out


def main():
    if len(sys.argv) != 2:
        raise SystemExit("usage: amalgamate.py DIR")
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    opening = (f"/* SPDX-License-Identifier: Apache-2.0\n   mimetree {version()} in a single file, made by"
               " packaging/amalgamate.py: change the files that it\n   names.  {} */")
    done = set()
    header(done).write(folder / "mimetree.h", opening.format(
        "For C11 the C interface; for C++17 the engine; for C++20 the face besides."))
    source(done).write(folder / "mimetree.cpp", opening.format(
        "C++20:  g++ -std=c++20 -O2 -c mimetree.cpp"))


main()

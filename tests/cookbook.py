#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Keeps docs/cookbook.md true: makes one program of its code in a language, and compares what the
programs print with what it says that they do.

usage: cookbook.py write COOKBOOK LANGUAGE SOURCE [PAGE]     (cpp, c, python or js)
       cookbook.py check COOKBOOK MAILS PROGRAM...

C++ or C of another PAGE stands behind the same lines, and only has to run.
"""

import re
import shutil
import subprocess
import sys
import tempfile

# Scripts: a comment, what prints the end of a task, and what keeps its names its own.
SCRIPTS = {
    "python": ("#", 'print("--", flush=True)', "{}"),
    "js": ("//", 'console.log("--");', "{{\n{}\n}}"),
}
INTERPRETERS = {"py": [sys.executable], "mjs": ["node"]}


def blocks(cookbook, language):
    """Each block of that language with the line in front of it."""
    with open(cookbook, encoding="utf-8") as file:
        text = file.read()
    for found in re.finditer(rf"^```{language}\n(.*?)^```$", text, re.S | re.M):
        yield text.count("\n", 0, found.start(1)) + 1, found[1]


def write(cookbook, language, source, page=None):
    if language in SCRIPTS:
        return write_script(cookbook, language, source)
    (_, frame), *tasks = blocks(cookbook, language)
    tasks = list(blocks(page, language)) if page else tasks
    nothing = "void" if language == "c" else ""
    with open(source, "w", encoding="ascii") as file:
        file.write("#include <stdio.h>\n" + frame)
        for number, (line, code) in enumerate(tasks, 1):
            file.write(f'\nstatic int task_{number}({nothing}) {{\n#line {line} "{page or cookbook}"\n{code}'
                       "return 0;\n}\n")
        calls = " || ".join(f'task_{number}() || puts("--") < 0' for number in range(1, len(tasks) + 1))
        file.write(f"\nint main({nothing}) {{ return {calls}; }}\n")


def write_script(cookbook, language, source):
    comment, end, indent = SCRIPTS[language]
    (_, frame), *tasks = blocks(cookbook, language)
    with open(source, "w", encoding="ascii") as file:
        file.write(frame)
        for line, code in tasks:
            file.write(f"\n\n{comment} {cookbook}:{line}\n{indent.format(code + end)}\n")


def check(cookbook, mails, *programs):
    wanted = [text for _, text in blocks(cookbook, "text")]
    for program in programs:
        with tempfile.TemporaryDirectory() as work:
            shutil.copytree(mails, work, dirs_exist_ok=True)
            command = [*INTERPRETERS.get(program.rpartition(".")[2], []), program]
            done = subprocess.run(command, cwd=work, capture_output=True, check=False)
        printed = done.stdout.decode().replace("\r", "").split("--\n")[:-1]
        for number, (is_, should) in enumerate(zip(printed, wanted), 1):
            if is_ != should:
                print(f"{program}: task {number} prints\n{is_}and not\n{should}")
        if (wanted and printed != wanted) or not printed or done.returncode:
            sys.exit(f"{program}: {len(printed)} of {len(wanted)} tasks ran: {done.stderr.decode()}")


{"write": write, "check": check}[sys.argv[1]](*sys.argv[2:])

# SPDX-License-Identifier: Apache-2.0
# Keeps docs/recipes.md and the examples of --help true: runs each in a folder of its own with sample
# mails; recipes print what stands below them, and examples do not complain.
# usage: cli_recipes_test.py PROGRAM
import os, pathlib, re, shutil, subprocess, sys, tempfile

PROGRAM = pathlib.Path(sys.argv[1]).resolve()
HERE = pathlib.Path(__file__).resolve().parent
PAGE = (HERE / "../../docs/recipes.md").read_text()
RECIPE = re.compile(r"^## ([^\n]*)\n(?:(?!^##).)*?^```sh\n(.*?)^```\n+```text\n(.*?)^```$", re.S | re.M)
EXAMPLE = re.compile(r"^    (.*)$", re.M)
# What the examples name and no test should call; the last two, where they are missing.
STUBS = {"curl": "cat mail.eml", "fetch-mail": "cat mail.eml", "xsltproc": "cat mail.xml", "xdg-open": "true",
         "deliver-mail": "cat > /dev/null", "sendmail": "cat > /dev/null", "jq": "cat", "xmllint": "cat"}


class Folder:
    """Sample mails, and the program in the path; a copy of it where there is one already."""

    def __init__(self, model=None):
        self.model = model

    def __enter__(self):
        self.name = tempfile.TemporaryDirectory()
        self.path, self.tools = (pathlib.Path(self.name.name) / part for part in ("work", "bin"))
        self.environment = dict(os.environ, LC_ALL="C.UTF-8", TZ="UTC", PATH=f"{self.tools}:{os.environ['PATH']}")
        if self.model:
            shutil.copytree(self.model.name.name, self.name.name, symlinks=True, dirs_exist_ok=True)
        else:
            self.make_mails()
        return self

    def make_mails(self):
        self.path.mkdir()
        self.tools.mkdir()
        (self.tools / "mimetree").symlink_to(PROGRAM)
        shutil.copy(HERE / "recipes.mbox", self.path / "archive.mbox")
        self.run("mimetree split archive.mbox -o Maildir; mimetree split --files archive.mbox -o mails")
        sent = (self.path / "mails/00000001.eml").read_bytes()
        for name in "mail.eml", "sent.eml", "damaged.eml", "old.eml":
            (self.path / name).write_bytes(sent)
        (self.path / "received.eml").write_bytes(sent.replace(b"Subject: ", b"Subject: [list] ").replace(b"\n", b"\r\n"))

    def add_what_examples_name(self):
        for name, does in STUBS.items():
            if name not in ("jq", "xmllint") or not shutil.which(name):
                (self.tools / name).write_text(f"#!/bin/sh\n{does}\n")
                (self.tools / name).chmod(0o755)
        for name in "plan.txt", "plan.pdf", "page.html", "logo.png", "rules.xsl":
            (self.path / name).write_text("some text\n")
        self.run("mimetree to-xml mail.eml > mail.xml; cp archive.mbox 2023.mbox; cp archive.mbox 2024.mbox;"
                 "cat 202?.mbox 202?.mbox > archive.mbox; gzip -k archive.mbox")

    def run(self, script):
        return subprocess.run(["sh", "-euc", script], cwd=self.path, env=self.environment,
                              capture_output=True, text=True)

    def __exit__(self, *_):
        self.name.cleanup()


def recipe_fails(model, script, wanted):
    missing = [tool for tool in ("jq", "sqlite3") if re.search(rf"\b{tool} ", script) and not shutil.which(tool)]
    if missing:
        print(f"skipped: no {missing[0]} here")
        return False
    with Folder(model) as folder:
        done = folder.run(script)
    return (done.stdout, done.stderr, done.returncode) != (wanted, "", 0) and done


def example_fails(model, line):
    with Folder(model) as folder:
        if line.endswith("-o archive.mbox"):
            (folder.path / "archive.mbox").unlink()
        done = folder.run(line)
    is_told = re.search(r"\b(check|grep|diff)\b", line)  # by the status
    return (done.stderr != "" or (done.returncode != 0 and not is_told)) and done


def examples():
    def said(*arguments):
        return subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, check=True).stdout
    for command in re.findall(r"^  ([a-z-]+) ", said("--help").split("Subcommands:")[1], re.M):
        lines = EXAMPLE.findall(said("help", command).split("Examples:")[1])
        assert len(lines) == 3, command
        yield from lines


recipes = RECIPE.findall(PAGE)
assert len(recipes) == PAGE.count("\n## ") == 12
with Folder() as model:
    failed = [(name, done) for name, script, wanted in recipes if (done := recipe_fails(model, script, wanted))]
    model.add_what_examples_name()
    failed += [(line, done) for line in examples() if (done := example_fails(model, line))]
for name, done in failed:
    print(f"{name}: status {done.returncode}\n{done.stdout}{done.stderr}")
sys.exit(bool(failed))

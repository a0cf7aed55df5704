#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What `mimetree compose` and the example that builds a mail write, others read: Python's email
package, in its modern and its old form, and mimetree itself must find the same subject,
addresses, texts, attachments and fields, for many scripts in every place where a user can type
them.  GMime and mu, where they are installed, must find the same subject and addresses.  After
the charset was changed, the first two must still find the same.

usage: compose_interop.py PROGRAM EXAMPLES_DIR
"""

import email
import email.policy
import email.utils
import json
import os
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass, field
from email.header import decode_header, make_header

SCRIPTS = {
    "latin": "Žluťoučký kůň příliš úpěl ďábelské ódy",
    "greek": "Ξεσκεπάζω την ψυχοφθόρα βδελυγμία",
    "cyrillic": "Съешь же ещё этих мягких французских булок",
    "arabic": "نص حكيم له سر قاطع وذو شأن عظيم",
    "hebrew": "דג סקרן שט בים מאוכזב ולפתע מצא חברה",
    "devanagari": "ऋषियों को सताने वाले दुष्ट राक्षसों के राजा",
    "thai": "เป็นมนุษย์สุดประเสริฐเลิศคุณค่ากว่าบรรดาฝูงสัตว์",
    "chinese": "視野無限廣,窗外有藍天 微风迎客,软语伴茶",
    "japanese": "いろはにほへと ちりぬるを 色は匂へど散りぬるを",
    "korean": "키스의 고유조건은 입술끼리 만나야 하고",
    "emoji": "👩‍👩‍👧‍👦 and 🏴󠁧󠁢󠁳󠁣󠁴󠁿 🇳🇿 👍🏽 ❤️‍🔥",
}

PUNCTUATED = ['{}, Inc.', '"{}"', '{} (née x)', 'a\\{}', "{}; <x@y>", "@{}:"]
FILE_NAMES = ['"{}".txt', "a\\{}.bin", "{}; filename=x.pdf", "'{}' %41.dat", "=_{}?=.csv", "{}"]
BYTES = bytes(range(256)) + b"\r\n.\r\n\n\r"


@dataclass
class Case:
    what: str
    subject: str = "plain"
    sender: tuple = ("", "a@example.org")
    to: list = field(default_factory=list)
    text: str = None
    html: str = None
    files: list = field(default_factory=list)
    fields: dict = field(default_factory=dict)
    args: list = field(default_factory=list)
    eight_bit: bool = False
    program: str = None  # makes the message out of the files


def long_name(text, ending=".pdf"):
    """200 characters, or as many as a file system takes (255 bytes)."""
    name = (text.replace(" ", "_") * 50)[: 200 - len(ending)] + ending
    while len(name.encode()) > 255:
        name = name[: -len(ending) - 1] + ending
    return name


def cases():
    for script, text in SCRIPTS.items():
        for size in (10, 77, 150, 300):
            sized = (f"{text} " * 30)[:size].strip()
            yield Case(f"{script}: {size} characters", subject=sized,
                       sender=(sized, "a@example.org"), to=[("", "c@x.org"), (sized, "b@x.org")])
        yield Case(f"{script}: long subject", subject=" ".join([text, "ascii words"] * 8))
        yield Case(f"{script}: names with punctuation",
                   to=[(p.format(text), f"n{i}@example.org") for i, p in enumerate(PUNCTUATED)])
        yield Case(f"{script}: text and HTML", text=f"{text}\n\n.\nFrom {text} \n" * 9,
                   html=f"<p>{text} \t\n</p>")
        yield Case(f"{script}: file names", text=text,
                   files=[(p.format(text), BYTES) for p in FILE_NAMES])
        yield Case(f"{script}: long file name", files=[(long_name(text), BYTES)], text="t")
        yield Case(f"{script}: field", fields={"X-Note": text, "Comments": f"a {text} b {text}"})
    yield Case("ASCII names with punctuation",
               to=[(p.format("Doe"), f"n{i}@example.org") for i, p in enumerate(PUNCTUATED)])
    yield Case("ASCII file names", files=[(p.format("doe"), BYTES) for p in FILE_NAMES])
    yield Case("long ASCII file names", files=[(long_name("name"), BYTES), ("x" * 200, b"")])
    yield Case("many recipients", to=[(f"Näme {i}", f"user{i}@example.org") for i in range(60)])
    yield Case("long ASCII subject", subject="word " * 60 + "end")
    yield Case("subject without blanks", subject="x" * 900)
    yield Case("subject longer than a line may be", subject="x" * 3000)
    yield Case("field longer than a line may be", fields={"X-Long": "y" * 2000 + " z"})
    yield Case("ASCII text", text="plain\ntext\n")
    yield Case("text without a line end", text="plain")
    yield Case("long lines", text="x" * 5000 + "\n" + "y" * 999)
    yield Case("empty text", text="")
    yield Case("text attachment keeps its bytes",
               files=[("a.txt", b"lf\ncr\rcrlf\r\n"), ("b.txt", "ü\n".encode()),
                      ("c.txt", b"\xfc\n"), ("d.csv", b"\xff\xfe\x00"), ("e.eml", b"A: b\n\nc")])
    yield Case("empty attachment", files=[("empty", b"")])
    yield Case("everything at once", subject=SCRIPTS["greek"], sender=(SCRIPTS["thai"], "a@b.org"),
               to=[("Doe, John", "j@x.org"), ("", "k@x.org")], text=SCRIPTS["korean"],
               html=SCRIPTS["arabic"], files=[("ж.png", BYTES)], fields={"X-A": SCRIPTS["emoji"]})
    yield Case("what looks encoded", subject="=?utf-8?q?a?= =?x", fields={"X-A": "=?utf-8?b?YQ==?="})
    yield Case("line ends", text="a\r\nb\rc\n\nd\r\r\n", html="<p>\r\n\r")
    for coding in ("quoted-printable", "base64", "8bit"):
        yield Case(f"--encoding {coding}", text="Grüße =20\n.\n", html="<b>ü</b>",
                   args=["--encoding", coding], eight_bit=coding == "8bit")
    for charset, script in [("iso-8859-2", "latin"), ("iso-8859-7", "greek"), ("koi8-r", "cyrillic"),
                            ("big5", None), ("shift_jis", "japanese"), ("iso-2022-jp", "japanese"),
                            ("euc-kr", "korean"), ("gb18030", "emoji")]:
        text = SCRIPTS[script] if script else "視野無限廣"
        yield Case(f"--charset {charset}", subject=text, text=text, html=f"<p>{text}</p>",
                   args=["--charset", charset])


def built_by(program):
    """What examples/build_mail.cpp asks for."""
    return Case("the example", program=program, subject="山田花子: the report",
                sender=("Zoë Müller", "zoe@example.org"), to=[("Ελένη Παππά", "eleni@example.com")],
                text="Here it is.\n", html='<p>Here <img src="cid:logo@example.org"> it is.</p>\n',
                fields={"Cc": '"Ngata, Wiremu" <wiremu@example.nz>'},
                files=[("logo.png", BYTES), ("täble.xls", BYTES)])


# -- Making a message

def typed(name, address):
    """An address as a careful user types it (RFC 5322 3.4)."""
    escaped = name.replace("\\", "\\\\").replace('"', '\\"')
    return f'"{escaped}" <{address}>' if name else address


def write_file(directory, name, data):
    path = os.path.join(directory, name)
    with open(path, "wb") as file:
        file.write(data)
    return path


def compose(tool, case, directory):
    if case.program:
        paths = [write_file(directory, name, data) for name, data in case.files]
        return run([case.program, *paths])
    command = [tool, "compose", "--subject", case.subject, "--from", typed(*case.sender)]
    for address in case.to:
        command += ["--to", typed(*address)]
    if case.text is not None:
        command += ["--text", write_file(directory, "text input", case.text.encode())]
    if case.html is not None:
        command += ["--html", write_file(directory, "html input", case.html.encode())]
    for name, value in case.fields.items():
        command += ["--header", f"{name}: {value}"]
    for name, data in case.files:
        command += ["--attach", write_file(directory, name, data)]
    return run(command + case.args)


def run(command, data=None):
    done = subprocess.run(command, input=data, capture_output=True, check=False)
    assert done.returncode == 0 and not done.stderr, (command, done.stderr.decode()[-500:])
    return done.stdout


# -- Reading it back: each reader gives a dictionary of the same form

def with_lf(text):
    return text.replace("\r\n", "\n")


def modern_addresses(header):
    """Python before 3.13 keeps the blank between two encoded words of a name (CPython issue
    92081), which RFC 2047 6.2 says to drop; None stands for names that it may have damaged."""
    probe = email.message_from_string("To: =?utf-8?q?a?= =?utf-8?q?b?= <a@b>\n\n",
                                      policy=email.policy.default)
    keeps_blanks = probe["To"].addresses[0].display_name != "ab"

    def name(address):
        return None if keeps_blanks and not address.display_name.isascii() else address.display_name

    return [(name(a), a.addr_spec) for a in header.addresses] if header else []


def read_default(tool, raw):
    message = email.message_from_bytes(raw, policy=email.policy.default)
    leaves = [part for part in message.walk() if not part.is_multipart()]
    assert not message.defects and not any(part.defects for part in leaves), message.defects
    assert message["Message-ID"].strip().endswith("@" + message["From"].addresses[0].domain + ">")
    assert message["Date"].datetime is not None
    return {
        "subject": str(message["Subject"]),
        "From": modern_addresses(message["From"]),
        "To": modern_addresses(message["To"]),
        "texts": [(part.get_content_type(), with_lf(part.get_content()))
                  for part in leaves if part.get_filename() is None],
        "files": [(part.get_filename(), part.get_payload(decode=True))
                  for part in leaves if part.get_filename() is not None],
        "fields": {name: str(message[name]) for name in message if name not in KNOWN},
    }


def words(value):
    return str(make_header(decode_header(value.replace("\r\n", "").replace("\n", ""))))


def read_compat32(tool, raw):
    message = email.message_from_bytes(raw)
    leaves = [part for part in message.walk() if not part.is_multipart()]

    def addresses(name):
        found = email.utils.getaddresses(message.get_all(name, []))
        return [(words(display), spec) for display, spec in found]

    def text(part):
        return with_lf(part.get_payload(decode=True).decode(part.get_content_charset()))

    return {
        "subject": words(message["Subject"]),
        "From": addresses("From"),
        "To": addresses("To"),
        "texts": [(part.get_content_type(), text(part))
                  for part in leaves if not part.get_filename()],
        "files": [(email.utils.collapse_rfc2231_value(part.get_filename()),
                   part.get_payload(decode=True)) for part in leaves if part.get_filename()],
        "fields": {name: words(message[name]) for name in message.keys() if name not in KNOWN},
    }


def read_mimetree(tool, raw):
    nodes = json.loads(run([tool, "tree", "--json", "-"], raw))["nodes"]
    root = nodes[0]
    fields = {entry["name"]: entry["value"] for entry in root["headers"]}
    leaves = [node for node in nodes if node["children"] == 0]

    def body(node):
        return run([tool, "body", "--part", node["part"], "-"], raw)

    def addresses(name):
        return [(a["name"], a["address"]) for a in root["addresses"].get(name, [])]

    return {
        "subject": fields["Subject"],
        "From": addresses("From"),
        "To": addresses("To"),
        "texts": [(node["contentType"], with_lf(body(node).decode()))
                  for node in leaves if not node["filename"]],
        "files": [(node["filename"], body(node)) for node in leaves if node["filename"]],
        "fields": {name: value for name, value in fields.items() if name not in KNOWN},
    }


# Python's bindings of GMime are Debian's, and so is the Python that finds them.
GMIME_PYTHON = "/usr/bin/python3"
GMIME_READER = """
import json, sys, gi
gi.require_version("GMime", "3.0")
from gi.repository import GMime
GMime.init()
stream = GMime.StreamMem.new_with_buffer(sys.stdin.buffer.read())
message = GMime.Parser.new_with_stream(stream).construct_message(None)
def addresses(found):
    each = [found.get_address(i) for i in range(found.length())] if found else []
    return [[a.get_name() or "", a.get_addr()] for a in each]
print(json.dumps({"subject": message.get_subject(), "From": addresses(message.get_from()),
                  "To": addresses(message.get_to())}))
"""


def read_gmime(tool, raw):
    found = json.loads(run([GMIME_PYTHON, "-c", GMIME_READER], raw))
    return {key: [tuple(entry) for entry in value] if isinstance(value, list) else value
            for key, value in found.items()}


def read_mu(tool, raw):
    """mu tells addresses one behind the other as (:name "..." :email "...")."""
    with tempfile.NamedTemporaryFile(suffix=".eml") as file:
        file.write(raw)
        file.flush()
        told = run(["mu", "view", "--format=sexp", file.name]).decode()
    string = r'"((?:[^"\\]|\\.)*)"'

    def unescaped(text):
        return re.sub(r"\\(.)", r"\1", text)

    def addresses(key):
        entry = rf'\((?::name {string} )?:email {string}\)'
        found = re.search(rf' :{key} \(((?:{entry} ?)+)\)', told)
        each = re.findall(entry, found[1]) if found else []
        return [(unescaped(name), unescaped(address)) for name, address in each]

    return {"subject": unescaped(re.search(rf' :subject {string}', told)[1]),
            "From": addresses("from"), "To": addresses("to")}


def works(command):
    try:
        return subprocess.run(command, capture_output=True, check=False).returncode == 0
    except OSError:
        return False


def optional_readers():
    for reader, what, command in [
            (read_gmime, "GMime (python3-gi, gir1.2-gmime-3.0)",
             [GMIME_PYTHON, "-c", "import gi; gi.require_version('GMime', '3.0')"]),
            (read_mu, "mu (maildir-utils)", ["mu", "--version"])]:
        if works(command):
            yield reader
        else:
            print(f"skipped: {what} is not installed")


KNOWN = {"From", "To", "Subject", "Date", "Message-ID", "MIME-Version", "Content-Type",
         "Content-Transfer-Encoding", "Content-Disposition"}
READERS = [read_default, read_compat32, read_mimetree]


def expected(case):
    def with_lines(text):
        return with_lf(text).replace("\r", "\n")

    texts = [("text/plain", with_lines(case.text))] if case.text is not None else []
    texts += [("text/html", with_lines(case.html))] if case.html is not None else []
    return {
        "subject": case.subject.rstrip(),
        "From": [case.sender],
        "To": case.to,
        "texts": texts or ([] if case.files else [("text/plain", "")]),
        "files": case.files,
        "fields": case.fields,
    }


# -- The form of the message

def problems_of_form(case, raw):
    lines = raw.split(b"\r\n")
    if not case.eight_bit and not raw.isascii():
        yield "not 7-bit"
    if b"\n" in b"".join(lines) or b"\r" in b"".join(lines):
        yield "bare CR or LF"
    if any(len(line) > 998 for line in lines):
        yield f"line of {max(map(len, lines))} bytes"
    headers = re.findall(rb"(?:\A|\r\n--[^\r\n]*\r\n)((?:[!-9;-~]+:.*?\r\n)+?)\r\n", raw, re.S)
    for line in b"".join(headers).split(b"\r\n"):
        # A line may be longer only where it holds a single word.
        if len(line) > 78 and b" " in line.split(b":", 1)[-1].strip():
            yield f"header line of {len(line)} bytes: {line.decode()}"
        if b"=?" in line and len(line) > 76:
            yield f"line with encoded words of {len(line)} bytes: {line.decode()}"


def same(found, wanted):
    """A None within either fits anything."""
    if isinstance(wanted, (list, tuple)):
        return len(found) == len(wanted) and all(map(same, found, wanted))
    return found is None or wanted is None or found == wanted


def differences(reader, tool, raw, wanted):
    for key, value in reader(tool, raw).items():
        if not same(value, wanted[key]):
            yield f"{reader.__name__}: {key}\n    is     {value!r}\n    not    {wanted[key]!r}"


def problems(tool, examples, case, directory, readers):
    raw = compose(tool, case, directory)
    yield from problems_of_form(case, raw)
    wanted = expected(case)
    for reader in readers:
        yield from differences(reader, tool, raw, wanted)
    wanted["files"] = [(name, None if name.endswith((".txt", ".csv")) else data)
                       for name, data in wanted["files"]]
    for charset in ("utf-8", "koi8-r"):
        changed = run([f"{examples}/change_charset", write_file(directory, "m", raw), charset])
        yield from problems_of_form(case, changed)
        for reader in (read_default, read_compat32):
            yield from differences(reader, tool, changed, wanted)


def main():
    tool, examples = map(os.path.realpath, sys.argv[1:3])
    readers = [*READERS, *optional_readers()]
    count = failures = 0
    for case in [built_by(f"{examples}/build_mail"), *cases()]:
        count += 1
        with tempfile.TemporaryDirectory() as directory:
            try:
                found = list(problems(tool, examples, case, directory, readers))
            except Exception as error:  # any reader may choke on a message
                found = [f"{type(error).__name__}: {error}"]
        for problem in found:
            print(f"FAILED: {case.what}: {problem}")
        failures += bool(found)
    print(f"{count - failures} of {count} cases passed")
    return failures > 0


if __name__ == "__main__":
    sys.exit(main())

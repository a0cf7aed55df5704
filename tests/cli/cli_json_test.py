# SPDX-License-Identifier: Apache-2.0
# What `json` prints: as docs/json.schema.json says for every sample mail, with what tree --json and
# extract say, and right where Python can tell.
# usage: cli_json_test.py PROGRAM
import base64, hashlib, json, os, pathlib, subprocess, sys, tempfile, unittest

from limits import with_memory

TOOL = str(pathlib.Path(sys.argv.pop(1)).resolve())
ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = [str(ROOT / "tests/samples"), str(ROOT / "examples/mails"), str(ROOT / "examples/welcome.eml")]
ALL = "text,html,attachments=base64"


def run(*args, stdin=None, **more):
    return subprocess.run([TOOL, *args], input=stdin, capture_output=True, **more)


def documents(*args, **more):
    done = run("json", *args, **more)
    return [json.loads(line) for line in done.stdout.splitlines()]


def document(mail, *options):
    (only,) = documents(*options, "-", stdin=mail)
    return only


HAS_DIGESTS = run("json", "--with", "attachments=sha256", "-", stdin=b"A: b\n\n").returncode == 0

FORWARD = b"""From: =?utf-8?q?J=C3=B6rg?= <j@example.org>
To: A: b@example.org, c@example.org;, d@example.org
Date: Fri, 21 Nov 1997 09:55:06 -0600
Message-ID: <1@example.org>
Subject: =?iso-8859-1?q?Gr=FC=DFe?=
Content-Type: multipart/mixed; boundary=b

--b
Content-Type: text/plain; charset=iso-8859-1

\xfc\x1b[31m
--b
Content-Type: message/rfc822

Subject: within
Date: 21 Nov 1997 09:55:06 -0000

inner text
--b
Content-Type: text/x-log; charset=iso-8859-1
Content-Disposition: attachment; filename="../../caf\xe9.log"

\xfc
--b--
"""


class Json(unittest.TestCase):
    def test_every_sample_is_as_the_schema_says(self):
        try:
            import jsonschema
        except ImportError:
            self.skipTest("no python3-jsonschema here")
        schema = json.loads((ROOT / "docs/json.schema.json").read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        validator = jsonschema.Draft202012Validator(schema)
        words = ALL + (",attachments=sha256" if HAS_DIGESTS else "")
        for options in ["--with", words], ["--closed"]:
            for found in documents(*options, *SAMPLES):
                self.assertEqual([e.message for e in validator.iter_errors(found)], [], found["path"])

    def test_it_holds_what_the_other_commands_say(self):
        trees = [json.loads(line) for line in run("tree", "--json", *SAMPLES).stdout.splitlines()]
        files = [json.loads(line)["files"] for line in
                 run("extract", "--json", "--dry-run", "-o", "x", *SAMPLES).stdout.splitlines()]
        found = documents("--with", ALL, *SAMPLES)
        self.assertGreater(len(found), 50)
        self.assertEqual((len(trees), len(files)), (len(found), len(found)))
        for ours, tree, saved in zip(found, trees, files):
            for node, same in zip(ours["nodes"], tree["nodes"]):
                self.assertEqual({k: v for k, v in node.items() if k != "message"}, same)
            self.assertEqual({k: len(v) if k == "nodes" else ours[k] for k, v in tree.items()},
                             {k: len(v) if k == "nodes" else v for k, v in tree.items()})
            self.assertEqual([(a["part"], a["contentType"], a["size"]) for a in ours["attachments"]],
                             [(f["part"], f["contentType"], f["size"]) for f in saved])
            for attachment in ours["attachments"]:
                self.assertEqual(len(base64.b64decode(attachment["base64"], validate=True)),
                                 attachment["size"])

    def test_values(self):
        found = document(FORWARD, "--with", ALL)
        self.assertEqual(found["subject"], "Gr\u00fc\u00dfe")
        self.assertEqual(found["messageId"], "1@example.org")
        self.assertEqual((found["date"], found["dateUtc"]),
                         ("1997-11-21T09:55:06-06:00", "1997-11-21T15:55:06Z"))
        self.assertEqual(found["from"], [{"name": "J\u00f6rg", "address": "j@example.org"}])
        self.assertEqual([one["address"][0] for one in found["to"]], ["b", "c", "d"])
        self.assertEqual(found["cc"], [])
        self.assertEqual(found["text"].rstrip(), "\u00fc\x1b[31m")
        self.assertEqual(found["html"], "")
        within = found["nodes"][2]["message"]
        self.assertEqual((within["subject"], within["date"], within["text"].rstrip()),
                         ("within", "1997-11-21T09:55:06Z", "inner text"))
        forward, log = found["attachments"]
        self.assertEqual((forward["part"], log["part"], log["name"]), ("2", "3", "caf\u00e9.log"))
        self.assertEqual(base64.b64decode(log["base64"]).rstrip(), b"\xfc")
        self.assertEqual(found["nodes"][log["node"]]["part"], "3")
        closed = document(FORWARD, "--closed")
        self.assertNotIn("message", closed["nodes"][2])
        self.assertNotIn("text", closed)

    def test_dates(self):
        for written, date, utc in [("1 Jan 0000 00:30:00 +0100", "0000-01-01T00:30:00+01:00", None),
                                   ("31 Dec 9999 23:30:00 -0130", "9999-12-31T23:30:00-01:30", None),
                                   ("yesterday", None, None)]:
            found = document(f"Date: {written}\n\n".encode())
            self.assertEqual((found["date"], found["dateUtc"]), (date, utc), written)

    def test_long_texts_and_files_are_whole(self):
        text = "".join(chr(0x20AC + i % 7) * (i % 5) + "a" for i in range(60000))
        blob = os.urandom(300001)
        mail = (b"Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/plain; charset=utf-8\n\n"
                + text.encode() + b"\n--b\nContent-Type: image/png\nContent-Transfer-Encoding: base64\n\n"
                + base64.encodebytes(blob) + b"--b--\n")
        found = document(mail, "--with", ALL + (",attachments=sha256" if HAS_DIGESTS else ""))
        self.assertEqual(found["text"].rstrip(), text)
        (attachment,) = found["attachments"]
        self.assertEqual(base64.b64decode(attachment["base64"]), blob)
        self.assertEqual(attachment.get("sha256"), hashlib.sha256(blob).hexdigest() if HAS_DIGESTS else None)

    def test_memory_is_a_few_times_the_message(self):
        size = 30 << 20
        with tempfile.NamedTemporaryFile() as mail:
            mail.write(b"Content-Type: image/png\nContent-Transfer-Encoding: base64\n\n" + b"QUJD" * (size // 4))
            mail.flush()
            done = run("json", "--with", ALL, mail.name, **with_memory(TOOL, 5 * size))
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertGreater(len(done.stdout), size)

    def test_unknown_words_are_told(self):
        done = run("json", "--with", "text,bodies", "-", stdin=b"A: b\n\n")
        self.assertEqual((done.returncode, done.stdout, done.stderr.count(b"\n")), (2, b"", 1))


unittest.main(verbosity=1)

# SPDX-License-Identifier: Apache-2.0
# winmail.dat: its files are listed and extracted, and no damage to it, nor the death of what opens it,
# is told by anything but what is missing.
# usage: cli_winmail_test.py PROGRAM
import base64, json, pathlib, random, struct, subprocess, sys, unittest

TOOL = str(pathlib.Path(sys.argv.pop(1)).resolve())
OPENS = "libytnef" in subprocess.run([TOOL, "-V"], capture_output=True, text=True).stdout.split("without")[0]


def attribute(level, number, data):
    return struct.pack("<BII", level, number, len(data)) + data + struct.pack("<H", sum(data) & 0xFFFF)


def container(files):
    out = struct.pack("<IH", 0x223E9F78, 1) + attribute(1, 0x00069007, struct.pack("<II", 1252, 0))
    for title, long_name, data in files:
        name = (long_name + "\0").encode("utf-16-le")
        name = struct.pack("<IHHII", 1, 0x1F, 0x3707, 1, len(name)) + name + bytes(-len(name) % 4)
        out += attribute(2, 0x00069002, struct.pack("<HIHHI", 1, 0xFFFFFFFF, 32, 32, 0))
        out += attribute(2, 0x00018010, title + b"\0") + attribute(2, 0x0006800F, data) + attribute(2, 0x00069005, name)
    return out


GOOD = container([(b"PLAN~1.PDF", "plan f\u00fcr M\u00e4rz.pdf", b"%PDF-1.4"), (b"..\\..\\B\xfc.TXT", "", b"text")])


def mail(body):
    return (b"From a@example.org Fri Mar  6 18:40:00 2026\nContent-Type: application/octet-stream; name=winmail.dat\n"
            b"Content-Transfer-Encoding: base64\n\n" + base64.encodebytes(body) + b"\n")


def files_in(mbox):
    done = subprocess.run([TOOL, "json", "-"], input=mbox, capture_output=True)
    assert (done.returncode, done.stderr) == (0, b""), done
    return [[(f["name"], f["size"]) for f in json.loads(line)["attachments"][1:]] for line in done.stdout.splitlines()]


@unittest.skipUnless(OPENS, "skipped: a build without libytnef")
class Winmail(unittest.TestCase):
    def test_files(self):
        self.assertEqual(files_in(mail(GOOD)), [[("plan f\u00fcr M\u00e4rz.pdf", 8), ("B\u00fc.TXT", 4)]])

    def test_damage(self):
        chance, mbox = random.Random(1), b""
        for _ in range(300):
            bad = bytearray(GOOD[:chance.choice([len(GOOD), chance.randrange(4, len(GOOD))])])
            for _ in range(chance.randrange(1, 5)):
                bad[chance.randrange(4, len(bad))] = chance.choice([0, 1, 0x7F, 0x80, 0xFF, chance.randrange(256)])
            mbox += mail(bytes(bad))
        self.assertEqual(len(files_in(mbox)), 300)

    def test_what_is_no_container(self):
        self.assertEqual(files_in(mail(b"\x78\x9f\x3e\x22") + mail(b"\x78\x9f\x3e")), [[], []])


unittest.main(verbosity=2)

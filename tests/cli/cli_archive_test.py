# SPDX-License-Identifier: Apache-2.0
# Archives: split and join give every byte back, grep finds what is encoded, stats adds up.
# usage: cli_archive_test.py PROGRAM
import base64, json, os, pathlib, random, shutil, subprocess, sys, tempfile, unittest

TOOL = str(pathlib.Path(sys.argv.pop(1)).resolve())
WITH = subprocess.run([TOOL, "--version"], capture_output=True, text=True).stdout

PIECES = [b"From ", b">From ", b">>", b"\n", b"\n\n", b"\r\n", b"\r", b"\0", b"text", b"\xe9",
          b"From a@b Thu Nov  1 12:34:56 2001\n", b"Content-Length: 3\n", b"A: 1\n\nx\n"]


def run(*args, stdin=b"", **more):
    return subprocess.run([TOOL, *args], input=stdin, capture_output=True, **more)


class InFolder(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        os.chdir(self.folder.name)

    def done(self, *args, status=0, **more):
        done = run(*args, **more)
        self.assertEqual((done.returncode, done.stderr), (status, b""), args)
        return done.stdout


def mails_of(seed):
    """Messages with any bytes, but for those that are an mbox by themselves."""
    rand = random.Random(seed)
    fronts = [b"Subject: x\n", b"\x89PNG\0\1\xff\n", b"no field\n", b"\1"]
    mails = [rand.choice(fronts) + b"".join(rand.choices(PIECES, k=rand.randrange(9)))
             for i in range(60)]
    return [fronts[seed % 4], b"", *mails]


class SplitAndJoin(InFolder):
    def test_there_and_back(self):
        for seed in range(4):
            mails = mails_of(seed)
            os.mkdir(f"in{seed}")
            for i, mail in enumerate(mails):
                pathlib.Path(f"in{seed}/{i:04}.eml").write_bytes(mail)
            box, again = f"{seed}.mbox", f"{seed}.again.mbox"
            self.done("join", f"in{seed}", "-o", box)
            for style, target in ([], f"m{seed}"), (["--files"], f"f{seed}"):
                self.done("split", *style, box, "-o", target)
                files = sorted((p for p in pathlib.Path(target).rglob("*") if p.is_file()),
                               key=lambda p: p.name)
                self.assertEqual([p.read_bytes() for p in files], mails)
                self.assertEqual(self.done("join", target), pathlib.Path(box).read_bytes())
            self.assertEqual(self.done("join", box), pathlib.Path(box).read_bytes())

    def test_flags_become_names(self):
        lines = {"": "", "Status: O\n": ":2,", "Status: RO\nX-Status: AF\n": ":2,FRS"}
        for line in lines:
            mail = (line + "Subject: x\n\n").encode()
            box = run("join", "-", stdin=mail).stdout
            target = self.done("split", "-", "-o", "box%d" % len(line), stdin=box).split()[0]
            path, = (p for p in pathlib.Path(target.decode()).rglob("*") if p.is_file())
            self.assertEqual((path.parent.name, path.name[path.name.find(":"):] if line else ""),
                             ("cur" if line else "new", lines[line]))
            self.assertEqual(path.read_bytes(), mail)

    def test_nothing_is_written_over(self):
        pathlib.Path("a.eml").write_bytes(b"Subject: a\n\nx\n")
        pathlib.Path("there").write_bytes(b"precious")
        os.symlink("nowhere", "link")
        for name in "there", "link":
            self.assertEqual(run("join", "a.eml", "-o", name).returncode, 1)
        self.assertEqual(pathlib.Path("there").read_bytes(), b"precious")
        self.assertFalse(os.path.exists("nowhere"))
        self.assertEqual(run("split", "a.eml", "-o", "there").returncode, 1)
        for i in range(2):
            self.done("split", "--files", "a.eml", "-o", "files")
        self.assertEqual(len(os.listdir("files")), 2)

    def test_no_command_reads_what_it_writes(self):
        os.makedirs("in/z")
        for i in range(9):
            pathlib.Path(f"in/z/{i}").write_bytes(
                b"Content-Type: message/rfc822\n\nSubject: x\n\nx\n")
        for _ in range(2):
            for command, output in ["extract", "in/a"], ["split", "in/y"]:
                done = run(command, "in", "-o", output)
                self.assertEqual((done.returncode, done.stdout.count(b"\n")),
                                 (0, 9 if command == "extract" else 1))
                self.assertEqual(done.stderr, b"mimetree: skipped 1 output\n")
                shutil.rmtree("in/y", ignore_errors=True)
            shutil.rmtree("in/a")
        self.assertEqual(run("join", "in/z", "-o", "in/z/all").stderr,
                         b"mimetree: skipped 1 output\n")
        self.assertEqual(pathlib.Path("in/z/all").read_bytes().count(b"\n\nx\n"), 9)
        with open("in/z/most", "wb") as most:
            done = subprocess.run([TOOL, "join", "in"], stdout=most, stderr=subprocess.PIPE)
        self.assertEqual(done.stderr, b"mimetree: in/z/most: what is written goes there\n")
        for command in "extract", "split":
            refused = run(command, "in/z", "-o", "in/./z")
            self.assertEqual((refused.returncode, refused.stdout), (2, b""))
            self.assertIn(b"read as well", refused.stderr)


@unittest.skipIf("RE2" not in WITH.partition("without")[0], "built without RE2")
class Grep(InFolder):
    def setUp(self):
        super().setUp()
        inner = ("Subject: =?utf-8?q?Stra=C3=9Fe?=\nContent-Type: text/plain; charset=koi8-r\n"
                 "Content-Transfer-Encoding: base64\n\n").encode()
        inner += base64.encodebytes("первая\nпривет, мир\n".encode("koi8-r"))
        mails = [b"Subject: =?iso-8859-1?q?R=E9sum=E9?=\n\ncaf\x1b[31me 1+1\n",
                 b"Subject: outer\nContent-Type: message/rfc822\n\n" + inner,
                 b"Subject: file\nContent-Type: application/pdf\nContent-Disposition: attachment;\n"
                 b" filename*0*=utf-8''%C3%A9tat; filename*1=.PDF\n\nx\n"]
        os.mkdir("in")
        for i, mail in enumerate(mails):
            pathlib.Path(f"in/{i}").write_bytes(mail)
        self.done("join", "in", "-o", "a.mbox")
        self.done("split", "a.mbox", "-o", "box")

    def found(self, *args):
        """Numbers of the messages, the same in the mbox and in the Maildir."""
        done = run("grep", "-l", *args, "a.mbox")
        numbers = [int(line.split(b"#")[1]) for line in done.stdout.split()]
        maildir = run("grep", "-l", "-0", *args, "box").stdout.split(b"\0")[:-1]
        all_names = sorted(p for p in pathlib.Path("box").rglob("*") if p.is_file())
        self.assertEqual([1 + all_names.index(pathlib.Path(os.fsdecode(n))) for n in maildir],
                         numbers)
        self.assertEqual(run("grep", "-c", *args, "a.mbox").stdout, b"%d\n" % len(numbers))
        self.assertEqual(done.returncode, 0 if numbers else 1)
        self.assertEqual(done.stderr, b"")
        return numbers

    def test_finds(self):
        for args, numbers in [
                (["RÉSUMÉ"], [1]), (["ПРИВЕТ"], [2]), (["straẞe"], [2]), (["1+1"], [1]),
                (["--regex", "1+1"], []), (["--regex", "^привет.*мир$"], [2]), (["pdf"], [3]),
                (["--header", "subject=file"], [3]), (["--header", "subject", "file"], [3]),
                (["--header", "Subject=", "file"], [3]), (["--text", "file"], []),
                (["--header", "To=file"], []), (["--attachment-name", "ÉTAT.pdf"], [3]),
                (["--header", "Subject=outer", "--text", "мир"], [2]),
                (["--header", "Subject=outer", "--text", "1+1"], []),
                (["--closed", "привет"], []), (["-v", "мир"], [1, 3]), (["--", "-x"], [])]:
            self.assertEqual(self.found(*args), numbers, args)

    def test_shows_the_line(self):
        self.assertEqual(self.done("grep", "1+1", "a.mbox"), b"a.mbox#1: caf\\x1B[31me 1+1\n")
        self.assertEqual(self.done("grep", "straße", "a.mbox").decode(),
                         "a.mbox#2: Subject: Straße\n")
        long = b"Subject: x\n\n" + b"\xc3\xa9" * 5000 + b"here" + b"\xc3\xa9" * 5000
        line = self.done("grep", "here", "-", stdin=long)
        self.assertLess(len(line.decode()), 130)
        self.assertEqual(run("grep", "--regex", "(", "a.mbox").returncode, 2)
        lost = run("grep", "1+1", "lost", "a.mbox")
        self.assertEqual((lost.returncode, lost.stdout.count(b"\n")), (1, 1))
        self.assertIn(b"lost: No such file", lost.stderr)


class Stats(InFolder):
    def test_adds_up(self):
        part = b"--b\nContent-Type: image/png; name=%d.png\n\n" + b"x" * 3000 + b"\n"
        mails = [b"From: A%d@example.org\nContent-Type: multipart/mixed; boundary=b\n\n" % (i % 3) +
                 part % i + b"--b\n\nt\xe9xt\n--b--\n" for i in range(30)] + [b"Subject: bare\n\nx\n"]
        os.mkdir("in")
        for i, mail in enumerate(mails):
            pathlib.Path(f"in/{i:02}").write_bytes(mail)
        one = self.done("stats", "--json", "--jobs", "1", "--top", "2", "in")
        self.assertEqual(self.done("stats", "--json", "--jobs", "4", "--top", "2", "in"), one)
        seen = json.loads(one)
        self.assertEqual((seen["messages"], seen["bytes"], seen["parts"], seen["messagesWithin"]),
                         (31, sum(map(len, mails)), 91, 0))
        self.assertEqual(seen["attachments"], {"count": 30, "bytes": 90000})
        self.assertEqual(sum(row["messages"] for row in seen["sizes"]), 31)
        for name in "types", "charsets", "codings", "senders", "findings":
            rows = seen[name]
            self.assertLessEqual(len(rows), 3)
            self.assertEqual(rows[2:3] and rows[2]["name"], rows[2:3] and "(others)")
        self.assertEqual([r["count"] for r in seen["types"]], [31, 30, 30])
        self.assertEqual([r["name"] for r in seen["senders"]][:2],
                         ["a0@example.org", "a1@example.org"])
        self.assertEqual([f["path"] for f in seen["largestAttachments"]], ["in/00", "in/01"])
        text = self.done("stats", "in").decode()
        for row in "31 messages", "91 parts", "image/png", "MT035 8bit-in-7bit", "0.png":
            self.assertIn(row, text)
        self.assertEqual(json.loads(self.done("stats", "--json", "--by", "size", "in"))["types"][0]
                         ["name"], "image/png")


if __name__ == "__main__":
    unittest.main()

# SPDX-License-Identifier: Apache-2.0
# Whatever FILE may be: mbox files, Maildirs, MH folders, plain directories, pipes, gzip, odd names,
# no mail at all; and many messages at once.
# usage: cli_input_test.py PROGRAM
import gzip, json, os, pathlib, pty, random, subprocess, sys, tempfile, unittest, zlib

from limits import with_memory

TOOL = str(pathlib.Path(sys.argv.pop(1)).resolve())
WITH = subprocess.run([TOOL, "--version"], capture_output=True, text=True).stdout


def run(*args, stdin=b"", **more):
    return subprocess.run([TOOL, *args], input=stdin, capture_output=True, **more)


def mail(i, text="text\n"):
    return f"Subject: {i}\nFrom: a@example.org\n\n{text}".encode()


def mbox(mails):
    return b"".join(b"From a@example.org Thu Nov  1 12:34:56 2001\n" +
                    m.replace(b"\nFrom ", b"\n>From ") + b"\n" for m in mails)


def paths_of(*args, **more):
    done = run("tree", "--json", *args, **more)
    assert not done.stderr, done.stderr
    return [json.loads(line)["path"] for line in done.stdout.splitlines()]


def subjects_of(*args, **more):
    done = run("headers", *args, **more)
    return [line[9:].decode() for line in done.stdout.splitlines() if line.startswith(b"Subject: ")]


class Input(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        os.chdir(self.folder.name)

    def write(self, name, content):
        path = pathlib.Path(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return name

    def test_mbox_in_all_dresses(self):
        mails = [mail(i, "From the start\n\nFrom me\n") for i in range(12)]
        plain = mbox(mails)
        self.write("a.mbox", plain)
        names = [f"a.mbox#{i + 1}" for i in range(12)]
        self.assertEqual(paths_of("a.mbox"), names)
        self.assertEqual(paths_of("-", stdin=plain), [n.replace("a.mbox", "-") for n in names])
        self.assertEqual(paths_of("a.mbox#3", "a.mbox#12"), ["a.mbox#3", "a.mbox#12"])
        text = run("body", "a.mbox#3").stdout
        self.assertEqual(text.split(), b"From the start From me".split())
        text = run("body", "--mbox=none", "a.mbox#3").stdout
        self.assertEqual(text.split(), b">From the start >From me".split())
        none = run("tree", "a.mbox#13")
        self.assertEqual((none.returncode, none.stderr), (1, b"mimetree: a.mbox: no message #13\n"))
        for command in "rewrite", "convert", "to-xml":
            several = run(command, *(["--to-7bit"] if command == "convert" else []), "a.mbox")
            self.assertEqual(several.returncode, 2)
            self.assertIn(b"a.mbox#1", several.stderr)
        self.write("a.mbox#7", mail("a file of that name"))
        self.assertEqual(subjects_of("a.mbox#7"), ["a file of that name"])
        self.write("one.mbox", mbox(mails[:1]))
        self.assertEqual(paths_of("one.mbox"), ["one.mbox"])

    def test_gzip(self):
        plain = mbox([mail(i) for i in range(5)])
        two = gzip.compress(plain) + gzip.compress(b"") + gzip.compress(mbox([mail("last")]))
        self.write("a.mbox.gz", two)
        if "with zlib" not in WITH:
            self.assertIn(b"built without zlib", run("tree", "a.mbox.gz").stderr)
            return self.skipTest("built without zlib")
        self.assertEqual(len(paths_of("a.mbox.gz")), 6)
        self.assertEqual(paths_of("a.mbox.gz#6"), ["a.mbox.gz#6"])
        self.assertEqual(subjects_of("-", stdin=gzip.compress(mail(1))), ["1"])
        self.write("box/cur/1", gzip.compress(mail("in a Maildir")))
        self.write("box/new/2", mail(2))
        self.assertEqual(subjects_of("box"), ["in a Maildir", "2"])
        for damaged in two[:-9], two[:40] + b"\xff\xff\xff" + two[43:]:
            done = run("tree", self.write("damaged", damaged))
            self.assertEqual(done.returncode, 1)
            self.assertEqual(done.stderr, b"mimetree: damaged: damaged gzip data\n")
        packer = zlib.compressobj(9, wbits=31)
        zeros = b"A" * (1 << 20)
        bomb = packer.compress(mail(1)) + b"".join(packer.compress(zeros) for _ in range(1500))
        done = run("tree", self.write("bomb", bomb + packer.flush()), **with_memory(TOOL, 1 << 30))
        self.assertEqual((done.returncode, done.stderr.count(b"\n")), (1, 1))
        self.assertIn(b"more than a hundredfold", done.stderr)

    def test_folders(self):
        self.write("box/cur/1000.a:2,S", mail("seen"))
        self.write("box/new/999.b", mail("new"))
        self.write("box/tmp/998.c", mail("under way"))
        self.write("box/dovecot-uidlist", b"3 V1")
        self.write("box/.Sent/cur/1", mail("sent"))
        os.mkdir("box/.Sent/new")
        self.assertEqual(sorted(subjects_of("box")), ["new", "seen", "sent"])
        for i in 1, 2, 10:
            self.write(f"mh/{i}", mail(i))
        self.write("mh/,3", mail("deleted"))
        self.write("mh/.mh_sequences", b"cur: 2\n")
        done = run("headers", "mh")
        self.assertEqual(subjects_of("mh"), ["1", "2", "10"])
        self.assertEqual((done.returncode, done.stderr), (0, b"mimetree: skipped 2 hidden files\n"))

    def test_links(self):
        self.write("in/a", mail("a"))
        self.write("out/b", mail("b"))
        os.symlink("a", "in/to-a")
        os.symlink("../out/b", "in/to-b")
        os.symlink("../out/b", "in/to-b-again")
        os.symlink(".", "in/loop")
        os.symlink("self", "in/self")
        os.mkfifo("in/pipe")
        done = run("headers", "in")
        self.assertEqual(subjects_of("in"), ["a", "b"])
        self.assertEqual(done.stderr, b"mimetree: skipped 4 symbolic links, 1 special file\n")

    def test_names(self):
        names = [b"[Gmail]", b"[a]", b"[a,b]", b"two words", b"line\nbreak", b"\xff\xfe", b"#1", b"a#b",
                 "\u05d0\u202e.eml".encode(), b"--", b"%s", b"*"]
        for name in names:
            path = os.path.join(os.fsencode(self.folder.name), name)
            with open(path, "wb") as file:
                file.write(mail("found"))
            done = subprocess.run([TOOL, "headers", "--", name], capture_output=True)
            self.assertIn(b"Subject: found", done.stdout, name)
        done = run("headers", ".")
        self.assertEqual(done.stdout.count(b"Subject: found"), len(names))
        self.assertEqual(run("headers", *map(os.fsdecode, names[:3])).returncode, 0)

    def test_no_mail(self):
        self.write("empty", b"")
        self.write("picture.png", b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0")
        self.write("good", mail("good"))
        for name in "empty", "picture.png", "/dev/null", TOOL:
            for command in "tree", "body", "headers", "rewrite":
                done = run(command, name)
                self.assertEqual((done.returncode, done.stdout, done.stderr.count(b"\n")), (1, b"", 1))
                self.assertTrue(done.stderr.startswith(f"mimetree: {name}: ".encode()), done.stderr)
        done = run("headers", "empty", "good")
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"Subject: good", done.stdout)

    # The same output whatever the number of threads, errors included.
    def test_jobs(self):
        rng = random.Random(1)
        mails = [mail(i, "x" * rng.choice([1, 100, 100000]) + "\n") for i in range(300)]
        mails[100:100] = [b"\0\1\2" * 100, b""]
        for i, m in enumerate(mails):
            self.write(f"all/{i:03}", m)
        self.write("all/box", mbox(mails[:100]))
        for command in ["headers"], ["tree", "--json"], ["extract", "--all", "--dry-run", "-o", "x"], \
                ["tree", "--log"]:
            seen = {(d.returncode, d.stdout, d.stderr) for d in
                    (run(*command, "--jobs", n, "all") for n in ("1", "2", "7"))}
            self.assertEqual(len(seen), 1, command)

    def test_memory_of_an_mbox(self):
        with open("large.mbox", "wb") as file:
            for i in range(3000):
                file.write(mbox([mail(i, "some text\n" * 10000)]))
        done = run("headers", "--jobs", "2", "large.mbox", **with_memory(TOOL, 400 << 20))
        self.assertEqual((done.returncode, done.stdout.count(b"\nSubject: ")), (0, 3000))

    def test_closed_pipe_is_silent(self):
        self.write("a.mbox", mbox([mail(i) for i in range(2000)]))
        for jobs in "1", "2":
            reader = subprocess.Popen([TOOL, "headers", "-j", jobs, "a.mbox"], stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE)
            reader.stdout.readline()
            reader.stdout.close()
            self.assertEqual(reader.stderr.read(), b"")
            reader.stderr.close()
            self.assertIn(reader.wait(), (0, 141))

    # On a terminal there is a line after a second; in a pipe there is none.
    def test_progress(self):
        slow = "import sys, time\nfor i in range(24):\n    sys.stdout.write(%r)\n" \
               "    sys.stdout.flush()\n    time.sleep(0.1)\n" % mbox([mail(1)] * 2).decode()
        self.write("slow.py", slow.encode())
        self.write("slow.sh", f"{sys.executable} slow.py | {TOOL} headers - >out\n".encode())
        try:
            master, slave = pty.openpty()
        except OSError:
            return self.skipTest("no /dev/pts here")
        done = subprocess.Popen(["sh", "slow.sh"], stderr=slave)
        os.close(slave)
        shown = b""
        while True:
            try:
                piece = os.read(master, 4096)
            except OSError:
                break
            if not piece:
                break
            shown += piece
        os.close(master)
        self.assertEqual(done.wait(), 0)
        self.assertRegex(shown, rb"^\r\x1b\[K\d+ messages, \d+\.\d MB/s")
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown)
        self.assertEqual(subprocess.run(["sh", "slow.sh"], capture_output=True).stderr, b"")


if __name__ == "__main__":
    unittest.main()

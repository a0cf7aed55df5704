# SPDX-License-Identifier: Apache-2.0
"""The package's face: what it has of the library, in Python's manners."""

import ast
import copy
import email
import email.policy
import gc
import gzip
import inspect
import io
import os
import pathlib
import pickle
import subprocess
import sys
import tempfile
import threading
import unittest

import mimetree

ROOT = pathlib.Path(__file__).resolve().parents[2]
MAILS = ROOT / "examples/mails"
SAMPLES = sorted((ROOT / "tests/samples").glob("*/*.eml"))
TRIP = MAILS / "trip.eml"


def outline(mail):
    return [(part.path, part.type, part.text or bytes(part), part.name) for part in mail]


def readable(paths):
    """Each sample that is a mail, read."""
    for path in paths:
        try:
            yield path, mimetree.parse(path)
        except (mimetree.NotMailError, mimetree.IsMboxError):
            pass


class ReadingTest(unittest.TestCase):
    def test_every_source_gives_the_same(self):
        data = TRIP.read_bytes()
        for source in (data, bytearray(data), memoryview(data), TRIP, str(TRIP), io.BytesIO(data), open(TRIP, "rb")):
            mail = mimetree.parse(source)
            self.assertEqual(outline(mail), outline(mimetree.parse(TRIP)))
        source.close()

    def test_samples_mean_the_same_written_pickled_and_copied(self):
        mails = list(readable(SAMPLES))
        self.assertGreater(len(mails), 50)
        for path, mail in mails:
            with self.subTest(path):
                written = mail.as_bytes()
                for other in (pickle.loads(pickle.dumps(mail)), copy.deepcopy(mail), mimetree.parse(path.read_bytes())):
                    self.assertEqual((other.as_bytes(), other.source), (written, mail.source))
                    self.assertEqual(other.findings(), mail.findings())
                self.assertEqual(bytes(mail), written)
                dropped = mimetree.parse(path, keep_source=False)
                self.assertEqual((outline(dropped), bytes(dropped.source)), (outline(mail), b""))
                opened = mail.opened_parts()
                for number, at in enumerate(opened):
                    self.assertIn(at.part, at.message.parts)
                    self.assertTrue(opened.find(at.number) is at or not at.number)
                    self.assertEqual(at.depth, 0 if at.parent is None else opened[at.parent].depth + 1)
                    self.assertTrue(not at.is_opened or opened[number + 1].part == opened[number + 1].message.root)
                self.assertEqual([at.part for at in mail.opened_parts(nested=False)], list(mail.parts))
                for part in mail:
                    self.assertTrue(part.rule.name and part.rule.what)
                    self.assertEqual(bytes(part), bytes(part.bytes))
                    self.assertTrue(part.bytes.readonly)
                    self.assertIn(part, mail.parts)
                    self.assertTrue(part.name and repr(part))
                    if part.path:
                        self.assertEqual(part, mail.part(part.path))
                        self.assertEqual(hash(part), hash(mail.part(part.path)))

    def test_values(self):
        mail = mimetree.parse(TRIP)
        self.assertEqual(mail.from_.first, ("Zo\xeb M\xfcller", "zoe@example.org"))
        self.assertEqual(str(mail.cc), ", ".join(map(str, mail.cc)))
        self.assertEqual(mail.bcc.first, ("", ""))
        self.assertEqual(mail.date.isoformat(), "2026-03-06T18:40:00+01:00")
        self.assertEqual([field.raw for field in mail.headers if field.name == "Message-ID"],
                         [mail.root.headers[[f.name for f in mail.headers].index("Message-ID")].raw])
        self.assertEqual(list(mail.root), list(mail.root.children))
        for date, means in (("Fri, 6 Mar 2026 18:40:00 -0000", "2026-03-06T18:40:00+00:00"), ("soon", None),
                            ("Fri, 6 Mar 2026 18:40:00 +9900", "2026-03-02T15:40:00+00:00")):
            found = mimetree.parse(b"Date: " + date.encode() + b"\n\n").date
            self.assertEqual(found and found.isoformat(), means, date)

    def test_what_is_wrong(self):
        mail = mimetree.parse(b"Subject: a\0b\n\ntext\n")
        (found,) = (one for one in mail.findings() if one.name == "nul-byte")
        self.assertEqual((bytes(mail.source)[found.offset], found.line, found.part), (0, 1, ""))
        for kind in mimetree.finding_kinds():
            for name in (kind.id, kind.name, str(kind.number)):
                self.assertEqual(mimetree.finding_kind(name), kind)
        self.assertEqual(mimetree.finding_kind("nul-byte")[:4], found[:4])
        self.assertIsNone(mimetree.finding_kind("nil"))
        mail.set_header("Subject", "ab")
        self.assertEqual(bytes(mail.source), b"")
        self.assertNotIn("nul-byte", [one.name for one in mail.findings()])

    def test_email_and_back(self):
        mail = mimetree.parse(TRIP)
        for policy in (email.policy.default, email.policy.compat32):
            theirs = mail.to_email(policy=policy)
            self.assertEqual([part.get_content_type() for part in theirs.walk()][:7], [p.type for p in mail][:7])
            self.assertEqual(outline(mimetree.from_email(theirs))[:7], outline(mail)[:7])
        self.assertIsInstance(mimetree.to_email(mail), email.message.EmailMessage)


    def test_messages_within_are_changed_by_themselves(self):
        inside = b"Subject: in\nno field\n\nbegin 644 a/b.txt\n#86)C\n`\nend\n"
        mail = mimetree.parse(b"Subject: out\nContent-Type: message/rfc822\n\n" + inside)
        self.assertLess(len(mail.findings(nested=False)), len(mail.findings()))
        opened = mail.opened_parts()
        self.assertEqual([opened.find(number) for number in ("", "1", "1.1", "2")], [*opened[:1], *opened, None])
        at = opened[1]
        del mail, opened
        gc.collect()
        self.assertEqual(at.part.embedded_files(), (("b.txt", b"abc", at.part.text),))
        at.message.set_header("Subject", "new")
        self.assertRaises(mimetree.StaleError, at.part.embedded_files)
        self.assertEqual(pickle.loads(pickle.dumps(at.message)).subject, "new")


class ErrorsTest(unittest.TestCase):
    def test_each_is_one_of_pythons_too(self):
        def builder(text):
            return mimetree.Builder().to(text).build

        with tempfile.TemporaryDirectory() as folder:
            rows = [
                (mimetree.NotMailError, ValueError, mimetree.parse, b""),
                (mimetree.IsMboxError, ValueError, mimetree.parse, MAILS / "archive.mbox"),
                (mimetree.NoFileError, FileNotFoundError, mimetree.parse, "no such file"),
                (mimetree.NoFileError, FileNotFoundError, mimetree.Mbox, "no such file"),
                (mimetree.ExistingFileError, FileExistsError, mimetree.MboxWriter, TRIP),
                (mimetree.FileError, OSError, mimetree.parse, folder),
                (mimetree.FileError, OSError, mimetree.Maildir, folder),
                (mimetree.InvalidArgumentError, ValueError, builder("no address")),
                (mimetree.NotFoundError, LookupError, mimetree.parse(TRIP).root.message),
                (TypeError, TypeError, mimetree.parse, "Subject: x\n\ny"),
                (TypeError, TypeError, mimetree.parse, io.StringIO("Subject: x\n\ny")),
                (UnicodeEncodeError, ValueError, mimetree.parse(TRIP).set_text, "\ud800"),
            ]
            for ours, theirs, function, *arguments in rows:
                with self.subTest(ours.__name__), self.assertRaises(ours) as caught:
                    function(*arguments)
                self.assertIsInstance(caught.exception, theirs)
        broken = b"Content-Type: multipart/mixed; boundary=a\n\ntext"
        mimetree.parse(broken)
        with self.assertRaises(mimetree.DamagedError):
            mimetree.parse(broken, strict=True)


    @unittest.skipUnless(os.path.exists("/proc/self/statm"), "the size of the process is not known")
    def test_memory_that_ran_out_is_no_missing_field(self):
        code = """
import mimetree, resource
mail = mimetree.parse(b"X-Big: " + b"a" * 60000000 + b"\\n\\n")
used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
resource.setrlimit(resource.RLIMIT_AS, (used + 30000000, -1))
try:
    mail.header("X-Big")
except MemoryError:
    print("out of memory")
"""
        self.assertEqual(subprocess.check_output([sys.executable, "-c", code]), b"out of memory\n")


class LifetimesTest(unittest.TestCase):
    def test_parts_and_views_keep_the_message(self):
        def picture():
            return mimetree.parse(TRIP).part_by_cid("train@example.org")

        part, view = picture(), picture().bytes
        gc.collect()
        self.assertEqual(bytes(view), bytes(part))

    def test_changes_wait_for_views_and_make_parts_void(self):
        mail = mimetree.parse(TRIP)
        first, same = mail.attachments[0], mail.attachments[0]
        with first.bytes:
            self.assertRaises(BufferError, mail.remove_part, first)
        self.assertRaises(ValueError, mimetree.parse(TRIP).remove_part, first)
        mail.remove_part(first)
        self.assertRaises(mimetree.StaleError, mail.remove_part, same)
        self.assertEqual(len(mail.attachments), 1)
        self.assertEqual(first, same)
        self.assertIn("changed", repr(first))

    def test_threads_share_a_message(self):
        mail = mimetree.parse(TRIP)
        written = set()

        def work(number):
            for i in range(25):
                written.add(len(mimetree.parse(mail.as_bytes()).parts))
                mail.set_header("X-Count", str(number * i))

        threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(written, {8})

    def test_others_run_while_a_message_is_parsed(self):
        """A parse of 60 MB would else let nobody run until it is done."""
        mail = b"Subject: x\nContent-Type: text/plain; charset=iso-8859-1\n\n" + 60 * b"\xe4" * 1000000
        ticks, done = [], threading.Event()

        def tick():
            while not done.wait(0.001):
                ticks.append(1)

        thread = threading.Thread(target=tick)
        thread.start()
        for _ in range(3):
            mimetree.parse(mail)
        done.set()
        thread.join()
        self.assertGreater(len(ticks), 5)


class MakingTest(unittest.TestCase):
    def test_bytes_and_files(self):
        mail = (mimetree.Builder().from_("zoe@example.org").text("x").html("<p>y")
                .inline_image(b"\x89PNG", "logo@example.org", "image/png").attach(b"1", "one.bin")
                .attach(MAILS / "logo.png").build())
        mail.add_attachment(memoryview(b"2"), "two.bin", type="application/x-two")
        mail.add_attachment(str(TRIP), type="message/rfc822")
        self.assertEqual([part.name for part in mail.attachments], ["one.bin", "logo.png", "two.bin", "trip.eml"])
        self.assertEqual(bytes(mail.part_by_cid("<logo@example.org>")), b"\x89PNG")
        self.assertTrue(mail.remove_header("Message-ID") and not mail.remove_header("Message-ID"))


class MailboxTest(unittest.TestCase):
    TEXT = (MAILS / "archive.mbox").read_bytes()

    def test_paths_and_files_give_the_same(self):
        subjects = [mail.subject for mail in mimetree.Mbox(MAILS / "archive.mbox")]
        self.assertEqual(len(subjects), 2)
        for file in (io.BytesIO(self.TEXT), gzip.open(io.BytesIO(gzip.compress(self.TEXT)))):
            with mimetree.Mbox(file, "rd") as box:
                raws = list(box.raw())
                self.assertEqual(([raw.parse().subject for raw in raws], box.kind), (subjects, "rd"))
            self.assertEqual(b"".join(self.TEXT[r.offset:r.offset + r.size] for r in raws), self.TEXT)
            self.assertRaises(ValueError, next, box)

    def test_what_is_written_reads_back(self):
        class Slow(io.BytesIO):
            def write(self, data):
                return super().write(data[:1000])

        mails = [path.read_bytes() for path in SAMPLES]
        with tempfile.TemporaryDirectory() as folder, Slow() as slow:
            path = os.path.join(folder, "new.mbox")
            with mimetree.MboxWriter(path) as file, mimetree.MboxWriter(slow) as other:
                for mail in mails:
                    file.add(memoryview(mail))
                    other.add(mail)
            self.assertRaises(ValueError, file.add, b"")
            with mimetree.Mbox(path) as box, mimetree.MboxWriter(again := io.BytesIO()) as copy:
                for raw, mail in zip(box.raw(), mails):
                    self.assertEqual(raw.bytes, mail)
                    copy.add(raw)
                copy.add(mimetree.parse(TRIP))
            whole = pathlib.Path(path).read_bytes()
            self.assertEqual(slow.getvalue(), whole)
            self.assertTrue(again.getvalue().startswith(whole))
        for file, raised in ((io.StringIO(), TypeError), (again, ValueError), (io.BufferedReader(io.BytesIO()), OSError)):
            again.close()
            self.assertRaises(raised, mimetree.MboxWriter(file).add, b"A: b\n\n")

    def test_what_a_file_raises_ends_the_walk(self):
        class Broken:
            def __init__(self, gives):
                self.gives = gives

            def read(self, size):
                if isinstance(self.gives, Exception):
                    raise self.gives
                return self.gives

        for gives, raised in ((KeyError("disk"), KeyError), ("text", TypeError), (b"x" * 10**7, TypeError)):
            with self.assertRaises(raised):
                list(mimetree.Mbox(Broken(gives)))

    def test_the_walk_goes_on_behind_what_is_no_mail(self):
        front = b"From a@example.org Thu Nov  1 12:34:56 2001\n"
        box = mimetree.Mbox(io.BytesIO(front + b"Subject: 1\n\n\n" + front + b"\n\n" + front + b"Subject: 3\n\n\n"))
        found = []
        while True:
            try:
                found.append(next(box).subject)
            except mimetree.NotMailError:
                found.append(None)
            except StopIteration:
                break
        self.assertEqual(found, ["1", None, "3"])

    def test_maildir(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("new", "cur", "tmp"):
                os.mkdir(os.path.join(folder, name))
            pathlib.Path(folder, "cur/1:2,FS").write_bytes(b"Subject: one\n\n")
            os.symlink("nowhere", os.path.join(folder, "new/2"))
            with mimetree.Maildir(folder) as box:
                self.assertEqual([(raw.flags, raw.parse().subject) for raw in box.raw()], [("FS", "one")])
                self.assertEqual((box.skipped, box.error.endswith("2: No such file or directory")), (1, True))


class StubsTest(unittest.TestCase):
    def test_stubs_name_what_is_there_and_all_has_a_word(self):
        tree = ast.parse((ROOT / "python/mimetree/_mimetree.pyi").read_text(encoding="utf-8"))
        classes = {node.name: node for node in tree.body if isinstance(node, ast.ClassDef)}

        def members(node):
            bases = [members(classes[base.id]) for base in node.bases]
            return {one.name for one in node.body if isinstance(one, ast.FunctionDef)}.union(*bases)

        for name in (name for name in classes if name[0] != "_"):
            stub = members(classes[name])
            kind = getattr(mimetree, name)
            there = {one for one in dir(kind) if one[0] != "_" or one in stub}
            self.assertEqual({one for one in stub if one[:2] != "__"}, {one for one in there if one[:2] != "__"})
            self.assertLessEqual(stub, set(dir(kind)))
            for one in there:
                self.assertTrue(inspect.getdoc(getattr(kind, one)) or one[0] == "_", f"{name}.{one}")
        for name in set(mimetree.__all__) - {"__version__"}:
            self.assertTrue(inspect.getdoc(getattr(mimetree, name)), name)


if __name__ == "__main__":
    unittest.main()

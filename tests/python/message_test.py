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
                for part in mail:
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
                self.assertEqual([raw.parse().subject for raw in raws], subjects)
            self.assertEqual(b"".join(self.TEXT[r.offset:r.offset + r.size] for r in raws), self.TEXT)
            self.assertRaises(ValueError, next, box)

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
        shared = classes.pop("_Mailbox")
        del classes["_Readable"]
        for name, node in classes.items():
            members = node.body + (shared.body if node.bases else [])
            stub = {one.name for one in members if isinstance(one, ast.FunctionDef)}
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

# SPDX-License-Identifier: Apache-2.0
"""Any method, of any object, in any order, with any arguments, gives a value or raises: it never ends
the process.  Parts outlive their messages, and messages are changed under parts and views."""

import email.message
import gc
import io
import os
import random
import tempfile
import threading
import unittest

import mimetree

MAILS = os.path.join(os.path.dirname(__file__), "../../examples/mails")
# IndexError is of the pool, which another thread made smaller.
RAISED = (mimetree.Error, TypeError, ValueError, BufferError, StopIteration, RuntimeError,
          AttributeError, IndexError)
CLASSES = (mimetree.Message, mimetree.Part, mimetree.Builder, mimetree.Mbox, mimetree.Maildir,
           mimetree.RawMessage, mimetree.MboxWriter, mimetree.OpenedPart)


def some_mail(dice):
    """A mail with a few kinds of parts, broken in places now and then."""
    with open(os.path.join(MAILS, dice.choice(["trip.eml", "signed.eml"])), "rb") as file:
        mail = bytearray(file.read())
    for _ in range(dice.choice([0, 0, 1, 20])):
        mail[dice.randrange(len(mail))] = dice.randrange(256)
    return bytes(mail)


def arguments(dice, pool):
    values = ["", "Subject", "2", "1.2.1", "train@example.org", "text/plain", "utf-8", "html", "Zo\xeb",
              "\ud800", "a@example.org", b"bytes", bytearray(b"array"), None, 7, -1, "trip.eml", ".", "out",
              email.message.EmailMessage(), True]
    return [dice.choice(dice.choice([values, pool])) for _ in range(dice.choice([0, 0, 1, 1, 2, 3]))]


def one_step(dice, pool):
    that = dice.choice(pool)
    if isinstance(that, memoryview):
        return dice.choice([bytes, memoryview.release, hash, len])(that)
    if dice.random() < 0.1:
        return dice.choice([repr, hash, iter, bytes, list, type(that).__new__, type(that)])(
            dice.choice([that, type(that)]))
    name = dice.choice([name for name in dir(type(that)) if name[:2] != "__"])
    value = getattr(that, name)
    return value(*arguments(dice, pool)) if callable(value) else value


def walk(seed, steps, pool):
    dice = random.Random(seed)
    for _ in range(steps):
        try:
            if len(pool) < 3 or dice.random() < 0.02:
                pool.append(mimetree.Builder())
                pool.append(mimetree.Mbox("archive.mbox"))
                pool.append(mimetree.MboxWriter(dice.choice([io.BytesIO, io.StringIO])()))
                pool.append(mimetree.parse(some_mail(dice)))
            value = one_step(dice, pool)
            pool.extend(one for one in (value if isinstance(value, (list, tuple)) else [value])
                        if isinstance(one, CLASSES + (memoryview,)))
            while len(pool) > 30:
                pool[dice.randrange(30)] = pool.pop()
        except RAISED:
            pass


class OrderTest(unittest.TestCase):
    def setUp(self):
        self.addCleanup(os.chdir, os.getcwd())
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)
        for name in os.listdir(MAILS):
            os.symlink(os.path.abspath(os.path.join(MAILS, name)), name)

    def test_any_order(self):
        for seed in range(int(os.environ.get("MIMETREE_SEEDS", "40"))):
            walk(seed, 1000, [])
            gc.collect()

    def test_any_order_in_threads_that_share_all(self):
        pool, failed = [], []

        def run(seed):
            try:
                walk(seed, 3000, pool)
            except BaseException as error:
                failed.append(error)

        threads = [threading.Thread(target=run, args=(seed,)) for seed in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failed, [])


if __name__ == "__main__":
    unittest.main()

# SPDX-License-Identifier: Apache-2.0
"""mimetree.dask: any blocks give the rows of one, and nothing that cannot be read ends a run."""

import gzip
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

try:
    import dask
    import distributed
    import pandas
except ImportError as missing:
    print("the tests of mimetree.dask are skipped:", missing)
    sys.exit(77)

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))
import dask_scale

from mimetree.dask import COLUMNS, read_mails


class DaskTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        with mock.patch.object(dask_scale, "ODD", dask_scale.ODD[:2]):
            dask_scale.generate(cls.folder, 600)
        dask.config.set(scheduler="synchronous")

    def test_any_blocks_give_the_rows_of_one(self):
        whole = dask_scale.archive(self.folder, "1GiB")
        rows = whole.compute()
        self.assertEqual((len(rows), whole.npartitions), (600, 4))
        self.assertTrue(all(row["types"] for row in rows if not row["error"]))
        self.assertTrue(any(row["attachments"] for row in rows) and any(row["error"] for row in rows))
        for run_in in (1, 700, 1 << 20):
            for blocksize in (999, 5000, "20 KiB"):
                with mock.patch("mimetree.dask._RUN_IN", run_in):
                    self.assertEqual(dask_scale.archive(self.folder, blocksize).compute(), rows)

    def test_a_table(self):
        table = read_mails(self.folder / "*.mbox", "50kB", dataframe=True).compute()
        self.assertEqual({name: str(kind) for name, kind in table.dtypes.items()}, COLUMNS)
        rows = read_mails([str(self.folder / "*.mbox")]).compute()
        self.assertEqual(list(table["subject"]), [row["subject"] for row in rows])
        self.assertEqual(sum(pandas.notna(table["date"])), sum(row["date"] is not None for row in rows))

    def test_odd_files(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "none.mbox").write_bytes(b"")
            self.assertEqual(read_mails(folder / "none.mbox").compute(), [])
            self.assertEqual(read_mails([]).compute(), [])
            (folder / "all.mbox.gz").write_bytes(gzip.compress((self.folder / "0.mbox").read_bytes()))
            rows = read_mails(folder / "all.mbox.gz", 100).compute()
            self.assertEqual([{**row, "path": ""} for row in rows],
                             [{**row, "path": ""} for row in read_mails(self.folder / "0.mbox").compute()])
            self.assertRaises(NotADirectoryError, read_mails, folder)
            (folder / "one.eml").write_bytes(b"Subject: one\n\n")
            (folder / "two.eml").symlink_to("nowhere")
            found = read_mails(folder / "*.eml").compute()
            self.assertEqual([row["subject"] for row in found], ["one", None])
            self.assertIn("FileNotFoundError", found[1]["error"])
            (folder / "junk.mbox").write_bytes(b"\0\1\2" * 999)
            self.assertTrue(all(row["error"] for row in read_mails(folder / "junk.mbox", 500).compute()))

    def test_a_worker_may_be_lost(self):
        dask_scale.main(600)


if __name__ == "__main__":
    unittest.main()

# SPDX-License-Identifier: Apache-2.0
"""Archives of mail larger than a machine, with Dask:

    import mimetree.dask

    mails = mimetree.dask.read_mails("archive/*.mbox")  # a bag of records, nothing read yet
    mails.filter(lambda mail: mail["error"]).compute()
    mimetree.dask.read_mails("maildir/", dataframe=True).groupby("from").size().compute()

A partition is a block of an mbox, or some files of a Maildir.  It is read where it is worked on, and
again by another worker where one is lost.
"""

import hashlib
import os
from typing import IO, Any, Dict, Iterator, List, NamedTuple, Optional, Sequence, Tuple, Union

import dask.bag
import fsspec.core
import fsspec.utils
from dask.utils import parse_bytes

from . import Message, parse
from ._mimetree import Mbox

COLUMNS = {
    "path": "object",
    "offset": "int64",
    "size": "int64",
    "message_id": "object",
    "date": "datetime64[ns, UTC]",
    "from": "object",
    "to": "object",
    "subject": "object",
    "types": "object",
    "attachments": "object",
    "findings": "object",
    "error": "object",
}
"""Of the DataFrame; the keys of a record.  `offset` is where the mail begins in its mbox, `from` the
first address, `to` a list of them; `types` has those of all parts, `attachments` a dict with name, type,
size and sha256 for each, `findings` the names of what is wrong; `error` says why a mail could not be read, and is None else."""

Record = Dict[str, Any]

# How far in front of a block its reading begins.  Limit: where a mail that is longer says by
# Content-Length where it ends, and has unquoted From lines, the block begins at one of these.
_RUN_IN = 1 << 20
# In the middle of a mail's body, for what follows.
_MIDDLE = b"From mimetree@localhost Thu Jan  1 00:00:00 1970\nSubject: middle\n\n-"


class _Block(NamedTuple):
    """The mails of an mbox that begin from `start` on and before `end`, or single files."""

    system: Any  # fsspec's file system
    paths: Tuple[str, ...]
    start: int
    end: Optional[int]  # None for single files

    def records(self) -> Iterator[Record]:
        if self.end is not None:
            yield from _of_mbox(self.system, self.paths[0], self.start, self.end)
        for path in self.paths if self.end is None else ():
            yield _of_file(self.system, path)


class _Joined:
    """Bytes, and the rest of a file behind them."""

    def __init__(self, front: bytes, file: IO[bytes]) -> None:
        self._front, self._file = front, file

    def read(self, size: int) -> bytes:
        piece, self._front = self._front[:size], self._front[size:]
        return piece or self._file.read(size)


def record(mail: Message) -> Record:
    """What a row has of a message."""
    return {
        "message_id": mail.message_id,
        "date": mail.date,
        "from": mail.from_.first.address,
        "to": [one.address for one in mail.to],
        "subject": mail.subject,
        "types": [part.type for part in mail],
        "attachments": [
            {
                "name": part.name,
                "type": part.type,
                "size": len(part.bytes),
                "sha256": hashlib.sha256(part.bytes).hexdigest(),
            }
            for part in mail.attachments
        ],
        "findings": [finding.name for finding in mail.findings()],
    }


def _row(path: str, offset: int, size: int, data: Optional[bytes], error: Optional[str] = None) -> Record:
    """Of a mail that may be none."""
    row: Record = dict.fromkeys(COLUMNS)
    row.update(path=path, offset=offset, size=size, to=[], types=[], attachments=[], findings=[], error=error)
    if data is not None:
        try:
            row.update(record(parse(data)))
        except Exception as failure:  # a row, and never the end of a run
            row["error"] = f"{type(failure).__name__}: {failure}"
    return row


def _of_file(system: Any, path: str) -> Record:
    try:
        data = system.cat_file(path)
    except OSError as failure:
        return _row(path, 0, 0, None, f"{type(failure).__name__}: {failure}")
    return _row(path, 0, len(data), data)


def _of_mbox(system: Any, path: str, start: int, end: int) -> Iterator[Record]:
    at = start
    try:
        with system.open(path, "rb", compression=_compression(path)) as file:
            begin = max(0, start - _RUN_IN)
            front = _MIDDLE if begin else b""
            file.seek(begin)
            for raw in Mbox(_Joined(front, file)).raw():
                at = raw.offset - len(front) + begin
                if at >= end:
                    return
                if at >= start:
                    yield _row(path, at, raw.size, raw.bytes)
    except Exception as failure:
        yield _row(path, at, 0, None, f"{type(failure).__name__}: {failure}")


def _compression(path: str) -> Optional[str]:
    found: Optional[str] = fsspec.utils.infer_compression(path)
    return found


def _mbox_blocks(system: Any, path: str, blocksize: int) -> Iterator[_Block]:
    size = system.size(path)
    if _compression(path):  # can be read from its beginning only
        size, blocksize = 1, 1 << 62
    for start in range(0, size, blocksize):
        yield _Block(system, (path,), start, start + blocksize)


def _size(system: Any, path: str) -> int:
    """0 where there is no telling: reading the file says why."""
    try:
        return system.size(path) or 0
    except OSError:
        return 0


def _file_blocks(system: Any, paths: Sequence[str], blocksize: int) -> Iterator[_Block]:
    some: List[str] = []
    size = 0
    for path in paths:
        some.append(path)
        size += _size(system, path)
        if size >= blocksize:
            yield _Block(system, tuple(some), 0, None)
            some, size = [], 0
    if some:
        yield _Block(system, tuple(some), 0, None)


def _blocks(url: Union[str, "os.PathLike[str]"], blocksize: int) -> Iterator[_Block]:
    system, path = fsspec.core.url_to_fs(os.fspath(url))
    paths = sorted(system.glob(path)) if "*" in path or "?" in path else [path]
    yield from _file_blocks(system, [path for path in paths if path.endswith(".eml")], blocksize)
    for path in paths:
        if path.endswith(".eml"):
            continue
        if not system.isdir(path):
            yield from _mbox_blocks(system, path, blocksize)
            continue
        folders = [path + "/" + name for name in ("cur", "new") if system.isdir(path + "/" + name)]
        if not folders:
            raise NotADirectoryError(f"{path}: no Maildir")
        files = [file for folder in folders for file in sorted(system.ls(folder, detail=False))]
        yield from _file_blocks(system, files, blocksize)


def _records(blocks: Sequence[_Block]) -> List[Record]:
    return [row for block in blocks for row in block.records()]


def _frame(block: _Block) -> Any:
    import pandas

    frame = pandas.DataFrame(_records([block]), columns=list(COLUMNS))
    # Years that a time in nanoseconds cannot hold are left out.
    frame["date"] = pandas.to_datetime(frame["date"], utc=True, errors="coerce")
    return frame.astype(COLUMNS)


def read_mails(
    urls: Union[str, "os.PathLike[str]", Sequence[Union[str, "os.PathLike[str]"]]],
    blocksize: Union[int, str] = "64MiB",
    *,
    dataframe: bool = False,
) -> Any:
    """A bag of records, or a DataFrame, with a row for each mail of the mbox files, Maildirs and .eml
    files: paths or URLs that fsspec knows, "*" and "?" in them.

    Only names and sizes are looked at now.  A mail that cannot be read is a row with its `error`.  A
    compressed mbox ("archive.mbox.gz") is one partition, as it cannot be split.
    """
    size = blocksize if isinstance(blocksize, int) else parse_bytes(blocksize)
    if size < 1:
        raise ValueError("blocksize must be at least one byte")
    several = [urls] if isinstance(urls, (str, os.PathLike)) else urls
    blocks = [block for url in several for block in _blocks(url, size)]
    blocks = blocks or [_Block(None, (), 0, None)]  # which are no mails
    if not dataframe:
        bag: Any = dask.bag
        return bag.from_sequence(blocks, partition_size=1).map_partitions(_records)

    import pandas
    from dask import dataframe as frames

    meta = pandas.DataFrame({name: pandas.Series(dtype=kind) for name, kind in COLUMNS.items()})
    return frames.from_delayed([dask.delayed(_frame)(block) for block in blocks], meta=meta)

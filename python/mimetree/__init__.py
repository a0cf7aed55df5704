# SPDX-License-Identifier: Apache-2.0
"""mimetree: mail into a tree of parts, and back.

    import mimetree

    mail = mimetree.parse("mail.eml")
    print(mail.subject, mail.text)
    for file in mail.attachments:
        file.save("downloads")

Texts are str.  Damaged mail is repaired rather than refused; what cannot be read raises
mimetree.Error.  Other threads run while a message is parsed or written.
"""

import os
from typing import IO, Union

from . import _mimetree
from ._additions import from_email, to_email
from ._mimetree import (
    Builder,
    Maildir,
    Mbox,
    MboxWriter,
    Message,
    Part,
    RawMessage,
    __version__,
    finding_kind,
    finding_kinds,
)
from .errors import (
    DamagedError,
    Error,
    ExistingFileError,
    FileError,
    InvalidArgumentError,
    IsMboxError,
    NoFileError,
    NotFoundError,
    NotMailError,
    OutOfMemoryError,
    StaleError,
    TooLargeError,
)
from .values import (
    Address,
    Addresses,
    EmbeddedFile,
    Finding,
    FindingKind,
    Header,
    OpenedPart,
    OpenedParts,
    Rule,
)

__all__ = [
    "Address",
    "Addresses",
    "Builder",
    "DamagedError",
    "EmbeddedFile",
    "Error",
    "ExistingFileError",
    "FileError",
    "Finding",
    "FindingKind",
    "Header",
    "InvalidArgumentError",
    "IsMboxError",
    "Maildir",
    "Mbox",
    "MboxWriter",
    "Message",
    "NoFileError",
    "NotFoundError",
    "NotMailError",
    "OpenedPart",
    "OpenedParts",
    "OutOfMemoryError",
    "Part",
    "RawMessage",
    "Rule",
    "StaleError",
    "TooLargeError",
    "__version__",
    "finding_kind",
    "finding_kinds",
    "from_email",
    "parse",
    "to_email",
]

Source = Union[bytes, bytearray, memoryview, str, "os.PathLike[str]", IO[bytes]]


def parse(source: Source, *, strict: bool = False, keep_source: bool = True) -> Message:
    """Reads a message: out of bytes, the file of a path, or a file in binary mode.

    With CRLF, LF or CR, an mbox line in front or not, without any header even.  What is no mail
    raises NotMailError, a file of many messages IsMboxError; with `strict`, a multipart whose
    boundary is missing raises DamagedError.  Without `keep_source` the message takes less memory, its
    `source` is empty, and findings() looks at it as it would be written.
    """
    if isinstance(source, bytes):
        return _mimetree._parse(source, strict, keep_source)
    if isinstance(source, str) and "\n" in source:
        raise TypeError("a str is the path of a file: encode the text of a mail to bytes")
    if isinstance(source, (str, os.PathLike)):
        return _mimetree._read(source, strict, keep_source)
    data = source.read() if hasattr(source, "read") else memoryview(source)
    if isinstance(data, str):
        raise TypeError("the file must be opened in binary mode")
    return _mimetree._parse(bytes(data), strict, keep_source)

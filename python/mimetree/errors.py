# SPDX-License-Identifier: Apache-2.0
"""What mimetree raises.  Each class is one of Python's own as well: `except OSError` catches a file
that cannot be read."""

import errno
import os


class Error(Exception):
    """What all others are."""


class OutOfMemoryError(Error, MemoryError):
    """The message is as it was."""


class FileError(Error, OSError):
    """A file could not be opened, read, made or written; `errno` has the reason."""


class NoFileError(FileError, FileNotFoundError):
    """There is no such file."""


class ExistingFileError(FileError, FileExistsError):
    """There is such a file already."""


class NotMailError(Error, ValueError):
    """Empty, or bytes that are no message: a picture, a program."""


class IsMboxError(Error, ValueError):
    """Many messages in one file: Mbox reads them."""


class TooLargeError(Error, ValueError):
    """4 GiB and more."""


class NotFoundError(Error, LookupError):
    """No such part, header field or file in the message."""


class InvalidArgumentError(Error, ValueError):
    """What was asked for cannot be written so that a strict reader takes it."""


class DamagedError(Error, ValueError):
    """Strict parsing was asked for, and a boundary is missing."""


class StaleError(Error, ReferenceError):
    """The message was changed since this part was taken from it."""


_FILE_ERRORS = {errno.ENOENT: NoFileError, errno.EEXIST: ExistingFileError}

# By the number of the library's Errc.
_CLASSES = (
    OutOfMemoryError,
    FileError,
    NotMailError,
    IsMboxError,
    TooLargeError,
    NotFoundError,
    InvalidArgumentError,
    DamagedError,
)


def _error_of(code: int, message: str) -> Error:
    """Called by the module: the error of that number."""
    kind = _CLASSES[code - 1]
    if kind is not FileError:
        return kind(message)
    # "PATH: REASON", the reason in the system's words.
    path, _, reason = message.rpartition(": ")
    number = next((n for n in errno.errorcode if os.strerror(n) == reason), None)
    if number is None:
        return FileError(message)
    return _FILE_ERRORS.get(number, FileError)(number, reason, path)

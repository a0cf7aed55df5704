# SPDX-License-Identifier: Apache-2.0
"""What the classes of the module have in Python: methods with arguments of several kinds, and the
way to and from the classes of the standard library's email."""

import email.message
import os
from datetime import datetime, timedelta
from email import message_from_bytes, policy
from typing import Any, Optional, Union

from ._mimetree import Builder, MboxWriter, Message, RawMessage, _parse

Bytes = Union[bytes, bytearray, memoryview]
PathOrBytes = Union[str, "os.PathLike[str]", Bytes]


def to_email(message: Message, policy: Any = policy.default) -> Any:
    """The message as an email.message.EmailMessage, or what else the policy makes."""
    return message_from_bytes(message.as_bytes(), policy=policy)


def from_email(message: email.message.Message) -> Message:
    """The message that an email.message.Message or EmailMessage is."""
    return _parse(message.as_bytes(), False, True)


def _add_attachment(
    self: Message, file: PathOrBytes, name: Optional[str] = None, type: Optional[str] = None
) -> None:
    """Attaches the file of a path, or bytes under a name.

    The type, "image/png", goes by the name unless given.
    """
    if isinstance(file, (str, os.PathLike)):
        self._add_file(file, name or "", type or "")
    else:
        self._add_bytes(bytes(file), name or "", type or "")


def _attach(
    self: Builder, file: PathOrBytes, name: Optional[str] = None, type: Optional[str] = None
) -> Builder:
    """Attaches the file of a path, which is read at once, or bytes under a name."""
    if isinstance(file, (str, os.PathLike)):
        self._attach_file(file, name or "", type or "")
    else:
        self._attach_bytes(bytes(file), name or "", type or "")
    return self


def _inline_image(self: Builder, file: PathOrBytes, cid: str, type: Optional[str] = None) -> Builder:
    """A picture that the HTML shows as `cid:` and this identifier; bytes need a type."""
    if isinstance(file, (str, os.PathLike)):
        self._inline_file(file, cid, type or "")
    else:
        self._inline_bytes(bytes(file), cid, type or "")
    return self


def _date(self: Builder, date: datetime) -> Builder:
    """Once; a date without a zone is local time."""
    aware = date.astimezone() if date.utcoffset() is None else date
    return self._date(int(aware.timestamp()), (aware.utcoffset() or timedelta()) // timedelta(minutes=1))


def _add(self: MboxWriter, mail: Union[Message, RawMessage, Bytes]) -> None:
    """Adds a message: a RawMessage and bytes as they are, a Message as as_bytes() gives it.

    The From line has the sender and the time of delivery that the header tells.
    """
    if isinstance(mail, Message):
        self._add(mail.as_bytes())
    else:
        self._add(bytes(memoryview(mail.bytes if isinstance(mail, RawMessage) else mail)))


for _class, _name, _function in (
    (MboxWriter, "add", _add),
    (Message, "to_email", to_email),
    (Message, "add_attachment", _add_attachment),
    (Builder, "attach", _attach),
    (Builder, "inline_image", _inline_image),
    (Builder, "date", _date),
):
    _function.__name__ = _name
    _function.__qualname__ = f"{_class.__name__}.{_name}"
    setattr(_class, _name, _function)

# SPDX-License-Identifier: Apache-2.0
"""Plain values that messages answer with."""

from datetime import datetime, timedelta, timezone
from typing import TYPE_CHECKING, NamedTuple, Optional, Tuple

if TYPE_CHECKING:
    from ._mimetree import Message, Part


class Address(NamedTuple):
    """A mailbox (RFC 5322 3.4)."""

    name: str
    """Display name, decoded; empty when there is none."""
    address: str
    """ "user@example.org", without angle brackets."""

    def __str__(self) -> str:
        """For people, not for a header: `Ann Other <ann@example.org>`."""
        if not self.name or not self.address:
            return self.name or self.address
        return f"{self.name} <{self.address}>"


class Addresses(Tuple[Address, ...]):
    """The addresses of a field in their order, members of groups included."""

    __slots__ = ()

    @property
    def first(self) -> Address:
        """The first, or an empty one."""
        return self[0] if self else Address("", "")

    def __str__(self) -> str:
        """For people, not for a header: `Ann Other <ann@example.org>, bob@example.org`."""
        return ", ".join(map(str, self))


class Header(NamedTuple):
    """A header field."""

    name: str
    """As written."""
    value: str
    """Folds opened, encoded words decoded."""
    raw: bytes
    """As received, folds and encoded words in it."""


class Rule(NamedTuple):
    """Why a part is body, attachment, inline or none of these: a rule in docs/faq.md."""

    name: str
    """ "named-text", as it has it."""
    what: str
    """A line for people."""


class EmbeddedFile(NamedTuple):
    """A file that stands in a plain text in uuencode."""

    name: str
    """As safe as Part.name."""
    bytes: bytes
    """Decoded."""
    lines: str
    """From its begin line through the end of its last, as Part.text has them."""


class OpenedPart(NamedTuple):
    """A part, and where it stands in all that was opened."""

    part: "Part"
    message: "Message"
    """Whose part it is: the one that was asked, or one within it, which may be changed by itself."""
    number: str
    """As IMAP counts parts (RFC 3501 6.4.5), going on into messages within: the parts of the message
    that is part 2 are "2.1", "2.2" and so on; a message that has no parts has one, its text.  Empty for
    the outermost root, for a multipart that is the whole of a message within another, and below a depth
    of 32."""
    depth: int
    """Messages within messages count on."""
    parent: Optional[int]
    """Its place in the list; None for the outermost root."""
    is_opened: bool
    """Whether the root of the message within it comes next."""


class OpenedParts(Tuple[OpenedPart, ...]):
    """The parts of a message and of the messages within it, in reading order, a part before those within
    it.  Limit: messages that are nested deeper than 32 stay shut, and so do further ones when those within
    have come to eight times the size of what they are within."""

    __slots__ = ()

    def find(self, number: str) -> Optional[OpenedPart]:
        """The part with this number, "" for the outermost root, which is "1", too, if it has no parts;
        None when there is none."""
        for one in self:
            if one.number == number:
                return one
        is_leaf = len(self) == 1 or self[0].is_opened
        return self[0] if is_leaf and number == "1" else None


class FindingKind(NamedTuple):
    """A kind of findings."""

    number: int
    """12; from 1 on."""
    id: str
    """ "MT012"."""
    name: str
    """ "nul-byte"."""
    severity: str
    """ "info", "warning" or "critical"."""
    reference: str
    """ "RFC 5322 2.2", what it offends."""
    explanation: str
    """What it is, what readers make of it and where it comes from."""


class Finding(NamedTuple):
    """A place where something is wrong with a message."""

    number: int
    """Of its kind, which finding_kind() and docs/findings.md explain."""
    id: str
    """ "MT012"."""
    name: str
    """ "nul-byte"."""
    severity: str
    """ "info", "warning" or "critical"."""
    offset: int
    """Bytes in front of it, in `source` or, where that is empty, in as_bytes()."""
    line: int
    """From 1."""
    part: str
    """As IMAP counts parts, going on into messages in messages; empty for the message itself."""
    sentence: str
    """One line for people."""
    more: int
    """How many follow the twentieth place of a kind, which are not listed."""


_EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


def _date_of(seconds: int, minutes: int) -> Optional[datetime]:
    """Called by the module.  Limit: of what datetime cannot hold, zones of a day and more are UTC,
    and years before 1 and after 9999 no date."""
    zone = timezone(timedelta(minutes=minutes)) if abs(minutes) < 24 * 60 else timezone.utc
    try:
        return (_EPOCH + timedelta(seconds=seconds)).astimezone(zone)
    except OverflowError:
        return None

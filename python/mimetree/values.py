# SPDX-License-Identifier: Apache-2.0
"""Plain values that messages answer with."""

from datetime import datetime, timedelta, timezone
from typing import NamedTuple, Optional, Tuple


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


class Finding(NamedTuple):
    """A place where something is wrong with a message."""

    id: str
    """Of its kind, "MT012", which `mimetree explain` and docs/findings.md explain."""
    name: str
    """ "nul-byte"."""
    severity: str
    """ "info", "warning" or "critical"."""
    offset: int
    """Bytes in front of it, in `source` or, where that is empty, in as_bytes()."""
    line: int
    """From 1."""
    part: str
    """As IMAP counts parts; empty for the message itself."""
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

"""The exceptions of the package."""

from __future__ import annotations


class Error(Exception):
    """What the library cannot do.

    `category` is that of the library's message ("RunHistory::NoRsrcs", say), `log` has the lines that it logged
    at error severity meanwhile.
    """

    def __init__(self, message: str = "", category: str = "", log: tuple[str, ...] = ()) -> None:
        super().__init__(message)
        self.category = category
        self.log = tuple(log)

    def __reduce__(self) -> tuple[type[Error], tuple[str, str, tuple[str, ...]]]:
        return type(self), (str(self), self.category, self.log)


class RunNotFound(Error, LookupError):
    """The runs table has no such run."""


class DatabaseError(Error):
    """A database, or the snapshot in its place, could not be read."""


class IncompleteError(DatabaseError):
    """Part of a run could not be read, and incomplete="raise" was asked for."""


class IncompleteWarning(UserWarning):
    """Part of a run could not be read: the statuses of its values say so."""

"""Lists of runs."""

from __future__ import annotations

import datetime
from collections.abc import Iterable, Iterator, Sequence
from typing import Any, SupportsIndex, Union, overload

import numpy as np

from . import _brio, _detector, _html, _log, _source
from ._errors import DatabaseError
from ._records import Records, records
from ._run import Run, facts
from ._settings import Settings
from ._status import Status

Time = Union[str, datetime.date, np.datetime64, None]

_COLUMNS = ("start", "stop", "duration", "run_type", "partition", "configuration", "subruns", "diblocks", "dcms", "pot",
            "good_diblocks")
# What a query is asked for beside the runs table, by column.
_PARTS = {"diblocks": "resources", "dcms": "resources", "pot": "pot", "good_diblocks": "masks"}


class Runs(Sequence[Run]):
    """The runs of a detector that a selection leaves, in ascending order. Made by `brio.runs`.

    Nothing is asked until the list is used; then one query gives the runs, with times, types, partitions,
    configurations and numbers of subruns. `table` asks once for what it is told.
    """

    def __init__(self, detector: str, source: _source.Source, selection: dict[str, Any], settings: Settings) -> None:
        self._detector = _detector.checked(detector)
        self._source = _source.template(source)
        self._selection = selection
        self._settings = settings
        self._runs: list[Run] | None = None

    def __reduce__(self) -> tuple[Any, ...]:
        return Runs, (self._detector, self._source, self._selection, self._settings)

    def __repr__(self) -> str:
        chosen = "".join(f", {name}={wanted!r}" for name, wanted in self._selection.items()
                         if wanted not in (None, 0, ()))
        return f"<runs of {self._detector}{chosen}>"

    def _repr_html_(self) -> str:
        """The runs, when they were asked for already. Never asks a database."""
        return _html.runs(self)

    def __len__(self) -> int:
        return len(self._listed())

    @overload
    def __getitem__(self, index: SupportsIndex) -> Run: ...

    @overload
    def __getitem__(self, index: slice) -> list[Run]: ...

    def __getitem__(self, index: SupportsIndex | slice) -> Run | list[Run]:
        return self._listed()[index]

    def __iter__(self) -> Iterator[Run]:
        return iter(self._listed())

    @property
    def numbers(self) -> list[int]:
        """The runs' numbers."""
        return [run.number for run in self._listed()]

    def table(self, columns: Iterable[str] | None = None) -> Records:
        """Facts about all the runs as records, from one query: "run", the columns, and a status of each.

        start, stop    datetime64, UTC
        duration       seconds
        run_type, partition, configuration, subruns
                       as the runs table has them
        diblocks, dcms how many took part, masked ones included
        pot            protons on target, as they are stored
        good_diblocks  the newest good-diblock mask, bit 0 for diblock 1

        Without columns, all of them. What is not stored is masked. Raises DatabaseError when a table cannot be read.
        """
        wanted = _COLUMNS if columns is None else _checked(columns)
        table = self._query(sorted({_PARTS[name] for name in wanted if name in _PARTS}))
        for name in wanted:
            if name in _PARTS and np.any(table[name + "_status"] == Status.RUN_NOT_LOADED):
                self._complain_unless_bad(table, name)
        return table[["run", *wanted, *(name + "_status" for name in wanted)]]  # type: ignore[no-any-return]

    def save(self, path: str, *, append: bool = False) -> None:
        """Saves them into one snapshot file; see Run.save."""
        from ._run import save

        save(self, path, append=append)

    def _complain_unless_bad(self, table: Records, name: str) -> None:
        """A single run may have a name of a DCM that tells no diblock; a table that cannot be read lacks all."""
        status = table[name + "_status"]
        if np.all(np.isin(status, (Status.RUN_NOT_LOADED, Status.NOT_IN_RUN))):
            raise DatabaseError(f"the column {name!r} of the runs of {self._detector} cannot be read", "BrioDatabase")

    def _listed(self) -> list[Run]:
        if self._runs is None:
            table = self._query([])
            made = []
            for index, number in enumerate(table["run"].data.tolist()):
                run = Run(number, self._detector, self._source)
                run._settings = self._settings
                run._facts = facts(table, index)
                made.append(run)
            self._runs = made
        return self._runs

    def _query(self, parts: list[str]) -> Records:
        chosen = dict(self._selection)
        # A file of answers compares no times: that is done here.
        after: dict[str, Any] = {}
        if _source.is_snapshot(self._source):
            after = {name: chosen.pop(name) for name in ("since", "until")}
            newest = chosen["newest"]
            if any(after.values()):
                chosen["newest"] = 0
        table = records(*_brio.list_runs(
            self._detector, self._source, _log.level(), chosen["first"], chosen["last"], chosen.get("since"),
            chosen.get("until"), chosen["at"], chosen["run_type"], chosen["partition"], chosen["configuration"],
            list(chosen["where"]), chosen["newest"], parts))
        if any(after.values()):
            table = _between(table, after["since"], after["until"])
            table = table[-newest:] if newest else table
        return table


def runs(detector: str, first: SupportsIndex | None = None, last: SupportsIndex | None = None, *, since: Time = None,
         until: Time = None, at: Time = None, run_type: str | None = None, partition: SupportsIndex | None = None,
         configuration: SupportsIndex | None = None, where: Iterable[str] = (), newest: SupportsIndex = 0,
         source: _source.Source = None, **settings: Any) -> Runs:
    """The runs of a detector, selected in the database.

    >>> for run in brio.runs("Birch", 13000, 13004, source="snapshot:sample"): print(run.number)  # doctest: +SKIP

    first, last    numbers, both included
    since, until   started then or later; started before
    at             going on then
    run_type, partition, configuration
                   as the runs table has them
    where          comparisons of columns of the runs table, such as "nsubruns >= 20"
    newest         at most so many, those with the highest numbers
    source, and settings for the runs: see brio.Run

    Times are datetimes (without a zone: UTC), dates, or texts that PostgreSQL reads. A snapshot answers for the runs
    that it holds; it knows no `at` and no `where`, and of texts as times only those that numpy reads.
    Raises ValueError for a detector or a comparison that there is not; the list raises DatabaseError when used.
    """
    selection = {
        "first": None if first is None else _detector.number(first),
        "last": None if last is None else _detector.number(last),
        "since": _time(since), "until": _time(until), "at": _time(at), "run_type": run_type,
        "partition": None if partition is None else _detector.number(partition, "a partition"),
        "configuration": None if configuration is None else _long(configuration),
        "where": (where,) if isinstance(where, str) else tuple(where),
        "newest": _detector.number(newest, "a number of runs"),
    }
    if selection["newest"] < 0:  # type: ignore[operator]
        raise ValueError("newest cannot be negative")
    return Runs(detector, source, selection, Settings(**settings))


def _long(configuration: SupportsIndex) -> int:
    result = int(np.int64(configuration.__index__()))
    return result


def _time(time: Time) -> str | None:
    """As PostgreSQL reads it, in UTC."""
    if isinstance(time, datetime.datetime) and time.tzinfo is not None:
        time = time.astimezone(datetime.timezone.utc).replace(tzinfo=None)
    if isinstance(time, np.datetime64):
        if np.isnat(time):
            raise ValueError("not a time")
        time = str(time)
    if time is None or isinstance(time, str):
        return time
    return time.isoformat()


def _between(table: Records, since: str | None, until: str | None) -> Records:
    start = table["start"]
    chosen = ~np.ma.getmaskarray(start)
    if since is not None:
        chosen &= start.data >= np.datetime64(since)
    if until is not None:
        chosen &= start.data < np.datetime64(until)
    return table[chosen]  # type: ignore[no-any-return]


def _checked(columns: Iterable[str]) -> list[str]:
    wanted = [columns] if isinstance(columns, str) else list(columns)
    for name in wanted:
        if name not in _COLUMNS:
            raise KeyError(f"there is no column {name!r}: choose from {', '.join(_COLUMNS)}")
    return wanted

"""One run of one detector."""

from __future__ import annotations

import datetime
import os
import warnings
from typing import TYPE_CHECKING, Any, SupportsIndex

import numpy as np
import numpy.typing as npt

from . import _brio, _detector, _html, _items, _log, _source
from ._errors import DatabaseError, IncompleteWarning, RunNotFound
from ._map import Map
from ._records import Records, records, value
from ._settings import Settings
from ._status import Status

if TYPE_CHECKING:
    import pandas

_UTC = datetime.timezone.utc


class Run:
    """One data-taking run of one detector. Making it loads nothing; the first question that needs something loads it.

    >>> run = brio.Run(13000, "Birch", source="snapshot:sample")
    >>> run.start.isoformat(), run.run_type
    ('2014-06-10T03:00:00+00:00', 'Physics')
    >>> run.channel(plane=66, cell=17).threshold
    61

    number    of the run; one outside 10000 to 999999 is a simulated run, a perfect detector
    detector  one of brio.DETECTORS
    source    where it is read from: a snapshot's file, "snapshot:sample", or a libpq connection string with
              {detector} and {database} in it; None for what the environment variable BRIO_DATABASE says
    settings  see brio.Settings

    The facts of the run (start, stop, pot, ...) come with one query. Everything about boards and channels comes with
    one load, which takes as long as the library takes, and then stays in memory.

    Raises ValueError for a detector that there is not. Questions raise RunNotFound, DatabaseError, or Error for a
    run that cannot be made sense of; the next question then asks again. A Run is pickled as its number, detector,
    source and settings, without what was loaded.
    """

    def __init__(self, number: SupportsIndex, detector: str, source: _source.Source = None, *, use_mask: bool = False,
                 analysis_mask: bool = False, custom_mask: int | None = None, retries: int = 0,
                 incomplete: str = "warn") -> None:
        self._number = _detector.number(number)
        self._detector = _detector.checked(detector)
        self._source = _source.template(source)
        self._settings = Settings(use_mask, analysis_mask, custom_mask, retries, incomplete)
        self._facts: dict[str, Any] | None = None
        self._loaded: dict[str, Any] | None = None
        self._quality: Records | None = None

    def __reduce__(self) -> tuple[Any, ...]:
        return _again, (self._number, self._detector, self._source, self._settings)

    def __repr__(self) -> str:
        source = "" if self._source is None else f", source={_source.shown(self._source)!r}"
        settings = "".join(f", {name}={setting!r}" for name, setting in self._settings.changed().items())
        return f"brio.Run({self._number}, {self._detector!r}{source}{settings})"

    def _repr_html_(self) -> str:
        """What is loaded already, on one screen. Never asks a database."""
        return _html.summary(self)

    # --- what it is ---

    @property
    def number(self) -> int:
        """The run's number."""
        return self._number

    @property
    def detector(self) -> str:
        """The detector's name."""
        return self._detector

    @property
    def settings(self) -> Settings:
        """How it is loaded."""
        return self._settings

    @property
    def simulated(self) -> bool:
        """Whether it is a simulated run, of which no table says anything."""
        return _detector.is_simulated(self._number)

    # --- the facts of the run, from one query ---

    @property
    def start(self) -> datetime.datetime | None:
        """When it began (UTC, aware); None where nothing is stored."""
        return _aware(self._fact("start"))

    @property
    def stop(self) -> datetime.datetime | None:
        """When it ended (UTC, aware); None where nothing is stored."""
        return _aware(self._fact("stop"))

    @property
    def duration(self) -> datetime.timedelta | None:
        """From start to stop; None without one of them, or when the stop is the earlier one."""
        seconds = self._fact("duration")
        return None if seconds is None else datetime.timedelta(seconds=seconds)

    @property
    def pot(self) -> float | None:
        """Protons on target, as they are stored; None where nothing is."""
        return self._fact("pot")  # type: ignore[no-any-return]

    @property
    def run_type(self) -> str | None:
        """Its type, "Physics" say; None where nothing is stored."""
        return self._fact("run_type")  # type: ignore[no-any-return]

    @property
    def partition(self) -> int | None:
        """The partition of the DAQ that took it."""
        return self._fact("partition")  # type: ignore[no-any-return]

    @property
    def configuration(self) -> int | None:
        """The id of its DAQ configuration."""
        return self._fact("configuration")  # type: ignore[no-any-return]

    @property
    def subruns(self) -> int | None:
        """How many subruns it has."""
        return self._fact("subruns")  # type: ignore[no-any-return]

    @property
    def good_diblocks(self) -> int | None:
        """The newest good-diblock mask that is stored, bit 0 for diblock 1."""
        return self._fact("good_diblocks")  # type: ignore[no-any-return]

    # --- the detector, from one load ---

    @property
    def boards(self) -> Records:
        """All places for boards, in the order of the readout (diblock, DCM, port): 10,752 records for Birch.

        diblock, dcm    from 1
        port            of the DCM, from 0
        plane, module   that it reads out; a module is 32 cells
        installed, enabled, temperature_control
                        truth values
        enabled_pixels  of an enabled board, how many
        threshold       mean of the enabled pixels, ADC counts
        gain            mean of the pixels, nominally 100
        measured_gain   the mean that was measured, also where the library replaces it by 100
        voltage         APD bias, volts
        temperature     degrees Celsius
        feb, apd        serials
        presence        brio.Status.KNOWN when the board's DCM took part, else why not
        ..._status      of each value (brio.Status)
        """
        return self._load()["boards"]  # type: ignore[no-any-return]

    @property
    def channels(self) -> Records:
        """All channels, in the order of the readout: 344,064 records for Birch. Channel i belongs to board i // 32.

        channel         number in the DAQ
        plane, cell     from 0
        diblock, dcm, port, pixel
                        where it is read out
        enabled         by the DAQ configuration
        threshold       ADC counts
        gain            nominally 100
        ..._status      of each value (brio.Status)
        """
        return self._load()["channels"]  # type: ignore[no-any-return]

    @property
    def measured_gains(self) -> npt.NDArray[np.float32]:
        """The gain that was measured of each channel, whatever the library uses in its place; not a number where
        none was. In the order of `channels`.
        """
        return self._load()["measured_gain"]  # type: ignore[no-any-return]

    @property
    def event_builders(self) -> tuple[str, ...]:
        """The names of the event builders."""
        return tuple(self._load()["event_builders"])

    @property
    def dcms(self) -> int:
        """How many DCMs took part, those of masked diblocks left out."""
        return int(self._load()["dcms"])

    def board(self, diblock: int, dcm: int, port: int) -> _items.Board:
        """One board as plain values, None where one is not known. Raises IndexError for a place that there is not."""
        index = _place(_brio.board_at, self._detector, diblock, dcm, port)
        if index is None:
            raise IndexError(f"{self._detector} has no diblock {diblock}, DCM {dcm}, port {port}")
        return _items.board(self.boards, index)

    def channel(self, channel: int | None = None, *, plane: int | None = None, cell: int | None = None,
                ) -> _items.Channel:
        """One channel by its number in the DAQ or by plane and cell, as plain values, None where one is not known.

        Raises IndexError for a channel that the detector does not have.
        """
        index: int | None = None
        if channel is not None and plane is None and cell is None:
            index = _place(_brio.channel_at, self._detector, channel)
        elif channel is None and plane is not None and cell is not None:
            places = _detector.planes(self._detector)
            if 0 <= plane < places.shape[0] and 0 <= cell < places.shape[1]:
                index = int(places[plane, cell])
        else:
            raise TypeError("a channel has a number, or a plane and a cell")
        if index is None or index < 0:
            name = f"plane {plane}, cell {cell}" if channel is None else f"channel {channel}"
            raise IndexError(f"{self._detector} has no {name}")
        return _items.channel(self.channels, self.boards, self.measured_gains, index)

    def by_plane(self, name: str) -> Any:
        """A column of `channels` or, where they have none of the name, of `boards`, as a masked array by plane and
        cell: of shape (896, 384) for Birch. What is not known is masked, and so is a cell that a plane does not have.
        """
        loaded = self._load()
        places = _detector.planes(self._detector)
        column, index = _column(loaded, name), places
        if name not in loaded["channels"].dtype.names:
            index = np.where(places < 0, -1, places // 32)
        missing = np.ma.getmaskarray(column)[index] | (places < 0)
        return np.ma.MaskedArray(column.data[index], mask=missing, copy=False, fill_value=column.fill_value)

    def map(self, name: str) -> Map:
        """A column by plane and cell, to be drawn: `run.map("temperature").plot()`."""
        return Map(self.by_plane(name), name, f"{self._detector} run {self._number}")

    @property
    def quality(self) -> pandas.DataFrame | Records:
        """The newest data-quality records of its subruns: a pandas data frame where pandas is installed, else
        records (`quality_records`).
        """
        try:
            import pandas  # noqa: F401
        except ImportError:
            return self.quality_records
        return self.quality_records.to_pandas()

    @property
    def quality_records(self) -> Records:
        """The same as records: run, subrun, flag, version, miprate, good_diblocks (number of good diblocks), slices,
        track_fraction. Empty when there are none. A value that the table does not hold shows what the library shows,
        0 or -1.
        """
        if self._quality is None:
            self._quality = records(*_brio.quality(self._detector, self._number, self._source, _log.level()))
        return self._quality

    def load(self) -> Run:
        """Loads boards and channels, if they are not. Returns the run itself."""
        self._load()
        return self

    def save(self, path: str | os.PathLike[str], *, append: bool = False) -> None:
        """Saves the run into a snapshot file, from which it can be read with source=path.

        append  keep the runs that the file holds already; else the file is replaced

        The run is read anew. One that is not in the runs table is saved as missing, with a warning. Raises
        DatabaseError when not everything could be read or the file cannot be written; then the file is as it was.
        """
        save([self], path, append=append)

    # --- how ---

    def _fact(self, name: str) -> Any:
        if self._facts is None or name not in self._facts:
            self._facts = self._read_facts()
        return self._facts[name]

    def _read_facts(self) -> dict[str, Any]:
        if self.simulated:
            return dict.fromkeys(("start", "stop", "duration", "pot", "run_type", "partition", "configuration",
                                  "subruns", "good_diblocks"))
        table = records(*_brio.list_runs(self._detector, self._source, _log.level(), self._number, self._number, None,
                                         None, None, None, None, None, [], 0, ["pot", "masks"]))
        if len(table) == 0:
            raise RunNotFound(f"there is no run {self._number} of {self._detector}", "RunHistory")
        for name, what in (("pot", "protons on target"), ("good_diblocks", "good-diblock masks")):
            if table[name + "_status"][0] == Status.RUN_NOT_LOADED:
                raise DatabaseError(f"the {what} of {self._detector} cannot be read", "BrioDatabase")
        return facts(table, 0)

    def _load(self) -> dict[str, Any]:
        if self._loaded is None:
            settings = self._settings
            loaded = _brio.load(self._detector, self._number, self._source, _log.level(), settings.use_mask,
                                settings.analysis_mask, settings.custom_mask, settings.retries,
                                settings.incomplete == "raise")
            for name in ("boards", "channels"):
                loaded[name] = records(*loaded[name])
            self._loaded = loaded
            if not loaded["simulated"]:
                for reason in loaded["incomplete"]:
                    warnings.warn(reason, IncompleteWarning, stacklevel=3)
        return self._loaded


def save(runs: Any, path: str | os.PathLike[str], *, append: bool = False) -> None:
    """Saves several runs, of one source, into one snapshot file; see Run.save."""
    wanted = list(runs)
    if not wanted:
        raise ValueError("there is no run to save")
    sources = {run._source for run in wanted}
    if len(sources) > 1:
        raise ValueError("the runs have different sources: save those of each on their own, with append=True")
    missing = _brio.save(os.path.abspath(os.fspath(path)), [(run.detector, run.number) for run in wanted],
                         sources.pop(), _log.level(), append)
    absent = [str(run.number) for run, is_missing in zip(wanted, missing) if is_missing]
    if absent:
        warnings.warn(f"saved as missing, for the runs table does not have them: {', '.join(absent)}", stacklevel=2)


def facts(table: Records, index: int) -> dict[str, Any]:
    """What a list of runs says of one. What was not asked for is not in it."""
    return {name: value(table[name][index]) for name in table.dtype.names
            if not name.endswith("_status") and name != "run"
            and table[name + "_status"][index] != Status.NOT_ASKED}


def _again(number: int, detector: str, source: str | None, settings: Settings) -> Run:
    run = Run(number, detector, source)
    run._settings = settings
    return run


def _aware(time: datetime.datetime | None) -> datetime.datetime | None:
    return None if time is None else time.replace(tzinfo=_UTC)


def _place(find: Any, detector: str, *numbers: int) -> int | None:
    """Numbers that no channel has, negative ones say, are nowhere."""
    if any(not 0 <= one < 2**32 for one in numbers):
        return None
    return find(detector, *numbers)  # type: ignore[no-any-return]


def _column(loaded: dict[str, Any], name: str) -> Any:
    for table in (loaded["channels"], loaded["boards"]):
        if name in table.dtype.names:
            return table[name]
    names = dict.fromkeys(loaded["channels"].dtype.names + loaded["boards"].dtype.names)
    raise KeyError(f"there is no column {name!r}: choose from {', '.join(names)}")

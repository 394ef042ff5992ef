"""Runs of the experiment's detectors, as numpy arrays.

    import brio
    run = brio.Run(13001, "Birch")              # loads nothing yet
    run.start, run.stop, run.pot, run.run_type  # aware datetimes, float, str; None where nothing is stored
    run.boards[["diblock", "dcm", "gain"]]      # all boards, a structured array
    run.channels                                # all channels
    run.by_plane("threshold")                   # a masked array, plane by cell
    run.channel(plane=66, cell=17).threshold    # one value, None when it is not known
    run.boards.to_pandas()                      # where pandas is installed
    run.map("temperature").plot()               # where matplotlib is installed
    for run in brio.runs("Birch", 13000, 13040, run_type="Physics"): ...
    brio.runs("Birch", since="2014-06-01").table(["start", "pot", "good_diblocks"])
    run.save("13001.brio")                      # a snapshot: brio.Run(13001, "Birch", source="13001.brio")

Runs come from the databases that the environment variable BRIO_DATABASE names, or from a source that is given: a
snapshot's file, or a connection string.

Missing values are masked, and a column beside them says why (brio.Status): nothing shows a default as if it had been
measured. Arrays belong to numpy and cannot be written to.

Errors are brio.Error and its children RunNotFound, DatabaseError and IncompleteError. Messages of the library go to
logging.getLogger("brio.RunHistory") and "brio.BrioDatabase", its loaders' progress at debug level. Loads let other
Python threads run, but come one after the other in a process: use processes to load at the same time. Ctrl-C ends a
load that waits for a server.
"""

import atexit as _atexit
import os as _os

try:
    from . import _tree as _tree  # type: ignore[attr-defined]  # only in a build tree
except ImportError:
    pass

from . import _brio
from ._detector import DETECTORS
from ._errors import DatabaseError as DatabaseError
from ._errors import Error as Error
from ._errors import IncompleteError as IncompleteError
from ._errors import IncompleteWarning as IncompleteWarning
from ._errors import RunNotFound as RunNotFound
from ._items import Board as Board
from ._items import Channel as Channel
from ._map import Map
from ._records import Records as Records
from ._run import Run, save
from ._runs import Runs, runs
from ._settings import Settings as Settings
from ._status import Status as Status

# What help(brio) tells at length. The other classes have bases that would fill pages.
__all__ = ["DETECTORS", "Map", "Run", "Runs", "runs", "save"]

_atexit.register(_brio.end)
_os.register_at_fork(after_in_child=_brio.forget)

"""Detectors and run numbers, checked before the library sees them."""

from __future__ import annotations

import operator
from functools import lru_cache
from typing import SupportsIndex

import numpy as np
import numpy.typing as npt

from . import _brio

#: The names of the experiment's detectors.
DETECTORS: tuple[str, ...] = tuple(_brio.detectors())

_FIRST_REAL_RUN = 10000
_LAST_REAL_RUN = 999999


def checked(detector: str) -> str:
    """The name. A wrong one raises ValueError with those to choose from."""
    if detector not in DETECTORS:
        raise ValueError(f"there is no detector {detector!r}: choose from {', '.join(DETECTORS)}")
    return detector


def number(value: SupportsIndex, what: str = "a run number") -> int:
    """A whole number that the library can hold. Raises TypeError or ValueError for any other."""
    result = operator.index(value)
    if not -2**31 <= result < 2**31:
        raise ValueError(f"{result} is no {what.removeprefix('a ')}")
    return result


def is_simulated(run: int) -> bool:
    """Whether a number is that of a simulated run, of which no table says anything."""
    return not _FIRST_REAL_RUN <= run <= _LAST_REAL_RUN


@lru_cache(maxsize=None)
def planes(detector: str) -> npt.NDArray[np.int32]:
    """By plane and cell, the index of the channel in all arrays; -1 where there is none."""
    return _brio.planes(checked(detector))

"""Arrays of records in which missing values are masked."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    import pandas


class Records(np.ma.MaskedArray):  # type: ignore[type-arg]
    """A structured numpy array that nobody can write to, one record for each board, channel, run or subrun.

    A column is an array: `records["gain"]`, several are records again: `records[["plane", "gain"]]`. What is missing
    is masked, and a missing float is not a number besides; the column of the same name with "_status" at its end
    says why (see brio.Status). `records["gain"].filled(0)`, `records["gain"].compressed()` and the rest of numpy.ma
    work as ever.
    """

    def to_pandas(self) -> pandas.DataFrame:
        """As a pandas data frame, which is a copy: what is missing is missing there too, times have the zone UTC,
        and statuses are categories of words.
        """
        from ._frames import frame

        return frame(self)


def records(data: npt.NDArray[Any], missing: npt.NDArray[Any]) -> Records:
    """Records over an array and its mask, without copying them."""
    made = Records(data, mask=missing, copy=False, keep_mask=False)
    made.fill_value = np.array([_fill_values(data.dtype)], dtype=data.dtype)[0]
    return made


def _fill_values(dtype: np.dtype[Any]) -> tuple[Any, ...]:
    """What filled() shows for missing values: nothing that could be taken for one."""
    values = {"f": np.nan, "i": -1, "u": 255, "b": False, "M": np.datetime64("NaT"), "U": ""}
    assert dtype.names is not None
    return tuple(values[dtype[name].kind] for name in dtype.names)


def value(scalar: Any) -> Any:
    """A value of a column as plain Python; None when it is masked."""
    return None if scalar is np.ma.masked else scalar.item() if isinstance(scalar, np.generic) else scalar

"""Records as pandas data frames."""

from __future__ import annotations

from typing import Any

import numpy as np
import pandas as pd

from ._status import Status


def frame(records: Any) -> pd.DataFrame:
    """Every column of records with pandas' own way of saying that a value is missing."""
    names = records.dtype.names
    if names is None:
        raise TypeError("only records, which have columns, make a data frame")
    return pd.DataFrame({name: _column(name, records[name]) for name in names})


def _column(name: str, values: Any) -> Any:
    data, mask = np.ascontiguousarray(values.data), np.ma.getmaskarray(values)
    kind = data.dtype.kind
    if name.endswith("_status") or name == "presence":
        return pd.Categorical.from_codes(data.astype(np.int8), categories=[status.words for status in Status])
    if kind == "b":
        return pd.arrays.BooleanArray(data, mask.copy())
    if kind in "iu":
        return pd.arrays.IntegerArray(data, mask.copy()) if mask.any() else data
    if kind == "M":
        return pd.DatetimeIndex(data.astype("M8[ns]"), tz="UTC")
    if kind == "U":
        texts = data.astype(object)
        texts[mask] = None
        return texts
    return data

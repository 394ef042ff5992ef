"""Single boards and channels, as plain values."""

from __future__ import annotations

import types
from typing import Any, NamedTuple

import numpy as np

from ._records import Records, value
from ._status import Status


class Board(NamedTuple):
    """One readout board and its APD. A value is None where it is not known; `status` says why, by name."""

    diblock: int
    dcm: int
    port: int
    plane: int
    module: int
    installed: bool | None
    enabled: bool | None
    enabled_pixels: int | None
    threshold: float | None
    gain: float | None
    measured_gain: float | None
    voltage: int | None
    temperature: float | None
    temperature_control: bool | None
    feb: str | None
    apd: str | None
    status: types.MappingProxyType[str, Status]


class Channel(NamedTuple):
    """One channel, with what it shares with its board. A value is None where it is not known; `status` says why,
    by name.
    """

    channel: int
    plane: int
    cell: int
    diblock: int
    dcm: int
    port: int
    pixel: int
    installed: bool | None
    enabled: bool | None
    threshold: int | None
    gain: float | None
    measured_gain: float | None
    voltage: int | None
    temperature: float | None
    temperature_control: bool | None
    feb: str | None
    apd: str | None
    status: types.MappingProxyType[str, Status]


def _values(records: Records, index: int) -> tuple[dict[str, Any], dict[str, Status]]:
    data, mask = records.data[index], records.mask[index]
    assert data.dtype.names is not None
    values = {name: value(np.ma.masked if mask[name] else data[name]) for name in data.dtype.names}
    status = {name.removesuffix("_status"): Status(values.pop(name))
              for name in list(values) if name.endswith("_status") or name == "presence"}
    return values, status


def board(boards: Records, index: int) -> Board:
    """The board at an index."""
    values, status = _values(boards, index)
    return Board(**values, status=types.MappingProxyType(status))


def channel(channels: Records, boards: Records, measured: Any, index: int) -> Channel:
    """The channel at an index, with its board's values."""
    shared, board_status = _values(boards, index // 32)
    values, status = _values(channels, index)
    gain = float(measured[index])
    values["measured_gain"] = None if np.isnan(gain) else gain
    for name in ("installed", "voltage", "temperature", "temperature_control", "feb", "apd"):
        values[name] = shared[name]
        status[name] = board_status[name]
    status["presence"] = board_status["presence"]
    return Channel(**values, status=types.MappingProxyType(status))

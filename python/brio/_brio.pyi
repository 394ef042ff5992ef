"""Loads runs as arrays. Private: use brio."""

from typing import Any

import numpy as np
import numpy.typing as npt

_Table = tuple[npt.NDArray[Any], npt.NDArray[Any]]

def board_at(detector: str, diblock: int, dcm: int, port: int) -> int | None: ...
def channel_at(detector: str, channel: int) -> int | None: ...
def detectors() -> list[str]: ...
def end() -> None: ...
def forget() -> None: ...
def list_runs(
    detector: str,
    source: str | None,
    level: str,
    first: int | None,
    last: int | None,
    since: str | None,
    until: str | None,
    at: str | None,
    run_type: str | None,
    partition: int | None,
    configuration: int | None,
    where: list[str],
    newest: int,
    parts: list[str],
) -> _Table: ...
def load(
    detector: str,
    number: int,
    source: str | None,
    level: str,
    use_mask: bool,
    analysis_mask: bool,
    custom_mask: int | None,
    retries: int,
    incomplete_fails: bool,
) -> dict[str, Any]: ...
def planes(detector: str) -> npt.NDArray[np.int32]: ...
def quality(detector: str, number: int, source: str | None, level: str) -> _Table: ...
def save(path: str, runs: list[tuple[str, int]], source: str | None, level: str, append: bool) -> list[bool]: ...
def statements_sent() -> int: ...
def statuses() -> list[tuple[int, str, str]]: ...

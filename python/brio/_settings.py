"""How runs are loaded."""

from __future__ import annotations

import dataclasses
from typing import Any

from ._detector import number


@dataclasses.dataclass(frozen=True)
class Settings:
    """The keyword arguments of Run and runs.

    use_mask       leave the diblocks out that the good-diblock mask does not have
    analysis_mask  narrow that mask to the region that analyses use; includes use_mask
    custom_mask    a mask in place of the database's, bit 0 for diblock 1, on the far detector; includes use_mask
    retries        how often to try again when a connection or the configuration cannot be had
    incomplete     what happens when the DAQ configuration, gains or slow control cannot be read: "warn" warns
                   (IncompleteWarning) and gives what can, "raise" raises IncompleteError
    """

    use_mask: bool = False
    analysis_mask: bool = False
    custom_mask: int | None = None
    retries: int = 0
    incomplete: str = "warn"

    def __post_init__(self) -> None:
        if self.incomplete not in ("warn", "raise"):
            raise ValueError(f'incomplete is "warn" or "raise", not {self.incomplete!r}')
        if self.custom_mask is not None:
            object.__setattr__(self, "custom_mask", number(self.custom_mask, "a mask"))
        object.__setattr__(self, "use_mask", bool(self.use_mask))
        object.__setattr__(self, "analysis_mask", bool(self.analysis_mask))
        object.__setattr__(self, "retries", number(self.retries, "a number of retries"))
        if self.retries < 0:
            raise ValueError("retries cannot be negative")

    def changed(self) -> dict[str, Any]:
        """Those that differ from the defaults."""
        return {field.name: getattr(self, field.name) for field in dataclasses.fields(self)
                if getattr(self, field.name) != field.default}

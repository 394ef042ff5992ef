"""Whether a value is known, and if it is not, why."""

from __future__ import annotations

import enum

from . import _brio


class Status(enum.IntEnum):
    """Of a value: known, or why not. The columns that end in "_status" hold these numbers.

    >>> brio.Status.NOT_ENABLED.words
    'not enabled'
    """

    KNOWN = 0
    NOT_IN_RUN = 1
    MASKED = 2
    NOT_INSTALLED = 3
    NOT_ENABLED = 4
    NOT_RECORDED = 5
    NEVER_MEASURED = 6
    LEFT_OUT = 7
    REPLACED = 8
    NOT_FINITE = 9
    NOT_FOR_DETECTOR = 10
    SIMULATED = 11
    RUN_NOT_LOADED = 12
    HARDWARE_NOT_LOADED = 13
    CONFIGURATION_NOT_LOADED = 14
    SETTINGS_NOT_LOADED = 15
    SUPERSEDED = 16
    NOT_ASKED = 17

    @property
    def words(self) -> str:
        """In few words, as tables have it."""
        return _TEXTS[self.value][0]

    @property
    def reason(self) -> str:
        """As a sentence for a reader who asks why."""
        return _TEXTS[self.value][1]


_TEXTS = {number: (words, reason) for number, words, reason in _brio.statuses()}

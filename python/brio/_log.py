"""Hands the library's messages to logging, as brio.RunHistory and brio.BrioDatabase."""

from __future__ import annotations

import logging

# By the library's severity.
_LEVELS = (logging.DEBUG, logging.INFO, logging.WARNING, logging.ERROR)
_CATEGORIES = ("RunHistory", "BrioDatabase", "APDInfo")

logger = logging.getLogger("brio")


def level() -> str:
    """From which level on somebody listens: "debug", "info", "warning" or "error"."""
    loggers = [logger, *(logger.getChild(category) for category in _CATEGORIES)]
    lowest = min(one.getEffectiveLevel() for one in loggers)
    for bound, name in ((logging.DEBUG, "debug"), (logging.INFO, "info"), (logging.WARNING, "warning")):
        if lowest <= bound:
            return name
    return "error"


def deliver(messages: list[tuple[int, str, str]]) -> None:
    """Takes (severity, category, text) of each message; the compiled module calls this."""
    for severity, category, text in messages:
        logger.getChild(category).log(_LEVELS[severity], "%s", text)

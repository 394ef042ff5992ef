"""Where runs are read from."""

from __future__ import annotations

import os
from typing import Union

Source = Union[str, "os.PathLike[str]", None]

_SNAPSHOT = "snapshot:"


def template(source: Source) -> str | None:
    """A source in the form of BRIO_DATABASE; None for what that says.

    A path, or a text that ends in ".brio", is a snapshot's file; any other text is taken as it stands.
    """
    if source is None:
        return None
    text = os.fspath(source)
    if not isinstance(text, str):
        raise TypeError("a source is a text or a path")
    if not text:
        raise ValueError("the source is empty; None stands for BRIO_DATABASE")
    if "\0" in text:
        raise ValueError("the source has a zero byte in it")
    if text.startswith(_SNAPSHOT):
        return text
    if not isinstance(source, str) or text.endswith(".brio"):
        # Absolute, so that it means the same file in another process.
        return _SNAPSHOT + os.path.abspath(text)
    return text


def is_snapshot(source: str | None) -> bool:
    """Of a template: whether a file answers."""
    named = os.environ.get("BRIO_DATABASE", "") if source is None else source
    return named.startswith(_SNAPSHOT)


def shown(source: str | None) -> str:
    """A template as it may be shown to anybody: a connection string may hold a password."""
    if source is None:
        return "BRIO_DATABASE"
    return source[len(_SNAPSHOT):] if source.startswith(_SNAPSHOT) else "a server"

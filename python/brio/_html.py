"""What notebooks show. Nothing here asks a database."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING, Any

import numpy as np

from ._status import Status

if TYPE_CHECKING:
    from ._run import Run
    from ._runs import Runs

_MOST_ROWS = 20
_FACTS = (("start", "started"), ("stop", "stopped"), ("run_type", "type"), ("partition", "partition"),
          ("configuration", "DAQ configuration"), ("subruns", "subruns"), ("pot", "protons on target"),
          ("good_diblocks", "good diblocks"))


def summary(run: Run) -> str:
    """One screen about a run: what is loaded of it."""
    rows: list[tuple[str, str]] = []
    facts = run._facts
    if facts is not None:
        rows += [(title, _text(name, facts[name])) for name, title in _FACTS if name in facts]
    loaded = run._loaded
    if loaded is not None:
        rows.append(("took part", f"{loaded['diblocks']} diblocks, {loaded['dcms']} DCMs, "
                                  f"{len(loaded['event_builders'])} event builders"))
        rows += _of_boards(loaded["boards"]) + _of_channels(loaded["channels"])
        rows += [("not read", reason) for reason in loaded["incomplete"]]
    if run._quality is not None:
        rows.append(("data quality", f"{len(run._quality)} subruns"))
    if not rows:
        rows.append(("loaded", "nothing yet"))
    title = f"{run.detector} run {run.number}" + (" (simulated)" if run.simulated else "")
    return _table(title, rows)


def runs(listed: Runs) -> str:
    """The first of the runs, if they were asked for."""
    if listed._runs is None:
        return _table(repr(listed), [("loaded", "nothing yet")])
    rows = [(str(run.number), ", ".join(_text(name, (run._facts or {}).get(name)) for name in ("start", "run_type")))
            for run in listed._runs[:_MOST_ROWS]]
    more = len(listed._runs) - len(rows)
    if more > 0:
        rows.append(("…", f"{more} more"))
    return _table(f"{len(listed._runs)} runs of {listed._detector}", rows)


def _of_boards(boards: Any) -> list[tuple[str, str]]:
    installed = np.count_nonzero(boards["installed"].filled(False))
    enabled = np.count_nonzero(boards["enabled"].filled(False) & boards["installed"].filled(False))
    rows = [("boards", f"{len(boards):,} places, {installed:,} installed, {enabled:,} of them enabled")]
    for name, unit in (("gain", ""), ("temperature", " °C"), ("voltage", " V")):
        known = boards[name].compressed()
        text = "not known" if not known.size else f"{known.mean():.1f}{unit} on average, {known.size:,} known"
        replaced = np.count_nonzero(boards[name + "_status"] == Status.REPLACED)
        rows.append((name, text + (f", {replaced:,} out of range" if replaced else "")))
    return rows


def _of_channels(channels: Any) -> list[tuple[str, str]]:
    enabled = np.count_nonzero(channels["enabled"].filled(False))
    known = channels["threshold"].compressed()
    text = f"median threshold {np.median(known):.0f} ADC counts" if known.size else "no thresholds"
    return [("channels", f"{len(channels):,}, {enabled:,} enabled, {text}")]


def _text(name: str, fact: Any) -> str:
    if fact is None:
        return "not stored"
    if name in ("start", "stop"):
        return f"{fact:%Y-%m-%d %H:%M:%S} UTC"
    if name == "pot":
        return f"{fact:.4g}"
    if name == "good_diblocks":
        numbers = [str(bit + 1) for bit in range(31) if fact >> bit & 1]
        return ", ".join(numbers) if numbers else "none"
    return str(fact)


def _table(title: str, rows: list[tuple[str, str]]) -> str:
    body = "".join(f'<tr><th style="text-align:left">{escape(name)}</th>'
                   f'<td style="text-align:left">{escape(text)}</td></tr>' for name, text in rows)
    return f"<table><caption>{escape(title)}</caption><tbody>{body}</tbody></table>"

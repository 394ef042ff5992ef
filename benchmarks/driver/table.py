"""The table of results, and the machine that they were measured on."""

import os
import platform
import re
import statistics


class Measured(float):
    """The median of several rounds, which knows between what values the middle half of them lies."""

    def __new__(cls, rounds):
        return super().__new__(cls, statistics.median(rounds))

    def __init__(self, rounds):
        super().__init__()
        ordered = sorted(rounds)
        quarter = len(ordered) // 4
        self.low, self.high = ordered[quarter], ordered[-1 - quarter]

    def outside(self, value):
        """How far a value is from the middle half."""
        return max(self.low - value, value - self.high, 0.0)


class Table:
    """Rows of: what, measured, compared with, ratio, bar, whether it held."""

    HEADINGS = ("What", "Measured", "Against", "Ratio", "Bar", "Held")

    def __init__(self, judge_times):
        self.rows = []
        self.judge_times = judge_times
        self.wrong = []
        self.missed = []

    def heading(self, text):
        self.rows.append((text,))

    def note(self, what, measured, against="", ratio=""):
        """A figure without a bar."""
        self.rows.append((what, measured, against, ratio, "", ""))

    def fact(self, what, measured, expected):
        """Something that is either right or wrong."""
        right = measured == expected
        if not right:
            self.wrong.append(what)
        self.rows.append((what, str(measured), "", "", f"= {expected}", "yes" if right else "WRONG"))

    def at_most(self, what, value, limit, text):
        self._judge(what, text(value), "", "", f"<= {text(limit)}", value <= limit)

    def ratio_at_most(self, what, value, reference, limit, text):
        ratio = value / reference
        self._judge(what, text(value), text(reference), f"{ratio:.2f}", f"<= {limit:.2f}", ratio <= limit)

    def faster_by(self, what, value, reference, factor, text):
        ratio = reference / value
        self._judge(what, text(value), text(reference), f"{ratio:.2f}", f">= {factor:.1f}", ratio >= factor)

    def _judge(self, what, measured, against, ratio, bar, held):
        if not self.judge_times:
            bar, verdict = "", ""
        else:
            verdict = "yes" if held else "MISSED"
            if not held:
                self.missed.append(what)
        self.rows.append((what, measured, against, ratio, bar, verdict))

    def markdown(self):
        full = [self.HEADINGS] + [row for row in self.rows if len(row) > 1]
        widths = [max(len(row[i]) for row in full) for i in range(len(self.HEADINGS))]
        widths[0] = max([widths[0]] + [len(row[0]) + 4 for row in self.rows])

        def line(row):
            cells = list(row) + [""] * (len(widths) - len(row))
            return "| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |"
        lines = [line(self.HEADINGS), "|" + "|".join("-" * (width + 2) for width in widths) + "|"]
        lines += [line((f"**{row[0]}**",) if len(row) == 1 else row) for row in self.rows]
        return "\n".join(lines)


def _text(value, number, unit):
    """A value, and the middle half of its rounds in brackets where that is a different text."""
    text, low, high = (number(v) for v in (value, getattr(value, "low", value), getattr(value, "high", value)))
    return f"{text} {unit}" if low == high else f"{text} {unit} ({low}-{high})"


def milliseconds(value):
    return _text(value, lambda v: f"{v:.1f}" if v < 100 else f"{v:.0f}", "ms")


def nanoseconds(value):
    return _text(value, lambda v: f"{v:.2f}" if v < 10 else f"{v:.1f}" if v < 100 else f"{v:.0f}", "ns")


def megabytes(kilobytes):
    return _text(kilobytes, lambda v: f"{v / 1024:.1f}", "MB")


def machine(postgresql_version):
    """One paragraph about the machine."""
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        model = re.search(r"^model name\s*:\s*(.*)$", lines.read(), re.MULTILINE)
    with open("/proc/meminfo", encoding="ascii") as lines:
        memory = int(re.search(r"^MemTotal:\s*(\d+)", lines.read(), re.MULTILINE).group(1))
    with open("/etc/os-release", encoding="utf-8") as lines:
        system = re.search(r'^PRETTY_NAME="?([^"\n]*)', lines.read(), re.MULTILINE).group(1)
    kernel = re.match(r"[\d.]+", platform.release()).group()
    return (f"{os.cpu_count()} x {model.group(1) if model else platform.machine()}, {memory / 1048576:.0f} GB of memory, "
            f"{system}, Linux {kernel}, PostgreSQL {postgresql_version}; server and programs on the same machine, "
            "Unix socket, everything in memory")

"""The Python package beside the C++ library, and beside psycopg2 and pandas."""

import os

from driver.programs import median, say
from driver.table import megabytes, milliseconds

# The arrays leave out what a board that is not enabled has in the records.
SAME_ANSWERS = ("installed boards", "enabled boards", "pixel masks")


class Python:
    def __init__(self, programs, loads, scripts):
        self.programs = programs
        self.loads = loads
        self.script = os.path.join(scripts, "loads", "brio_load.py")
        self.pandas = os.path.join(scripts, "loads", "pandas_load.py")
        self.package = os.path.join(programs.folder, "..", "python")

    def measure(self, table):
        say("whole run into arrays, beside LoadAllDetInfo, psycopg2 and pandas")
        self.programs.report(self.loads.library("--statements", self.loads.statements))
        reports = self.programs.interleaved({
            "brio": ["env", f"PYTHONPATH={self.package}", "/usr/bin/python3", self.script],
            "library": self.loads.library(),
            "psycopg2": self.loads.other(self.loads.psycopg2),
            "psycopg2 and pandas": self.loads.other(self.pandas),
        })
        table.heading("Python: a whole run into arrays")
        expected = reports["library"][0]["answers"]
        wrong = {name for report in reports["brio"] for name in SAME_ANSWERS
                 if abs(report["answers"][name] - expected[name]) > 1e-6 * abs(expected[name])}
        table.fact("answers that differ from the library's", ", ".join(sorted(wrong)) or "none", "none")
        table.fact("statements", reports["brio"][0]["statements"], reports["library"][0]["statements"])
        times = {name: median(of_program) for name, of_program in reports.items()}
        table.ratio_at_most("whole run into arrays, beside LoadAllDetInfo", times["brio"], times["library"], 1.05,
                            milliseconds)
        table.at_most("run.channels after loading", median(reports["brio"], "channels_milliseconds"), 5.0, milliseconds)
        table.faster_by("faster than psycopg2, dictionaries and lists", times["brio"], times["psycopg2"], 2.0,
                        milliseconds)
        table.faster_by("faster than psycopg2 and pandas, rows alone", times["brio"], times["psycopg2 and pandas"], 2.0,
                        milliseconds)
        peaks = {name: median(of_program, "peak_kilobytes") for name, of_program in reports.items()}
        table.note("peak resident memory, beside psycopg2 and pandas", megabytes(peaks["brio"]),
                   megabytes(peaks["psycopg2 and pandas"]), f"{peaks['brio'] / peaks['psycopg2 and pandas']:.2f}")

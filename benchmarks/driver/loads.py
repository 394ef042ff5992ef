"""Loads of whole runs and of parts, beside programs that do without the library."""

import os
import statistics

from driver.programs import median, say
from driver.table import megabytes, milliseconds

STATEMENTS_OF_A_LOAD = 10


class Loads:
    def __init__(self, programs, statements, scripts):
        self.programs = programs
        self.statements = statements
        self.psycopg2 = os.path.join(scripts, "loads", "psycopg2_load.py")

    def library(self, *arguments):
        return [self.programs.path("load_library"), *arguments]

    def other(self, name, *arguments):
        program = self.programs.path(name) if name.startswith("load_") else name
        return [program, "--database", self.programs.database, "--statements", self.statements, *arguments]

    def count(self, table):
        """What a load asks of the server. Writes the file of statements."""
        report = self.programs.report(self.library("--statements", self.statements))
        with open(self.statements, encoding="utf-8") as lines:
            sent = lines.read().splitlines()[1:]
        table.heading("LoadAllDetInfo, one database for the detector")
        table.fact("connections", report["connections"], 1)
        table.fact("statements", report["statements"], STATEMENTS_OF_A_LOAD)
        table.fact("different statements", len(set(sent)), STATEMENTS_OF_A_LOAD)

    def check_answers(self, table, reports):
        """All programs found the same facts, to the precision of a float."""
        expected = reports["library"][0]["answers"]
        for name, of_program in reports.items():
            wrong = set()
            for report in of_program:
                answers = report["answers"]
                wrong |= expected.keys() ^ answers.keys()
                wrong |= {key for key in expected.keys() & answers.keys()
                          if abs(answers[key] - expected[key]) > 1e-6 * max(1, abs(expected[key]))}
            what = "from load to load" if name == "library" else f"from those of {name}"
            table.fact(f"the library's answers that differ {what}", ", ".join(sorted(wrong)) or "none", "none")
            for key, count in (("connections", 1), ("statements", of_program[0]["statements"])):
                if any(report[key] != count for report in of_program):
                    table.fact(f"{key} of {name}", "different from load to load", str(count))

    def whole(self, table):
        say("whole run: LoadAllDetInfo beside the same load without the library")
        reports = self.programs.interleaved({
            "library": self.library(),
            "bare libpq": self.other("load_bare"),
            "bare libpq, row by row": self.other("load_bare", "--stream"),
            "plain libpq": self.other("load_plain"),
            "libpqxx": self.other("load_pqxx"),
            "psycopg2": self.other(self.psycopg2),
        })
        times = {name: median(of_program) for name, of_program in reports.items()}
        peaks = {name: median(of_program, "peak_kilobytes") for name, of_program in reports.items()}
        processor = {name: median(of_program, "processor_milliseconds") for name, of_program in reports.items()}
        self.check_answers(table, reports)
        table.heading("LoadAllDetInfo, wall time")
        table.ratio_at_most("beside bare libpq, from_chars, flat arrays", times["library"], times["bare libpq"], 1.10,
                            milliseconds)
        table.ratio_at_most("beside the same, gains row by row", times["library"], times["bare libpq, row by row"],
                            0.97, milliseconds)
        for name, factor in (("plain libpq", 1.3), ("libpqxx", 1.7), ("psycopg2", 2.3)):
            table.faster_by(f"faster than {name}", times["library"], times[name], factor, milliseconds)
        fastest = {name: min(report["milliseconds"] for report in of_program) for name, of_program in reports.items()}
        table.note("fastest round: library, bare libpq", milliseconds(fastest["library"]),
                   milliseconds(fastest["bare libpq"]), f"{fastest['library'] / fastest['bare libpq']:.2f}")
        table.heading("LoadAllDetInfo, processor time of the client")
        table.ratio_at_most("beside bare libpq, row by row", processor["library"],
                            processor["bare libpq, row by row"], 1.00, milliseconds)
        table.note("beside bare libpq", milliseconds(processor["library"]), milliseconds(processor["bare libpq"]),
                   f"{processor['library'] / processor['bare libpq']:.2f}")
        table.heading("LoadAllDetInfo, peak resident memory")
        table.ratio_at_most("beside bare libpq", peaks["library"], peaks["bare libpq"], 1.10, megabytes)
        table.ratio_at_most("beside the same, gains row by row", peaks["library"], peaks["bare libpq, row by row"],
                            1.03, megabytes)
        table.note("beside psycopg2", megabytes(peaks["library"]), megabytes(peaks["psycopg2"]),
                   f"{peaks['library'] / peaks['psycopg2']:.2f}")

    def parts(self, table):
        say("first GetThreshold of a fresh object")
        reports = self.programs.interleaved({
            "library": self.library("--stage", "thresholds"),
            "bare libpq": self.other("load_bare", "--stage", "thresholds"),
        })
        table.heading("Parts of a load, wall time")
        self.check_answers(table, reports)
        table.fact("statements before the first threshold", reports["library"][0]["statements"], 5)
        table.ratio_at_most("first GetThreshold of a fresh object", median(reports["library"]),
                            median(reports["bare libpq"]), 1.02, milliseconds)
        say("pull of APDs and FEBs")
        reports = self.programs.interleaved({
            "library": self.library("--stage", "pull"),
            "bare libpq": self.other("load_bare", "--stage", "pull"),
        })
        table.fact("statements of the pull", reports["library"][0]["statements"], 4)
        table.note("pull of APDs and FEBs, beside walking the rows", milliseconds(median(reports["library"])),
                   milliseconds(median(reports["bare libpq"])),
                   f"{median(reports['library']) / median(reports['bare libpq']):.2f}")

    def growth(self, table):
        sizes = (1, 2, 4, 8, 14)
        table.heading("Growth with the number of boards (1, 2, 4, 8, 14 diblocks)")
        for stage, what in (("all", "LoadAllDetInfo"), ("thresholds", "first GetThreshold")):
            say(f"growth of {what} over 1, 2, 4, 8, 14 diblocks")
            reports = self.programs.interleaved(
                {str(n): self.library("--stage", stage, "--diblocks", str(n)) for n in sizes})
            boards = [768 * n for n in sizes]
            for key, text, unit in (("milliseconds", milliseconds, "time"), ("peak_kilobytes", megabytes, "memory")):
                values = [median(reports[str(n)], key) for n in sizes]
                slope, intercept = statistics.linear_regression(boards, values)
                # From the middle half of the rounds: noise that moves a median is no bend.
                off = max(value.outside(intercept + slope * n) / value for n, value in zip(boards, values))
                table.at_most(f"{what}, {unit}: {', '.join(text(value) for value in values)}; farthest off a line",
                              100 * off, 10, lambda percent: f"{percent:.1f} %")

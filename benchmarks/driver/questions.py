"""Questions that are answered from memory, measured with Google Benchmark."""

import json
import subprocess
import sys
import tempfile

from driver.programs import say
from driver.table import Measured, milliseconds, nanoseconds

RECORDS = ("10", "1000", "1000000")


class Questions:
    def __init__(self, programs, quick):
        self.programs = programs
        self.quick = quick

    def measure(self, name):
        """Runs by benchmark name. Repetitions of different benchmarks are interleaved."""
        say(name)
        # To a file: the library writes to standard output while it loads.
        with tempfile.NamedTemporaryFile(mode="r", suffix=".json") as report:
            arguments = [self.programs.path(name), f"--benchmark_out={report.name}", "--benchmark_out_format=json",
                         "--benchmark_enable_random_interleaving=true",
                         f"--benchmark_repetitions={self.programs.rounds}",
                         f"--benchmark_min_time={0.001 if self.quick else 0.3}"]
            done = subprocess.run(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
            if done.returncode != 0:
                sys.stderr.write(done.stderr)
                raise RuntimeError(f"{name} ended with status {done.returncode}")
            measured = json.load(report)["benchmarks"]
        runs = {}
        for run in measured:
            if run["run_type"] == "iteration":
                runs.setdefault(run["run_name"], []).append(run)
        return runs

    @staticmethod
    def check(table, name, runs):
        errors = {run["error_message"] for run in runs if run.get("error_occurred")}
        if errors:
            table.fact(f"answers of {name}", "; ".join(sorted(errors)), "right")
        return not errors

    @staticmethod
    def nanoseconds(runs):
        return Measured([1e9 * run["seconds"] for run in runs])

    def channels(self, table):
        runs = self.measure("channel_questions")
        table.heading("One question about a channel, all 344,064 in channel order, beside an array with a decoded index")
        for question in ("GetThreshold", "GetPixelGain", "HasAPD"):
            array = f"{question}/array"
            if not self.check(table, array, runs[array]):
                continue
            for channel, text, bar in (("DAQ", "by DAQ channel", 1.6), ("offline", "by offline channel", 2.2)):
                name = f"{question}/{channel}"
                if not self.check(table, name, runs[name]):
                    continue
                table.ratio_at_most(f"{question}, {text}", self.nanoseconds(runs[name]), self.nanoseconds(runs[array]),
                                    bar, nanoseconds)
                table.fact(f"allocations of {question}, {text}", runs[name][0]["allocations"], 0.0)
        for question in ("GetFEB", "GetPixelGains"):
            name = f"{question}/DAQ"
            if self.check(table, name, runs[name]):
                table.at_most(f"{question}, by DAQ channel, a copy", self.nanoseconds(runs[name]), 150, nanoseconds)

    def arrays(self, table):
        runs = self.measure("run_arrays")
        table.heading("A loaded run as arrays, all 344,064 channels or 10,752 boards")
        for name, bar in (("Channels", 5), ("Boards", None)):
            if not self.check(table, name, runs[name]):
                continue
            taken = Measured([1e3 * run["seconds"] for run in runs[name]])
            if bar is None:
                table.note(f"Make{name}", milliseconds(taken))
                continue
            table.at_most(f"Make{name}", taken, bar, milliseconds)
            table.fact(f"allocations of Make{name} are fewer than 20", runs[name][0]["allocations"] < 20, True)

    def records(self, table):
        runs = self.measure("channel_records")
        table.heading("One question about a channel's records (10; 1,000; 1,000,000 of them)")
        for question in ("IsBad", "Occupancy"):
            for order, text, bar in (("in-time", "in the order of time", 3.0), ("random", "at random times", 2.0),
                                     ("uneven", "at random, unevenly spread records", 2.0)):
                names = [f"{question}/{order}/{n}" for n in RECORDS]
                if not all([self.check(table, name, runs[name]) for name in names]):
                    continue
                few, some, many = (self.nanoseconds(runs[name]) for name in names)
                table.ratio_at_most(f"{question} {text} (1,000: {nanoseconds(float(some))})", many, few, bar,
                                    nanoseconds)
        for name, text in (("channels/fill", "SetIsBad"), ("channels/ask", "IsBad")):
            if self.check(table, name, runs[name]):
                table.note(f"{text} for all 344,064 channels, each", nanoseconds(self.nanoseconds(runs[name])))

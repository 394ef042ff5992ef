"""Runs the programs that measure and reads what they report."""

import json
import os
import subprocess
import sys

from driver.table import Measured


class Programs:
    def __init__(self, folder, database, rounds):
        self.folder = folder
        self.database = database
        self.rounds = rounds

    def path(self, name):
        return os.path.join(self.folder, name)

    def report(self, arguments, **settings):
        """The last line of a program's standard output, which is JSON."""
        done = subprocess.run(arguments, capture_output=True, text=True, check=False, **settings)
        if done.returncode != 0:
            sys.stderr.write(done.stderr)
            raise RuntimeError(f"{' '.join(arguments)} ended with status {done.returncode}")
        return json.loads(done.stdout.rstrip("\n").split("\n")[-1])

    def interleaved(self, commands):
        """Runs each command once a round, in an order that turns by one from round to round; the reports by name."""
        reports = {name: [] for name in commands}
        names = list(commands)
        for number in range(self.rounds):
            turn = number % len(names)
            for name in names[turn:] + names[:turn]:
                reports[name].append(self.report(commands[name]))
            say(f"round {number + 1} of {self.rounds}: " + ", ".join(
                f"{name} {reports[name][-1]['milliseconds']:.0f} ms" for name in names))
        return reports


def median(reports, key="milliseconds"):
    return Measured([report[key] for report in reports])


def say(text):
    print(f"   {text}", file=sys.stderr, flush=True)

"""The `runhistory` command from its start to its end."""

import os
import subprocess
import tempfile
import time

from driver.programs import say
from driver.table import Measured, milliseconds

RUNS = 5000


class Commands:
    """`many_runs` is the BRIO_DATABASE of the databases that have RUNS more runs."""

    def __init__(self, command, rounds, many_runs):
        self.command = command
        self.rounds = rounds
        self.many_runs = many_runs

    def _run(self, arguments, **variables):
        """Milliseconds, and standard output."""
        begin = time.monotonic()
        done = subprocess.run([self.command, *arguments], capture_output=True, text=True, check=False,
                              env=dict(os.environ, **variables))
        took = 1000 * (time.monotonic() - begin)
        if done.returncode != 0:
            raise RuntimeError(f"{' '.join(arguments)} ended with status {done.returncode}: {done.stderr}")
        return took, done.stdout

    def list(self, table):
        table.heading(f"The command, lists of runs ({RUNS:,} of them, 308 resources each)")
        chosen = ["list", "-d", "Birch", "-r", "20000-"]
        cases = {"list": ([*chosen, "--format", "csv"], 50, RUNS + 1),
                 "list, the newest 200": ([*chosen, "--limit", "200", "--format", "csv"], 50, 201),
                 "list --count-diblocks": ([*chosen, "--count-diblocks", "--format", "csv"], None, RUNS + 1),
                 "exposure": (["exposure", "-d", "Birch", "-r", "20000-", "--format", "csv"], None, RUNS + 1)}
        times = {name: [] for name in cases}
        for number in range(self.rounds):
            for name, (arguments, _, lines) in cases.items():
                took, output = self._run(arguments, BRIO_DATABASE=self.many_runs)
                times[name].append(took)
                if number == 0:
                    table.fact(f"lines of {name}", output.count("\n"), lines)
            say(f"round {number + 1} of {self.rounds}: " + ", ".join(
                f"{name} {taken[-1]:.0f} ms" for name, taken in times.items()))
        for name, (_, bar, _) in cases.items():
            if bar is None:
                table.note(name, milliseconds(Measured(times[name])))
            else:
                table.at_most(name, Measured(times[name]), bar, milliseconds)

    def export(self, table):
        table.heading("The command, every channel of a full run beyond the load (against: the load and one channel)")
        forms = ("csv", "jsonl", "sqlite")
        one = ["-d", "Birch", "-r", "13002"]
        times = {name: [] for name in ("load", *forms)}
        with tempfile.TemporaryDirectory(prefix="brio-export-") as folder:
            for number in range(self.rounds):
                times["load"].append(self._run(["channel", *one, "0,0"])[0])
                for form in forms:
                    file = os.path.join(folder, f"channels.{form}")
                    times[form].append(self._run(["export", "channels", *one, "-o", file])[0])
                    if number == 0 and form != "sqlite":
                        with open(file, encoding="utf-8") as written:
                            table.fact(f"lines of export to {form}", sum(1 for _ in written),
                                       344064 + (1 if form == "csv" else 0))
                say(f"round {number + 1} of {self.rounds}: " + ", ".join(
                    f"{name} {taken[-1]:.0f} ms" for name, taken in times.items()))
        load = Measured(times["load"])
        for form in forms:
            beyond = Measured([max(0.0, taken - base) for taken, base in zip(times[form], times["load"])])
            table.at_most(f"export channels to {form} (load {milliseconds(load)})", beyond, 1000, milliseconds)

#!/usr/bin/python3
"""Measures the library beside programs that do without it, and prints one table. scripts/bench builds what this
runs and brings up the server that it asks."""

import argparse
import os
import re
import subprocess
import sys
import tempfile

from driver.clients import storm
from driver.commands import Commands
from driver.loads import Loads
from driver.programs import Programs, say
from driver.python import Python
from driver.questions import Questions
from driver.snapshots import Snapshots
from driver.table import Table, machine


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", required=True, help="folder of the built programs")
    parser.add_argument("--rounds", type=int, default=9, help="interleaved rounds of each measurement (default: 9)")
    parser.add_argument("--quick", action="store_true",
                        help="one round, and only answers and counts are judged, not times")
    parser.add_argument("--only", choices=["loads", "growth", "questions", "commands", "clients", "python", "snapshots"],
                        help="only this part")
    return parser.parse_args()


def forget_foreign_settings():
    """Neither this nor what it starts follows the caller's variables to another server."""
    for variable in [name for name in os.environ if name.startswith("PG")]:
        del os.environ[variable]


def require_sandbox(database, server_socket):
    """Ends the program unless the server is the one that `sandbox up` started: it knows the token in its folder."""
    with open(os.path.join(os.path.dirname(server_socket), "token"), encoding="ascii") as file:
        token = file.read()
    answer = subprocess.run(["psql", "-XAt", "-d", database, "-c", "SHOW brio.sandbox"], capture_output=True,
                            text=True, check=False).stdout.strip()
    if not token or answer != token:
        sys.exit(f"bench.py: the server that answers in {server_socket} is not a sandbox's own")


def main():
    options = read_arguments()
    if "BRIO_DATABASE" not in os.environ:
        sys.exit("bench.py: BRIO_DATABASE must name a private server; see sandbox/sandbox --help")
    template = os.environ["BRIO_DATABASE"]
    forget_foreign_settings()
    database = template.replace("{detector}", "birch")
    server_socket = re.search(r"host=(\S+)", template).group(1)
    require_sandbox(database, server_socket)
    version = subprocess.run(["psql", "-XAt", "-d", database, "-c", "SHOW server_version"], capture_output=True,
                             text=True, check=True).stdout.split()[0]
    programs = Programs(options.programs, database, 1 if options.quick else options.rounds)
    table = Table(judge_times=not options.quick)
    load_before = os.getloadavg()[0]

    def wanted(part):
        return options.only in (None, part)
    with tempfile.TemporaryDirectory(prefix="brio-bench-", dir="/tmp") as folder:
        loads = Loads(programs, os.path.join(folder, "statements"), os.path.dirname(os.path.abspath(__file__)))
        questions = Questions(programs, options.quick)
        if wanted("loads"):
            loads.count(table)
            loads.whole(table)
            loads.parts(table)
        if wanted("growth"):
            loads.growth(table)
        if wanted("questions"):
            questions.channels(table)
            questions.records(table)
            questions.arrays(table)
        if wanted("commands"):
            commands = Commands(os.path.join(options.programs, "../tools/runhistory"), programs.rounds,
                                template.replace("brio_{detector}", "many_runs_{detector}"))
            commands.list(table)
            commands.export(table)
        if wanted("python"):
            Python(programs, loads, os.path.dirname(os.path.abspath(__file__))).measure(table)
        if wanted("clients"):
            with tempfile.TemporaryDirectory(prefix="brio-pool-", dir="/tmp") as pool:
                storm(table, programs, pool, server_socket, 50 if options.quick else 1000)
        # Last, since it adds runs to the sample.
        if wanted("snapshots"):
            command = os.path.join(options.programs, "..", "tools", "runhistory")
            with tempfile.TemporaryDirectory(prefix="brio-pool-", dir="/tmp") as pool:
                Snapshots(programs, command, folder).measure(table, server_socket, pool,
                                                             50 if options.quick else 1000)
    print(table.markdown())
    print(f"\nMedians of {programs.rounds} interleaved rounds; in brackets, where it "
          f"shows, what the middle half of them lies between. Machine: {machine(version)}. "
          f"Load average before and after: {load_before:.1f}, {os.getloadavg()[0]:.1f}.")
    if table.missed:
        print(f"Bars missed: {', '.join(table.missed)}.")
    if table.wrong:
        say(f"WRONG: {', '.join(table.wrong)}")
    return 1 if table.wrong else 0


if __name__ == "__main__":
    sys.exit(main())

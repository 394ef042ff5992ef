"""Loads from a snapshot beside the same loads from the server, and how large snapshots are."""

import os
import subprocess
import time

from driver.clients import Pooler
from driver.programs import median, say
from driver.table import Measured, megabytes, milliseconds

RUN = 13002
# Ordinary runs of the sample, and how far copies of them lie behind.
FIRST, LAST, STEP = 13018, 13040, 100
# The sample has few distinct gains; these are distributed normally and have seven digits.
FULL_ENTROPY = """
SELECT setseed(0.5);
UPDATE public.apd_pixel_m SET pixel_m =
  round((100 + 4 * sqrt(-2 * ln(1 - random())) * cos(2 * pi() * random()))::numeric, 4);
"""
RUN_TABLES = ("daq.runs", "daq.daqresourcesbyrun", "dataquality.gooddiblocksvsrun", "dataquality.dqsubruninfo",
              "beam.potbyrun")


class Snapshots:
    def __init__(self, programs, command, folder):
        self.programs = programs
        self.command = command
        self.folder = folder

    def owner(self, statement, database="brio_birch"):
        """Runs SQL as the server's owner."""
        connection = self.programs.database.replace("user=brio_reader", "user=postgres")
        connection = connection.replace("dbname=brio_birch", f"dbname={database}")
        subprocess.run(["psql", "-Xq", "-v", "ON_ERROR_STOP=1", "-d", connection, "-o", "/dev/null", "-c", statement],
                       check=True)

    def save(self, name, *runs, database=None):
        """Saves runs of Birch; the file and the seconds that it took."""
        file = os.path.join(self.folder, name)
        environment = dict(os.environ, **({"BRIO_DATABASE": database} if database else {}))
        start = time.monotonic()
        subprocess.run([self.command, "snapshot", "save", "--output", file, *(f"Birch:{run}" for run in runs)],
                       check=True, stdout=subprocess.DEVNULL, env=environment)
        return file, time.monotonic() - start

    def load(self, database, *arguments):
        return ["env", f"BRIO_DATABASE={database}", self.programs.path("load_library"), "--run", str(RUN), *arguments]

    def beside(self, table, what, file, server, *arguments, limit):
        """One kind of load from the file and from the server, in turn."""
        say(f"{what}: from the snapshot and from the server")
        reports = self.programs.interleaved({"snapshot": self.load(f"snapshot:{file}", *arguments),
                                             "server": self.load(server, *arguments)})
        answers = [report["answers"] for of_program in reports.values() for report in of_program]
        table.fact(f"{what}: answers that differ", str(sum(a != answers[0] for a in answers)), "0")
        times = {name: median(of_program) for name, of_program in reports.items()}
        table.ratio_at_most(f"{what}, wall time", times["snapshot"], times["server"], limit, milliseconds)
        return reports

    def fresh_process(self, table, file, server):
        """From the start of a process to its end, with the first threshold in between."""
        times = {"snapshot": [], "server": []}
        for _ in range(self.programs.rounds):
            for name, database in (("snapshot", f"snapshot:{file}"), ("server", server)):
                start = time.monotonic()
                self.programs.report(self.load(database, "--stage", "thresholds"))
                times[name].append(1e3 * (time.monotonic() - start))
        table.ratio_at_most("a process for the first threshold, wall time", Measured(times["snapshot"]),
                            Measured(times["server"]), 0.80, milliseconds)

    def many_runs(self):
        """Copies of ordinary runs, each started later than its original."""
        for copy in range(1, 4):
            for name in RUN_TABLES:
                columns = f"""SELECT string_agg(CASE column_name WHEN 'run' THEN 'run + {copy * STEP}'
                  WHEN 'tstart' THEN 'tstart + interval ''{copy * 11} hours''' ELSE quote_ident(column_name) END, ', '
                  ORDER BY ordinal_position) FROM information_schema.columns
                  WHERE table_schema || '.' || table_name = '{name}'"""
                self.owner(f"""DO $$ DECLARE list text; BEGIN list := ({columns});
                  EXECUTE 'INSERT INTO {name} SELECT ' || list || ' FROM {name} WHERE run BETWEEN {FIRST} AND {LAST}';
                  END $$""")

    def sizes(self, table, template):
        table.heading("Snapshot files")
        one, seconds = self.save("one.brio", RUN)
        table.note("1 run", megabytes(os.path.getsize(one) / 1024), f"saved in {seconds:.1f} s")
        five, seconds = self.save("five.brio", "13018-13022")
        table.note("5 runs", megabytes(os.path.getsize(five) / 1024), f"saved in {seconds:.1f} s")
        self.many_runs()
        ranges = [f"{FIRST + STEP * copy}-{LAST + STEP * copy}" for copy in range(4)] + ["13000-13007"]
        hundred, seconds = self.save("hundred.brio", *ranges)
        size = os.path.getsize(hundred) / 1024
        table.note("100 runs", megabytes(size), f"saved in {seconds:.1f} s")
        further = (size - os.path.getsize(one) / 1024) / 99
        table.at_most("each further run", further, 1024, megabytes)
        say("gains of full entropy")
        self.owner("CREATE DATABASE entropy_birch TEMPLATE brio_birch")
        try:
            self.owner(FULL_ENTROPY, "entropy_birch")
            entropy, _ = self.save("entropy.brio", RUN, database=template.replace("brio_{detector}", "entropy_{detector}"))
        finally:
            self.owner("DROP DATABASE entropy_birch")
        table.at_most("1 run, gains of full entropy", os.path.getsize(entropy) / 1024, 4096, megabytes)
        return one, hundred, entropy

    def clients(self, table, file, server_socket, pool, clients):
        """All at once from the file, and through the pooler."""
        template = os.environ["BRIO_DATABASE"]
        reports = {"snapshot": [], "pooler": []}
        with Pooler(pool, server_socket):
            through_pooler = template.replace(f"host={server_socket} port=5432", f"host={pool} port=6432")
            for _ in range(self.programs.rounds):
                for name, database in (("snapshot", f"snapshot:{file}"), ("pooler", through_pooler)):
                    reports[name].append(self.programs.report(
                        [self.programs.path("clients"), "--clients", str(clients)],
                        env={**os.environ, "BRIO_DATABASE": database}))
        table.heading(f"{clients:,} clients that start at once, from a snapshot")
        table.fact("failed", sum(report["failed"] for report in reports["snapshot"]), 0)
        for key, what, limit in (("milliseconds", "all served after, beside PgBouncer", 1.0),):
            table.ratio_at_most(what, median(reports["snapshot"], key), median(reports["pooler"], key), limit,
                                milliseconds)

    def measure(self, table, server_socket, pool, clients):
        template = os.environ["BRIO_DATABASE"]
        one, hundred, entropy = self.sizes(table, template)
        table.heading("Loads from a snapshot, beside the server")
        reports = self.beside(table, "LoadAllDetInfo", one, template, limit=0.08)
        table.ratio_at_most("LoadAllDetInfo, peak resident memory", median(reports["snapshot"], "peak_kilobytes"),
                            median(reports["server"], "peak_kilobytes"), 1.0, megabytes)
        self.beside(table, "first GetThreshold of a fresh object", one, template, "--stage", "thresholds", limit=0.30)
        self.fresh_process(table, one, template)
        say("LoadAllDetInfo from files of one run and of 100, and with gains of full entropy")
        files = self.programs.interleaved({name: self.load(f"snapshot:{file}") for name, file in
                                           (("one", one), ("hundred", hundred), ("entropy", entropy))})
        table.note("LoadAllDetInfo from a file of 100 runs, and of one", milliseconds(median(files["hundred"])),
                   milliseconds(median(files["one"])))
        table.note("the same, gains of full entropy, and the sample's", milliseconds(median(files["entropy"])),
                   milliseconds(median(files["one"])))
        self.clients(table, one, server_socket, pool, clients)

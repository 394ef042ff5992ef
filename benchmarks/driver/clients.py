"""Many clients at once, through a pooler and without one."""

import os
import subprocess
import time

from driver.programs import median, say
from driver.table import milliseconds

PORT = 6432


class Pooler:
    """A private PgBouncer in transaction mode in front of the private server."""

    def __init__(self, folder, server_socket):
        self.folder = folder
        self.server_socket = server_socket
        self.process = None

    def __enter__(self):
        settings = os.path.join(self.folder, "pgbouncer.ini")
        users = os.path.join(self.folder, "users.txt")
        with open(users, "w", encoding="ascii") as file:
            file.write('"brio_reader" ""\n')
        with open(settings, "w", encoding="utf-8") as file:
            file.write(f"""[databases]
* = host={self.server_socket} port=5432
[pgbouncer]
listen_addr =
listen_port = {PORT}
unix_socket_dir = {self.folder}
auth_type = trust
auth_file = {users}
pool_mode = transaction
default_pool_size = 20
max_client_conn = 5000
listen_backlog = 4096
""")
        # Where Debian has it; the path of a user other than root may lack the folder.
        command = ["/usr/sbin/pgbouncer", "--quiet", settings]
        if os.geteuid() == 0:
            for path in (self.folder, settings, users):
                os.chmod(path, 0o755)
            subprocess.run(["chown", "postgres", self.folder], check=True)
            command[1:1] = ["--user", "postgres"]
        with open(os.path.join(self.folder, "pgbouncer.log"), "wb") as log:
            self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        for _ in range(600):
            if os.path.exists(os.path.join(self.folder, f".s.PGSQL.{PORT}")):
                return self
            if self.process.poll() is not None:
                break
            time.sleep(0.05)
        self.__exit__()
        with open(os.path.join(self.folder, "pgbouncer.log"), encoding="utf-8") as log:
            raise RuntimeError(f"pgbouncer did not start: {log.read()}")

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()


def storm(table, programs, folder, server_socket, clients):
    """All clients at once, through the pooler with one try each, and directly with as many as it takes."""
    reports = {"pooler": [], "direct": []}
    template = os.environ["BRIO_DATABASE"]
    with Pooler(folder, server_socket):
        through_pooler = template.replace(f"host={server_socket} port=5432", f"host={folder} port={PORT}")
        pooled = {**os.environ, "BRIO_DATABASE": through_pooler}
        for number in range(programs.rounds):
            command = [programs.path("clients"), "--clients", str(clients)]
            reports["pooler"].append(programs.report(command, env=pooled))
            reports["direct"].append(programs.report([*command, "--tries", "100"]))
            say(f"{clients} clients, round {number + 1} of {programs.rounds}: through the pooler "
                f"{reports['pooler'][-1]['milliseconds']:.0f} ms, directly {reports['direct'][-1]['milliseconds']:.0f} ms")
    table.heading(f"{clients:,} clients that start at once, each loading a run's small tables")
    table.fact("failed, through PgBouncer, one try each", sum(r["failed"] for r in reports["pooler"]), 0)
    table.fact("failed, directly, with retries", sum(r["failed"] for r in reports["direct"]), 0)
    table.note("tries needed by all, PgBouncer and direct", str(reports["pooler"][0]["tries"]),
               f"{median(reports['direct'], 'tries'):.0f}")
    for key, what in (("milliseconds", "all served after"), ("p99", "99 % served after"), ("p50", "half served after")):
        pooler, direct = median(reports["pooler"], key), median(reports["direct"], key)
        table.note(f"{what}, PgBouncer and direct", milliseconds(pooler), milliseconds(direct), f"{pooler / direct:.2f}")

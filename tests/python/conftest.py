"""What the tests of the Python package share."""

import os
import pathlib
import subprocess

import pytest

import brio


def of_server(size):
    """The private server's databases of a size, as a source."""
    folder = os.environ["BRIO_TEST_SERVER_DIR"]
    return f"host={folder}/socket dbname={size}_{{detector}} user=brio_reader"


@pytest.fixture(scope="session")
def server():
    return of_server("small")


@pytest.fixture(scope="session")
def sample():
    """The sample snapshot, which needs no server."""
    return "snapshot:sample"


@pytest.fixture(autouse=True)
def no_other_database(monkeypatch):
    """A test says itself where it reads from."""
    monkeypatch.setenv("BRIO_DATABASE", "snapshot:none")


def psql(statement, database="small_birch"):
    """What the owner of the private server is answered."""
    folder = os.environ["BRIO_TEST_SERVER_DIR"]
    done = subprocess.run(["psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1", "-h", f"{folder}/socket", "-U",
                           "postgres", "-d", database, "-c", statement], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return done.stdout.strip()


@pytest.fixture
def without(server, source_tree):
    """Gives a source from which everything can be read but one table."""
    role = f"brio_python_{os.getpid()}"
    grants = (source_tree / "sandbox/sql/grants.sql").read_text()

    def forbid(table):
        psql(f"CREATE ROLE {role} LOGIN; {grants.replace('brio_reader', role)} REVOKE SELECT ON {table} FROM {role}")
        return server.replace("brio_reader", role)

    yield forbid
    psql(f"DROP OWNED BY {role}; DROP ROLE {role}")


@pytest.fixture(scope="session")
def source_tree():
    return pathlib.Path(os.environ["BRIO_SOURCE"])


@pytest.fixture(scope="session")
def many_runs(tmp_path_factory, server):
    """A snapshot of forty runs."""
    path = tmp_path_factory.mktemp("snapshot") / "runs.brio"
    brio.save(brio.runs("Birch", 13000, 13040, source=server, where="run != 13012"), path)
    return path

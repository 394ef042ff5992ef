"""What the tests of the Python package share."""

import os
import pathlib

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


@pytest.fixture(scope="session")
def source_tree():
    return pathlib.Path(os.environ["BRIO_SOURCE"])


@pytest.fixture(scope="session")
def many_runs(tmp_path_factory, server):
    """A snapshot of forty runs."""
    path = tmp_path_factory.mktemp("snapshot") / "runs.brio"
    brio.save(brio.runs("Birch", 13000, 13040, source=server, where="run <> 13012"), path)
    return path

"""Pickling, processes, threads, interruption, memory."""

import concurrent.futures
import gc
import multiprocessing
import os
import pickle
import signal
import socket
import subprocess
import sys
import threading
import time
import tracemalloc

import pytest

import brio

# How often the sample is loaded to see whether memory grows; a thousand times for a day's worth.
LOADS = int(os.environ.get("BRIO_PYTHON_LOADS", "100"))
# No time that a test judges by: a load that hangs would take as long as the silent server lets it, for ever.
LONG = 120


@pytest.fixture
def silent(tmp_path):
    """A server that takes connections and never says a word, as a source."""
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(tmp_path / ".s.PGSQL.5432"))
        listener.listen(8)
        yield f"host={tmp_path} connect_timeout=3600"


def test_a_run_is_pickled_as_what_it_is_not_what_it_holds(sample):
    run = brio.Run(13000, "Birch", sample, use_mask=True, custom_mask=3, retries=2, incomplete="raise")
    run.load()
    pickled = pickle.dumps(run)
    assert len(pickled) < 500
    again = pickle.loads(pickled)
    assert (again.number, again.detector, again.settings) == (run.number, run.detector, run.settings)
    assert again._loaded is None and repr(again) == repr(run)
    assert again.boards.data.tobytes() == run.boards.data.tobytes()


def test_a_path_means_the_same_file_elsewhere(sample, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    brio.Run(13000, "Birch", sample).save("one.brio")
    run = brio.Run(13000, "Birch", "one.brio")
    monkeypatch.chdir("/")
    assert pickle.loads(pickle.dumps(run)).subruns == 20


def test_records_lists_and_errors_can_be_pickled(sample):
    boards = brio.Run(13000, "Birch", sample).boards[:100]
    again = pickle.loads(pickle.dumps(boards))
    assert type(again) is brio.Records and again.mask.tobytes() == boards.mask.tobytes()
    runs = pickle.loads(pickle.dumps(brio.runs("Birch", last=13001, source=sample)))
    assert runs.numbers == [13000, 13001]
    error = pickle.loads(pickle.dumps(brio.DatabaseError("text", "category", ("a", "b"))))
    assert (str(error), error.category, error.log) == ("text", "category", ("a", "b"))


def mean_threshold(run):
    return run.number, float(run.channels["threshold"].mean())


def test_a_pool_of_processes_takes_runs(sample):
    runs = list(brio.runs("Birch", source=sample))
    expected = [mean_threshold(run) for run in runs]
    context = multiprocessing.get_context("fork")
    with concurrent.futures.ProcessPoolExecutor(2, mp_context=context) as pool:
        assert list(pool.map(mean_threshold, runs)) == expected


def test_threads_load_one_after_the_other(server, sample):
    expected = {number: mean_threshold(brio.Run(number, "Birch", sample)) for number in (13000, 13001, 13004)}
    with concurrent.futures.ThreadPoolExecutor(6) as pool:
        runs = [brio.Run(number, "Birch", source) for number in expected for source in (sample, server)]
        for number, mean in pool.map(mean_threshold, runs):
            assert (number, mean) == expected[number]
    assert all((run.boards["feb_status"] == 0).any() for run in runs)  # another's hardware took no serials away


def test_the_same_run_on_threads_is_whole(sample):
    run = brio.Run(13000, "Birch", sample)
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        for boards in pool.map(lambda _: run.boards, range(8)):
            assert boards.data.tobytes() == run.boards.data.tobytes()


def test_other_threads_run_during_a_load(silent):
    failed = threading.Event()

    def load():
        try:
            brio.Run(13000, "Birch", silent.replace("3600", "2")).load()
        except brio.DatabaseError:
            failed.set()

    thread = threading.Thread(target=load)
    thread.start()
    steps = 0
    while not failed.is_set():
        steps += 1
        time.sleep(0.001)
    thread.join()
    assert steps > 5  # without the lock it would be one


CHILD = """
import brio, signal, sys, threading, time
print("ready", flush=True)
try:
    {load}
except KeyboardInterrupt:
    print("interrupted", flush=True)
print(brio.Run(13000, "Birch", "snapshot:sample").subruns, flush=True)
"""


@pytest.mark.parametrize("load", [
    'brio.Run(13000, "Birch", sys.argv[1]).load()',
    'brio.Run(13000, "Birch", sys.argv[1]).start',
    'brio.Run(13000, "Birch", "host=/nonexistent", retries=100000).load()',
    'brio.Run(13015, "Birch", sys.argv[3], retries=100000).load()',  # its configuration does not exist
    'brio.Run(13000, "Birch", sys.argv[1]).save(sys.argv[2])',
], ids=["load", "list", "connection", "configuration", "save"])
def test_ctrl_c_ends_a_load(silent, server, tmp_path, load):
    with subprocess.Popen([sys.executable, "-c", CHILD.format(load=load), silent, str(tmp_path / "x.brio"), server],
                          stdout=subprocess.PIPE, text=True) as child:
        assert child.stdout.readline() == "ready\n"
        time.sleep(0.4)
        start = time.monotonic()
        child.send_signal(signal.SIGINT)
        assert child.communicate(timeout=LONG)[0] == "interrupted\n20\n"
        print(f"ended after {time.monotonic() - start:.2f} s")
        assert child.returncode == 0
    assert sorted(path.name for path in tmp_path.iterdir()) == [".s.PGSQL.5432"]


def test_ctrl_c_ends_the_wait_for_another_threads_load(silent):
    load = """
    def other():
        try: brio.Run(13000, "Birch", sys.argv[1].replace("3600", "3")).load()
        except brio.DatabaseError: pass
    thread = threading.Thread(target=other); thread.start(); time.sleep(0.2)
    try: brio.Run(13001, "Birch", "snapshot:sample").load()
    finally: thread.join()"""
    with subprocess.Popen([sys.executable, "-c", CHILD.format(load=load.lstrip()), silent], stdout=subprocess.PIPE,
                          text=True) as child:
        assert child.stdout.readline() == "ready\n"
        time.sleep(0.6)
        child.send_signal(signal.SIGINT)
        assert child.communicate(timeout=LONG)[0] == "interrupted\n20\n"


def test_a_handlers_own_exception_passes_and_the_run_can_be_asked_again(silent, sample, monkeypatch):
    class Bell(Exception):
        pass

    def ring(*_):
        raise Bell

    before = signal.signal(signal.SIGALRM, ring)
    try:
        monkeypatch.setenv("BRIO_DATABASE", silent)
        run = brio.Run(13000, "Birch")
        signal.setitimer(signal.ITIMER_REAL, 0.3)
        with pytest.raises(Bell):
            run.load()
        monkeypatch.setenv("BRIO_DATABASE", sample)
        assert len(run.event_builders) == 140
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)


def test_the_interpreter_ends_while_a_thread_loads(silent):
    program = """
import brio, sys, threading, time
threading.Thread(target=lambda: brio.Run(13000, "Birch", sys.argv[1]).load(), daemon=True).start()
time.sleep(0.3)
"""
    done = subprocess.run([sys.executable, "-c", program, silent], capture_output=True, text=True, timeout=LONG)
    assert done.returncode == 0, done.stderr
    assert "terminate" not in done.stderr


def test_a_fork_during_a_load_can_load(silent, sample):
    thread = threading.Thread(target=lambda: pytest.raises(brio.DatabaseError, brio.Run(
        13000, "Birch", silent.replace("3600", "2")).load))
    thread.start()
    time.sleep(0.2)
    child = os.fork()
    if child == 0:
        signal.alarm(LONG)  # rather than wait for ever
        os._exit(0 if brio.Run(13000, "Birch", sample).dcms == 168 else 1)
    assert os.waitpid(child, 0)[1] == 0
    thread.join()


def resident():
    """Kilobytes of this process's memory."""
    with open("/proc/self/status") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))


def ask(sample, number):
    run = brio.Run(number, "Birch", sample)
    run.by_plane("threshold")
    run.channel(plane=66, cell=17)
    run.quality_records, run.start, run._repr_html_()
    try:
        brio.Run(14999, "Birch", sample).load()
    except brio.DatabaseError:
        pass


def test_nothing_leaks(sample):
    import logging

    logging.getLogger("brio").setLevel(logging.CRITICAL)
    for _ in range(20):
        ask(sample, 13000), ask(sample, 13001)
    gc.collect()
    tracemalloc.start()
    traced, before = tracemalloc.get_traced_memory()[0], resident()
    descriptors = len(os.listdir("/proc/self/fd"))
    readings = []
    for load in range(LOADS):
        ask(sample, 13000 + load % 2)
        if load % max(LOADS // 10, 1) == 0:
            readings.append(resident())
    gc.collect()
    traced, after = tracemalloc.get_traced_memory()[0] - traced, resident()
    tracemalloc.stop()
    logging.getLogger("brio").setLevel(logging.NOTSET)
    print(f"{LOADS} loads: traced {traced} bytes, resident {before} to {after} kB: {readings}")
    assert traced < 100_000  # one array of a run is 8 MB
    assert after - before < 30_000
    assert len(os.listdir("/proc/self/fd")) == descriptors

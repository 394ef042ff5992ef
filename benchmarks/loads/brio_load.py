#!/usr/bin/python3
"""Loads a run with the Python package, whole, into arrays. Reports like the C++ programs beside it; and how long
`channels` took once the run was loaded."""

import argparse
import json
import logging
import resource
import time

import numpy as np

import brio
from brio import _brio

PRIME = 101


def weights(count):
    return 1 + np.arange(count) % PRIME


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--run", type=int, default=13002)
    options = parser.parse_args()
    logging.getLogger("brio").setLevel(logging.CRITICAL)
    statements = _brio.statements_sent()
    processor, start = time.process_time(), time.perf_counter()
    run = brio.Run(options.run, "Birch")
    boards, channels = run.boards, run.channels
    milliseconds = 1e3 * (time.perf_counter() - start)
    processor = 1e3 * (time.process_time() - processor)
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    # What a client waits for who asks for it first.
    start = time.perf_counter()
    run.channels["threshold"].count()
    channels_milliseconds = 1e3 * (time.perf_counter() - start)
    print(json.dumps({
        "milliseconds": milliseconds, "processor_milliseconds": processor, "peak_kilobytes": peak,
        "channels_milliseconds": channels_milliseconds, "statements": _brio.statements_sent() - statements,
        # A gain that is not known is 100 for the library.
        "answers": {"installed boards": float(boards["installed"].filled(False).sum()),
                    "gains": float(weights(len(channels)) @ channels["gain"].filled(100).astype("f8"))},
    }))


if __name__ == "__main__":
    main()

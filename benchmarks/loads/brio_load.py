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


def pixel_masks(channels):
    """Of every board, as 32 bits with a sign."""
    enabled = channels["enabled"].filled(False).reshape(-1, 32)
    return (enabled @ (1 << np.arange(32, dtype="i8"))).astype("u4").view("i4").astype("f8")


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
        "answers": {"installed boards": float(boards["installed"].filled(False).sum()),
                    "enabled boards": float(boards["enabled"].filled(False).sum()),
                    "pixel masks": float(weights(len(boards)) @ pixel_masks(channels))},
    }))


if __name__ == "__main__":
    main()

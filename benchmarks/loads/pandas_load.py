#!/usr/bin/python3
"""Reads the rows of the library's load with psycopg2 into pandas data frames, and unpacks masks and thresholds: no
more. Which gain belongs to which channel is not worked out."""

import argparse
import json
import re
import resource
import time
import warnings

import numpy as np
import pandas as pd
import psycopg2

from psycopg2_load import read_statements

RUN_STATEMENTS = ("runs", "resources")
CONFIGURATION_STATEMENTS = ("masks", "thresholds", "settings")
START_STATEMENTS = ("gains", "apds", "febs", "cables")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--database", required=True)
    parser.add_argument("--statements", required=True)
    parser.add_argument("--run", type=int, default=13002)
    options = parser.parse_args()
    warnings.simplefilter("ignore", UserWarning)  # pandas would rather have another library's connection
    statements = read_statements(options.statements)
    processor, start = time.process_time(), time.perf_counter()
    connection = psycopg2.connect(options.database)
    connection.autocommit = True
    connection.cursor().execute(statements["begin"])
    frames = {}

    def read(name, *values):
        parameters = {f"p{i + 1}": value for i, value in enumerate(values)} or None
        frames[name] = pd.read_sql_query(statements[name], connection, params=parameters)

    for name in RUN_STATEMENTS:
        read(name, options.run)
    configuration = int(frames["runs"].iloc[0, 3])
    read("hardware")
    for name in CONFIGURATION_STATEMENTS:
        read(name, configuration)
    for name in START_STATEMENTS:
        read(name)
    thresholds = np.stack([np.frombuffer(packed, ">i2") for packed in frames["thresholds"].iloc[:, 1]])
    masks = np.stack([np.frombuffer(packed, ">i4") for packed in frames["masks"].iloc[:, 2]])
    milliseconds = 1e3 * (time.perf_counter() - start)
    processor = 1e3 * (time.process_time() - processor)
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    assert thresholds.size == 32 * masks.size and not re.search(r"\$\d", "".join(statements.values()))
    print(json.dumps({"milliseconds": milliseconds, "processor_milliseconds": processor, "peak_kilobytes": peak,
                      "rows": sum(len(frame) for frame in frames.values()), "statements": len(frames)}))


if __name__ == "__main__":
    main()

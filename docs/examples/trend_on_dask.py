"""The mean gain and temperature of every run of a snapshot, loaded by the workers of a local Dask cluster, and drawn.

    trend_on_dask.py SNAPSHOT PICTURE [WORKERS]
"""

import logging
import sys

from dask.distributed import Client, LocalCluster
from matplotlib import pyplot as plt

import brio


def means(run):
    """What the trend shows of a run, or None where it cannot be had. A worker gets the run as number and source."""
    logging.getLogger("brio").setLevel(logging.CRITICAL)  # a gain out of range is no news in a trend
    try:
        boards = run.boards
    except brio.Error as error:
        return run.number, None, str(error)
    return run.number, run.start, (float(boards["gain"].mean()), float(boards["temperature"].mean()))


def draw(points, path):
    """The two trends, one above the other."""
    figure, (upper, lower) = plt.subplots(2, 1, sharex=True, figsize=(8, 5), constrained_layout=True)
    times = [start for _, start, _ in points]
    for axes, index, label in ((upper, 0, "mean gain"), (lower, 1, "mean temperature (°C)")):
        axes.plot(times, [values[index] for _, _, values in points], "o-", markersize=3)
        axes.set_ylabel(label)
    lower.set_xlabel("start of the run (UTC)")
    lower.tick_params("x", rotation=30)
    figure.savefig(path)


def main(snapshot, picture, workers=2):
    runs = brio.runs("Birch", source=snapshot, incomplete="raise")
    # Processes, not threads: in one process loads come one after the other.
    with LocalCluster(n_workers=int(workers), threads_per_worker=1, host="127.0.0.1", dashboard_address=None) as here:
        with Client(here) as client:
            answers = client.gather(client.map(means, list(runs)))
    points = [answer for answer in answers if answer[1] is not None]
    for number, _, reason in (answer for answer in answers if answer[1] is None):
        print(f"left out: {number} ({reason})")
    draw(points, picture)
    print(f"{len(points)} runs, mean gains from {min(values[0] for *_, values in points):.2f} "
          f"to {max(values[0] for *_, values in points):.2f}")


if __name__ == "__main__":
    main(*sys.argv[1:])

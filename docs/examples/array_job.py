"""The same for one run, as a task of a batch system's array job: a line of CSV to standard output.

    array_job.py SNAPSHOT TASK

TASK is the task's number, from 0, SLURM_ARRAY_TASK_ID or Process say: that of the run in the snapshot.
"""

import logging
import sys

import brio


def main(snapshot, task):
    logging.basicConfig(level=logging.CRITICAL)
    run = brio.runs("Birch", source=snapshot, incomplete="raise")[int(task)]
    try:
        boards = run.boards
    except brio.Error as error:
        sys.exit(f"run {run.number}: {error}")
    print(f"{run.number},{run.start:%Y-%m-%dT%H:%M:%SZ},{boards['gain'].mean():.3f},{boards['temperature'].mean():.3f}")


if __name__ == "__main__":
    main(*sys.argv[1:])

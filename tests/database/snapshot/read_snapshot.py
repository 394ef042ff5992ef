#!/usr/bin/env python3
"""Reads a snapshot with nothing but SQLite and the zstd tool, as docs/snapshots.md describes it.

    read_snapshot.py FILE DETECTOR RUN STATEMENT

Prints the answer of that run to the statement: a line with the names of the columns, then one for each row, all
as JSON lists of texts (NULL as null). Hashes are not checked.
"""

import json
import sqlite3
import struct
import subprocess
import sys


def numbers(data, at, count):
    return struct.unpack_from(f"<{count}I", data, at), at + 4 * count


def values(data, at, count):
    """As many values: their lengths, then each that is not NULL with a zero byte behind it."""
    lengths, at = numbers(data, at, count)
    found = []
    for length in lengths:
        if length == 0xFFFFFFFF:
            found.append(None)
        else:
            found.append(data[at:at + length].decode())
            at += length + 1
    return found, at


def column(data, at, rows):
    coding, at = data[at], at + 1
    if coding == 0:
        return values(data, at, rows)
    (count,), at = numbers(data, at, 1)
    distinct, at = values(data, at, count)
    width = 1 if count <= 0x100 else 2 if count <= 0x10000 else 4
    codes = struct.unpack_from(f"<{rows}{' BH I'[width]}", data, at)
    return [distinct[code] for code in codes], at + width * rows


def names(data):
    at, found = 0, []
    while at < len(data):
        (length,), at = numbers(data, at, 1)
        found.append(data[at:at + length].decode())
        at += length + 24
    return found


def main():
    path, detector, run, statement = sys.argv[1:]
    file = sqlite3.connect(f"file:{path}?mode=ro&immutable=1", uri=True)
    (rows, columns, hashes), = file.execute(
        "SELECT a.rows, a.columns, a.blocks FROM run r JOIN run_answer ra ON ra.run = r.id"
        " JOIN answer a ON a.id = ra.answer JOIN question q ON q.id = a.question"
        " WHERE r.detector = ? AND r.run = ? AND q.statement = ?", (detector, int(run), statement))
    found = []
    for i in range(0, len(hashes), 16):
        (frame,), = file.execute("SELECT data FROM block WHERE hash = ?", (hashes[i:i + 16],))
        data = subprocess.run(["zstd", "-dc"], input=frame, stdout=subprocess.PIPE, check=True).stdout
        at = 0
        while at < len(data):
            taken, at = column(data, at, rows)
            found.append(taken)
    print(json.dumps(names(columns)))
    for row in zip(*found):
        print(json.dumps(row))


main()

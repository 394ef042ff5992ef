#!/usr/bin/env python3
"""Runs a program of the documentation and compares what it prints with what the page shows.

    check_example.py PROGRAM PAGE FILE

FILE is what the page names in the comment above the program's code; the ```text block behind that code is what the
program writes to standard output. A line that is just "…" stands for any lines.
"""

import pathlib
import re
import subprocess
import sys

from check_tutorial import pattern_of


def main():
    program, page, file = sys.argv[1:]
    block = re.compile(rf"<!-- file: {re.escape(file)} -->\s*\n```cpp\n.*?```\n[^`]*?```text\n(.*?)```", re.DOTALL)
    found = block.search(pathlib.Path(page).read_text())
    if not found:
        sys.exit(f"{page} does not show what {file} prints")
    result = subprocess.run([program], text=True, capture_output=True, check=False)
    if result.returncode != 0 or not pattern_of(found[1].splitlines()).fullmatch(result.stdout):
        sys.exit(f"status {result.returncode}, shown:\n{found[1]}printed:\n{result.stdout}"
                 f"standard error:\n{result.stderr}")


if __name__ == "__main__":
    main()

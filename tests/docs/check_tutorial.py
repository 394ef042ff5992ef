#!/usr/bin/env python3
"""Runs the commands of a page and compares what they print with what the page shows.

    check_tutorial.py COMMAND PAGE [--update]

In each ```console block a line that begins with "$ " is a command for bash, run where the commands before it left
their files; the lines below it, up to the next command, are what it writes to standard output. A line that is just
"…" stands for any lines. Times in milliseconds may differ. --update writes the real output into the page, except
below commands whose output is shown with a "…".
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"(```console\n)(.*?)(```)", re.DOTALL)
ANY = "…"


def parts_of(block):
    """The commands of a block, each with the lines that are shown below it."""
    parts = []
    for line in block.splitlines():
        if line.startswith("$ "):
            parts.append((line[2:], []))
        else:
            parts[-1][1].append(line)
    return parts


def pattern_of(lines):
    pattern = ""
    for line in lines:
        if line == ANY:
            pattern += r"(?:.*\n)*"
        else:
            pattern += re.sub(r"\d+\\\.\d\\ ms", r"[\\d.]+ ms", re.escape(line)) + r"\n"
    return re.compile(pattern)


def main():
    command, page = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    update = "--update" in sys.argv[3:]
    text = page.read_text()
    ran = failed = 0
    environment = dict(os.environ, PATH=f"{command.parent}:{os.environ['PATH']}", LC_ALL="C.UTF-8")
    with tempfile.TemporaryDirectory() as folder:
        for block in list(BLOCK.finditer(text)):
            shown = ""
            for line, expected in parts_of(block[2]):
                result = subprocess.run(["bash", "-c", line], cwd=folder, env=environment, text=True,
                                        capture_output=True, check=False)
                ran += 1
                if not pattern_of(expected).fullmatch(result.stdout):
                    failed += 1
                    print(f"$ {line}\nshown:\n" + "\n".join(expected) + f"\nprinted:\n{result.stdout}"
                          f"standard error:\n{result.stderr}", file=sys.stderr)
                kept = ANY in expected
                shown += f"$ {line}\n" + ("".join(f"{part}\n" for part in expected) if kept else result.stdout)
            if update:
                text = text.replace(block[0], block[1] + shown + block[3])
    if update:
        page.write_text(text)
        return 0
    if ran == 0:
        print(f"{page} has no commands", file=sys.stderr)
    return 1 if failed or ran == 0 else 0


if __name__ == "__main__":
    sys.exit(main())

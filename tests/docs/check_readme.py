#!/usr/bin/env python3
"""Runs the commands of the README as a reader would and compares what they print with what is shown.

    check_readme.py COMMAND REPOSITORY SERVER-FOLDER

Each section's ```console blocks run in one shell, in a folder that looks like the clone: what they set stays set.
Every command must end with status 0 and print what is shown below it, as in check_tutorial.py. Two things are not
the reader's: build/release/tools is the folder of COMMAND, and sandbox/sandbox speaks of the server in
SERVER-FOLDER, which has the small sample already and stays.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

from check_tutorial import BLOCK, parts_of, pattern_of

MARK = "--- status "


def make_clone(clone, command, repository, server):
    for entry in repository.iterdir():
        if entry.name not in ("build", "sandbox"):
            (clone / entry.name).symlink_to(entry)
    (clone / "build/release").mkdir(parents=True)
    (clone / "build/release/tools").symlink_to(command.parent)
    (clone / "sandbox").mkdir()
    sandbox = clone / "sandbox/sandbox"
    real = f"{shlex.quote(str(repository / 'sandbox/sandbox'))} --dir {shlex.quote(str(server))}"
    sandbox.write_text(f"#!/bin/sh\ncase $1 in\n  up) exec {real} up ;;\n  env) exec {real} env --prefix small ;;\n"
                       "  load | down) ;;\n  *) exit 2 ;;\nesac\n")
    sandbox.chmod(0o755)


def run(commands, folder, environment):
    """What each command wrote to standard output, with its exit status."""
    script = "".join(f"{command}\nprintf '\\n{MARK}%d\\n' $?\n" for command in commands)
    result = subprocess.run(["bash", "-c", script], cwd=folder, env=environment, text=True, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, check=False)
    answers = re.split(rf"\n{MARK}(\d+)\n", result.stdout)
    return list(zip(answers[0::2], map(int, answers[1::2])))


def main():
    command, repository, server = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    ran = failed = 0
    environment = {name: value for name, value in os.environ.items() if not name.startswith("BRIO_")}
    environment["LC_ALL"] = "C.UTF-8"
    sections = re.split(r"^(?=## )", (repository / "README.md").read_text(), flags=re.MULTILINE)
    with tempfile.TemporaryDirectory() as folder:
        make_clone(pathlib.Path(folder), command, repository, server)
        for section in sections:
            parts = [part for block in BLOCK.finditer(section) for part in parts_of(block[2])]
            # The first section's commands come with the build, which sets the path.
            path = f"{command.parent}:{os.environ['PATH']}" if section is sections[0] else os.environ["PATH"]
            answers = run([line for line, _ in parts], folder, dict(environment, PATH=path))
            if len(answers) != len(parts):
                print(f"{len(parts)} commands, but {len(answers)} ended", file=sys.stderr)
                failed += 1
            for (line, expected), (printed, status) in zip(parts, answers):
                ran += 1
                if status != 0 or not pattern_of(expected).fullmatch(printed):
                    failed += 1
                    print(f"$ {line}\nstatus {status}, shown:\n" + "\n".join(expected) + f"\nprinted:\n{printed}",
                          file=sys.stderr)
    print(f"{ran} commands, {failed} failures")
    return 1 if failed or ran < 10 else 0


if __name__ == "__main__":
    sys.exit(main())

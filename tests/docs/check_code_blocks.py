#!/usr/bin/env python3
"""Checks that every block of C++ or CMake in the documentation is a copy of a file that is built.

    check_code_blocks.py REPOSITORY

Above each ```cpp or ```cmake block stands the comment <!-- file: PATH -->, and the block equals that file; every such
file in docs/examples is shown somewhere.
"""

import pathlib
import re
import sys

BLOCK = re.compile(r"(?:<!-- file: (?P<file>\S+) -->\s*\n)?```(?:cpp|cmake)\n(?P<code>.*?)```", re.DOTALL)


# What is built, or installed for a test.
NOT_OURS = {"build", "out", "node_modules"}
# Of the others (Python, notebooks) tests/python takes care.
COMPARED = {".cc", ".txt"}


def problems(repository: pathlib.Path):
    pages = [page for page in sorted(repository.rglob("*.md"))
             if not NOT_OURS.intersection(page.relative_to(repository).parts)]
    shown = set()
    for page in pages:
        for block in BLOCK.finditer(page.read_text()):
            where = f"{page.relative_to(repository)}:{page.read_text()[:block.start('code')].count(chr(10))}"
            if block["file"] is None:
                yield f"{where}: no <!-- file: ... --> above this block"
                continue
            shown.add(block["file"])
            source = repository / block["file"]
            if not source.is_file():
                yield f"{where}: there is no {block['file']}"
            elif source.read_text() != block["code"]:
                yield f"{where}: differs from {block['file']}"
    for example in sorted(path for path in (repository / "docs/examples").rglob("*") if path.suffix in COMPARED):
        name = str(example.relative_to(repository))
        if name not in shown:
            yield f"{name}: no page shows it"


def main() -> int:
    found = list(problems(pathlib.Path(sys.argv[1])))
    print("\n".join(found), file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

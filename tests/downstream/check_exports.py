#!/usr/bin/env python3
"""Checks what installed libraries export: what other programs may use must stand in an installed header.

    check_exports.py PREFIX

Looks at the symbols under the version of the interface; those under BRIO_PRIVATE are this project's own. A function is
looked for by its name, a type by that of its class.
"""

import pathlib
import re
import subprocess
import sys


def promised(library):
    """The demangled names under the interface's version."""
    listed = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", library],
                            check=True, capture_output=True, text=True).stdout
    for line in listed.splitlines():
        name, _, version = line.split(" ", 2)[2].rpartition("@@")
        if line.split()[1] == "A":  # the versions themselves
            continue
        if not version:
            yield line
        elif not version.startswith("BRIO_PRIVATE_"):
            yield name


def identifier(name):
    """The last name of a function, variable or class: "Load" of "brio::dbi::Table::Load()"."""
    name = re.sub(r"\[abi:\w+\]", "", name)
    name = re.sub(r"^(vtable|typeinfo name|typeinfo|VTT|guard variable) for ", "", name)
    operator = re.search(r"operator\W+?\(", name)
    if operator:
        return operator.group()[:-1]
    return re.split(r"::|\s", re.split(r"[(<]", name)[0])[-1].lstrip("~")


def main():
    prefix = pathlib.Path(sys.argv[1])
    libraries = sorted(prefix.glob("lib*/**/libbrio_*.so"))
    headers = list(prefix.glob("include/brio/**/*.h"))
    if not libraries or not headers:
        sys.exit(f"there are no libraries, or no headers, in {prefix}")
    text = "\n".join(header.read_text() for header in headers)
    words = set(re.findall(r"operator\W+?(?=\()|\w+", text))
    count = 0
    strangers = []
    for library in libraries:
        for name in promised(library):
            count += 1
            if identifier(name) not in words:
                strangers.append(f"{library.name} exports {name}, which no installed header has")
    if count == 0:
        sys.exit("the libraries export nothing")
    if strangers:
        sys.exit("\n".join(strangers))
    print(f"{count} exported names, all in the installed headers")


if __name__ == "__main__":
    main()

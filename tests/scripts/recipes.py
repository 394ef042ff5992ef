#!/usr/bin/env python3
"""Checks what names the version, and the build options that the Spack recipe sets, against CMakeLists.txt.

    recipes.py REPOSITORY
"""

import ast
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
cmake = (root / "CMakeLists.txt").read_text() + (root / "python/CMakeLists.txt").read_text()
version = re.search(r"^project\(brio VERSION (\S+)", cmake, re.M).group(1)
interface = ".".join(version.split(".")[:2]) if version.startswith("0.") else version.split(".")[0]
complaints = []


def expect(holds, complaint):
    if not holds:
        complaints.append(complaint)


changelog = (root / "debian/changelog").read_text()
expect(changelog.startswith(f"brio ({version}) "), f"debian/changelog does not begin with version {version}")
control = (root / "debian/control").read_text()
expect(f"\nPackage: libbrio{interface}\n" in control, f"debian/control has no package libbrio{interface}")
expect((root / f"debian/libbrio{interface}.install").exists(), f"there is no debian/libbrio{interface}.install")

recipe = (root / "packaging/spack/package.py").read_text()
tree = ast.parse(recipe)
calls = [node for node in ast.walk(tree) if isinstance(node, ast.Call)]


def called(name):
    return [call for call in calls if getattr(call.func, "attr", getattr(call.func, "id", None)) == name]


expect(any(call.args[0].value == version for call in called("version")), f"the recipe has no version {version}")
options = [call.args[0].value for call in called("define") + called("define_from_variant")]
expect(len(options) >= 4, "the recipe sets no options")
for option in options:
    known = re.search(rf"\b(option|set|find_program)\({option}\b", cmake)
    expect(known or option.startswith("Python_"), f"the recipe sets {option}, which CMakeLists.txt does not have")

if complaints:
    sys.exit("\n".join(complaints))

"""`pip install .`: the Python package with the libraries and table definitions that it needs, by python3-skbuild.

There is no pyproject.toml on purpose: with one, pip would fetch what is installed already.
"""

import os
import re
import sys

from skbuild import setup

HERE = os.path.dirname(os.path.abspath(__file__))

with open(os.path.join(HERE, "CMakeLists.txt")) as file:
    VERSION = re.search(r"project\(brio VERSION ([0-9.]+)", file.read())[1]


def needed(installed):
    """Of all that is installed: the package, the libraries by the names that programs load them by, definitions."""
    return [path for path in installed
            if re.search(r"/python/brio/(lib/libbrio_\w+\.so\.\d+|share/brio/.*|[^/]+)$", "/" + path)]


setup(
    name="brio",
    version=VERSION,
    description="Runs of the experiment's detectors, as numpy arrays",
    packages=["brio"],
    package_dir={"": "python"},
    package_data={"brio": ["py.typed", "*.pyi"]},
    python_requires=">=3.11",
    install_requires=["numpy"],
    cmake_install_dir="python",
    cmake_args=[
        "-DBRIO_BUILD_PYTHON=ON", "-DBRIO_BUILD_TOOLS=OFF", "-DBRIO_BUILD_TESTS=OFF",
        f"-DPython_EXECUTABLE={sys.executable}", "-DBRIO_PYTHON_DIR=.",
        "-DCMAKE_INSTALL_LIBDIR=brio/lib", "-DCMAKE_INSTALL_DATADIR=brio/share",
    ],
    cmake_process_manifest_hook=needed,
    zip_safe=False,
)

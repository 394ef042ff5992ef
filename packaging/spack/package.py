# A recipe for Spack. Tried so far: that Python reads it, and that its options are those of CMakeLists.txt (a test
# compares them). It has not been built by Spack. Put it into a repository of your own as packages/brio/package.py, and
# name there where your site's copy of the sources is.
#
# Copyright the RunHistory maintainers
# SPDX-License-Identifier: Apache-2.0

from spack.package import *


class Brio(CMakePackage):
    """RunHistory: everything about a data-taking run that lives outside the event data, from PostgreSQL
    databases or snapshot files, as a C++ library, a command and a Python package."""

    git = "https://example.org/brio.git"

    license("Apache-2.0")

    version("0.1.0", tag="v0.1.0")

    variant("python", default=False, description="Build the Python package")
    variant("tools", default=True, description="Build the runhistory command")

    depends_on("cxx", type="build")
    depends_on("cmake@3.25:", type="build")
    depends_on("ninja", type="build")
    depends_on("pkgconfig", type="build")

    depends_on("postgresql")
    depends_on("boost")
    depends_on("pugixml")
    depends_on("spdlog")
    depends_on("sqlite@3:")
    depends_on("zstd")
    depends_on("xxhash")
    depends_on("cli11", when="+tools")
    depends_on("nlohmann-json", when="+tools")

    extends("python", when="+python")
    depends_on("py-pybind11", type="build", when="+python")
    depends_on("py-numpy", type=("build", "run"), when="+python")

    generator("ninja")

    def cmake_args(self):
        args = [
            self.define("BRIO_BUILD_TESTS", self.run_tests),
            self.define("BRIO_CCACHE", False),
            self.define_from_variant("BRIO_BUILD_TOOLS", "tools"),
            self.define_from_variant("BRIO_BUILD_PYTHON", "python"),
        ]
        if self.spec.satisfies("+python"):
            args.append(self.define("BRIO_PYTHON_DIR", python_platlib))
            args.append(self.define("Python_EXECUTABLE", python.path))
        return args

    def check(self):
        # The tests without a server.
        with working_dir(self.build_directory):
            ctest("--label-regex", "unit", "--output-on-failure")

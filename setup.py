#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""`pip install .`: the Python package, whose module CMake builds.  There is no pyproject.toml, so
that pip takes the setuptools and pybind11 that are installed and needs no network."""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent
VERSION = ".".join(
    re.findall(
        r"define MIMETREE_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)",
        (ROOT / "include/mimetree/version.h").read_text(encoding="ascii"),
    )
)
OPTIONS = {
    "CMAKE_BUILD_TYPE": "Release",
    "MIMETREE_BUILD_PYTHON": "ON",
    "MIMETREE_BUILD_TESTS": "OFF",
    "MIMETREE_BUILD_TOOLS": "OFF",
    "PYTHON_EXECUTABLE": sys.executable,
}


class CMakeBuild(build_ext):
    """Builds the module's target, and takes the module from there."""

    def build_extension(self, ext):
        build = pathlib.Path(self.build_temp).resolve()
        options = [f"-D{name}={value}" for name, value in OPTIONS.items()]
        options += shlex.split(os.environ.get("CMAKE_ARGS", ""))
        subprocess.run(["cmake", "-S", ROOT, "-B", build, *options], check=True)
        subprocess.run(
            ["cmake", "--build", build, "--target", "mimetree-python", "--parallel", "2"], check=True
        )
        to = pathlib.Path(self.get_ext_fullpath(ext.name))
        to.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(build / "python/mimetree" / to.name, to)


setup(
    name="mimetree",
    version=VERSION,
    description="A MIME engine: mail into a tree of parts, and back",
    license="Apache-2.0",
    python_requires=">=3.9",
    package_dir={"": "python"},
    packages=["mimetree"],
    package_data={"mimetree": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("mimetree._mimetree", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    extras_require={"dask": ["dask", "distributed", "pandas"]},
    zip_safe=False,
)

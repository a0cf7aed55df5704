# SPDX-License-Identifier: Apache-2.0
"""Runs a Conan recipe's steps without Conan: what it imports is played by the few lines below.
usage: conan_stub.py CONANFILE WORK_DIR      (the package comes to WORK_DIR/package)"""
import importlib.util
import os
import shutil
import subprocess
import sys
import types
from pathlib import Path


class ConanFile:
    def __init__(self):
        self.options = types.SimpleNamespace(shared=False)
        self.cpp_info = types.SimpleNamespace(set_property=lambda *_: None)


class CMakeToolchain:
    def __init__(self, recipe):
        self.variables = recipe.toolchain_variables = {}

    def generate(self):
        pass


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe

    def configure(self):
        options = [f"-D{name}={'ON' if value else 'OFF'}"
                   for name, value in self.recipe.toolchain_variables.items()]
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.recipe.source_folder, "-B",
                        self.recipe.build_folder, "-DCMAKE_BUILD_TYPE=Release", *options],
                       check=True)

    def build(self):
        subprocess.run(["cmake", "--build", self.recipe.build_folder], check=True)

    def install(self):
        subprocess.run(["cmake", "--install", self.recipe.build_folder, "--prefix",
                        self.recipe.package_folder], check=True)


def copy(_, pattern, src, dst):
    for path in Path(src).glob(pattern):
        to = Path(dst, path.relative_to(src))
        to.parent.mkdir(parents=True, exist_ok=True)
        if path.is_dir():
            shutil.copytree(path, to, dirs_exist_ok=True)
        else:
            shutil.copy2(path, to)


def play(name, **members):
    sys.modules[name] = types.ModuleType(name)
    vars(sys.modules[name]).update(members)


def main():
    recipe_file, work = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
    play("conan", ConanFile=ConanFile)
    play("conan.tools")
    play("conan.tools.build", check_min_cppstd=lambda *_: None)
    play("conan.tools.cmake", CMake=CMake, CMakeToolchain=CMakeToolchain,
         CMakeDeps=lambda _: types.SimpleNamespace(generate=lambda: None),
         cmake_layout=lambda _: None)
    play("conan.tools.files", copy=copy, load=lambda _, path: Path(path).read_text())
    sys.dont_write_bytecode = True
    spec = importlib.util.spec_from_file_location("recipe", recipe_file)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    recipe = module.MimetreeConan()
    recipe.recipe_folder = str(recipe_file.parent)
    recipe.export_sources_folder = recipe.source_folder = str(work / "source")
    recipe.build_folder, recipe.package_folder = str(work / "build"), str(work / "package")
    for step in ("set_version", "export_sources", "validate", "layout", "generate", "build",
                 "package", "package_info"):
        getattr(recipe, step)()
    assert os.path.isfile(os.path.join(recipe.package_folder, "licenses", "LICENSE"))
    print("conan: version", recipe.version)


main()

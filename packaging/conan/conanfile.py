# SPDX-License-Identifier: Apache-2.0
"""Conan 2 recipe of the checkout that it lies in:  conan create packaging/conan"""
import os
import re

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class MimetreeConan(ConanFile):
    name = "mimetree"
    description = "A MIME engine: mail into a tree of parts, and back"
    license = "Apache-2.0"
    topics = ("mime", "email", "mail", "rfc822")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": False, "fPIC": True}
    implements = ["auto_shared_fpic"]

    def _root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        header = load(self, os.path.join(self._root(), "include", "mimetree", "version.h"))
        self.version = ".".join(re.findall(r"define MIMETREE_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)",
                                           header))

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "packaging/*", "include/*",
                        "foundation/*", "mime/*", "face/*", "CHANGELOG.md"):
            copy(self, pattern, self._root(), self.export_sources_folder)

    def validate(self):
        check_min_cppstd(self, 20)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.variables["MIMETREE_BUILD_TOOLS"] = False
        toolchain.variables["MIMETREE_BUILD_TESTS"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.libs = ["mimetree"]
        self.cpp_info.includedirs = ["include", os.path.join("include", "mimetree")]
        self.cpp_info.set_property("cmake_file_name", "mimetree")
        self.cpp_info.set_property("cmake_target_name", "mimetree::mimetree")
        self.cpp_info.set_property("pkg_config_name", "mimetree")
        if self.options.shared:
            self.cpp_info.defines = ["MIMETREE_SHARED"]

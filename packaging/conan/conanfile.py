"""Conan 2 recipe over the checkout that it stands in: conan create packaging/conan --build=missing"""
import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load

required_conan_version = ">=2.0"


class TarnuWin32UtilsConan(ConanFile):
    name = "tarnuwin32utils"
    description = "Utility library for Windows host applications"
    license = "Zlib"
    topics = ("windows", "win32", "files", "xml", "zip")
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"tools": [True, False], "framework": ["mfc", "builtin"], "static_runtime": [True, False]}
    default_options = {"tools": False, "static_runtime": False}

    # What a build takes of the checkout, seen from its root.
    sources = ("CMakeLists.txt", "LICENSE", "README.md", "CHANGELOG.md", "CONTRIBUTING.md", "cmake/*", "debug/*",
               "docs/*.md", "docs/*.svg", "examples/*", "packaging/THIRD-PARTY.md", "tarnu/*", "tools/orva/*")

    @property
    def _root(self):
        return os.path.join(self.recipe_folder, os.pardir, os.pardir)

    def set_version(self):
        text = load(self, os.path.join(self._root, "CMakeLists.txt"))
        self.version = re.search(r"project\(TarnuWin32Utils VERSION (\S+)", text).group(1)

    def export_sources(self):
        for pattern in self.sources:
            copy(self, pattern, self._root, self.export_sources_folder)

    # The recipe reads the version from the checkout, which an exported recipe has no more.
    def export(self):
        copy(self, "CMakeLists.txt", self._root, self.export_folder)

    def config_options(self):
        self.options.framework = "mfc" if str(self.settings.compiler) == "msvc" else "builtin"

    def requirements(self):
        self.requires("zlib/[>=1.2.13 <2]")
        self.requires("libdeflate/[>=1.14 <2]")
        self.requires("minizip/[>=1.2.13 <2]")
        if self.options.tools:
            self.requires("cli11/[>=2.3 <3]")

    def validate(self):
        if self.settings.os != "Windows" or self.settings.arch != "x86_64":
            raise ConanInvalidConfiguration("TarnuWin32Utils is a library for 64-bit Windows")
        check_min_cppstd(self, 20)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["TARNU_FRAMEWORK"] = str(self.options.framework)
        toolchain.cache_variables["TARNU_BUILD_TOOLS"] = bool(self.options.tools)
        toolchain.cache_variables["TARNU_BUILD_TESTS"] = False
        toolchain.cache_variables["TARNU_STATIC_RUNTIME"] = bool(self.options.static_runtime)
        toolchain.cache_variables["TARNU_USE_PACKAGES"] = True
        toolchain.generate()
        dependencies = CMakeDeps(self)
        dependencies.set_property("minizip", "cmake_file_name", "unofficial-minizip")
        dependencies.set_property("minizip", "cmake_target_name", "unofficial::minizip::minizip")
        dependencies.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        copy(self, "THIRD-PARTY.md", os.path.join(self.source_folder, "packaging"),
             os.path.join(self.package_folder, "licenses"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "TarnuWin32Utils")
        self.cpp_info.set_property("cmake_target_name", "Tarnu::Win32Utils")
        self.cpp_info.set_property("pkg_config_name", "tarnuwin32utils")
        self.cpp_info.libs = ["TarnuWin32Utils"]
        self.cpp_info.defines = ["UNICODE", "_UNICODE"]
        if self.options.framework == "mfc":
            self.cpp_info.defines += ["TARNU_FRAMEWORK_MFC", "_AFXDLL"]
        self.cpp_info.system_libs = ["ole32", "oleaut32", "uuid", "shell32", "user32"]

#!/usr/bin/env python3
"""Checks the recipes of the package managers as far as that goes without them: versions and dependencies agree with the
project, the files that they take exist and are all that a build needs, the options that they set are the project's. The
portfile runs under CMake, and the Conan recipe under Python, against stand-ins of what the managers offer.

usage: check_recipes.py CMAKE
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import types

ROOT = pathlib.Path(__file__).resolve().parent.parent
PORT = ROOT / "packaging" / "vcpkg" / "ports" / "tarnuwin32utils"
PROJECT = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
VERSION = re.search(r"project\(TarnuWin32Utils VERSION (\S+)", PROJECT).group(1)
LISTS = PROJECT + (ROOT / "cmake" / "Dependencies.cmake").read_text(encoding="utf-8")
errors = []


def check(holds, text):
    if not holds:
        errors.append(text)


def is_option(name):
    return re.search(rf"\b(option|set)\({name}\b", LISTS) is not None


def names(dependencies):
    return {d if isinstance(d, str) else d["name"] for d in dependencies}


def check_manifests():
    manifest = json.loads((ROOT / "vcpkg.json").read_text(encoding="utf-8"))
    port = json.loads((PORT / "vcpkg.json").read_text(encoding="utf-8"))
    check(manifest["version-semver"] == VERSION, f"vcpkg.json has version {manifest['version-semver']}, not {VERSION}")
    check(port["version-semver"] == VERSION, f"the port has version {port['version-semver']}, not {VERSION}")
    ported = names(port["dependencies"]) | names(port["features"]["tools"]["dependencies"])
    check(names(manifest["dependencies"]) == ported - {"vcpkg-cmake", "vcpkg-cmake-config"},
          "the port's dependencies are not those of vcpkg.json")


def check_portfile(cmake):
    functions = ["vcpkg_check_linkage", "vcpkg_check_features", "vcpkg_cmake_configure", "vcpkg_cmake_install",
                 "vcpkg_cmake_config_fixup", "vcpkg_fixup_pkgconfig", "vcpkg_copy_pdbs", "vcpkg_copy_tools",
                 "vcpkg_install_copyright"]
    stand_ins = "\n".join(f'function({f})\n  string(JOIN " " text ${{ARGN}})\n  message("{f} ${{text}}")\nendfunction()'
                          for f in functions)
    with tempfile.TemporaryDirectory() as work:
        script = pathlib.Path(work) / "port.cmake"
        script.write_text(f'cmake_policy(VERSION 3.25)\n{stand_ins}\nset(CURRENT_PACKAGES_DIR "{work}/packages")\n'
                          f'set(PORT tarnuwin32utils)\nset(FEATURES core tools)\nset(VCPKG_TARGET_IS_MINGW ON)\n'
                          f'include("{PORT}/portfile.cmake")\n', encoding="utf-8")
        result = subprocess.run([cmake, "-P", str(script)], capture_output=True, text=True, check=False)
        check(result.returncode == 0, f"the portfile fails:\n{result.stderr}")
        calls = result.stderr
        for name in re.findall(r"-D(\w+)=", calls):
            check(is_option(name), f"the portfile sets {name}, which the project does not know")
        for name in functions:
            check(re.search(rf"^{name}\b", calls, re.MULTILINE), f"the portfile does not call {name}")
        source = re.search(r"SOURCE_PATH (\S+)", calls)
        check(source and pathlib.Path(source.group(1)) == ROOT, "the portfile does not find the checkout")
        for path in re.findall(r"FILE_LIST (.*)", calls)[0].split():
            check(pathlib.Path(path).is_file(), f"the portfile installs {path}, which does not exist")
        check((pathlib.Path(work) / "packages/share/tarnuwin32utils/usage").is_file(), "the portfile installs no usage")


def stand_in_conan(copied):
    """The few names of Conan that the recipe uses."""
    class Recorder:
        def __init__(self, *_):
            self.cache_variables, self.properties = {}, {}

        def set_property(self, *what):
            self.properties[what[:-1]] = what[-1]

        def generate(self):
            recorded.append(self)

    recorded = []
    modules = {name: types.ModuleType(name) for name in
               ("conan", "conan.errors", "conan.tools", "conan.tools.build", "conan.tools.cmake", "conan.tools.files")}
    modules["conan"].ConanFile = type("ConanFile", (), {})
    modules["conan.errors"].ConanInvalidConfiguration = type("ConanInvalidConfiguration", (Exception,), {})
    modules["conan.tools.build"].check_min_cppstd = lambda recipe, standard: None
    cmake = modules["conan.tools.cmake"]
    cmake.CMake = cmake.CMakeDeps = cmake.CMakeToolchain = Recorder
    cmake.cmake_layout = lambda recipe: None
    modules["conan.tools.files"].load = lambda recipe, path: pathlib.Path(path).read_text(encoding="utf-8")
    modules["conan.tools.files"].copy = lambda recipe, pattern, source, target: copied.append((pattern, source))
    sys.modules.update(modules)
    return recorded, modules["conan.errors"].ConanInvalidConfiguration


def check_conan():
    copied = []
    recorded, invalid = stand_in_conan(copied)
    path = ROOT / "packaging" / "conan" / "conanfile.py"
    recipe_module = types.ModuleType("conanfile")
    exec(compile(path.read_text(encoding="utf-8"), str(path), "exec"), recipe_module.__dict__)
    recipe = recipe_module.TarnuWin32UtilsConan()
    recipe.recipe_folder = str(path.parent)
    recipe.export_sources_folder = "sources"
    recipe.settings = types.SimpleNamespace(os="Windows", arch="x86_64", compiler="msvc")
    recipe.options = types.SimpleNamespace(tools=True, framework=None, static_runtime=False)
    required = []
    recipe.requires = required.append

    recipe.set_version()
    check(recipe.version == VERSION, f"the Conan recipe has version {recipe.version}")
    recipe.export_sources()
    for pattern, folder in copied:
        check(any(pathlib.Path(folder).glob(pattern)), f"the Conan recipe takes {pattern}, which does not exist")
    missing = [name for name in sources_of_build() if not any(matches(name, pattern) for pattern, _ in copied)]
    check(not missing, f"the Conan recipe leaves out what a build needs: {missing[:5]}")

    recipe.config_options()
    check(recipe.options.framework == "mfc", "the Conan recipe does not choose MFC for Visual C++")
    recipe.requirements()
    wanted = names(json.loads((ROOT / "vcpkg.json").read_text(encoding="utf-8"))["dependencies"])
    check({r.split("/")[0] for r in required} == wanted, f"the Conan recipe requires {required}, not {sorted(wanted)}")
    recipe.validate()
    recipe.settings.os = "Linux"
    try:
        recipe.validate()
        check(False, "the Conan recipe accepts Linux")
    except invalid:
        pass
    recipe.generate()
    for name in recorded[0].cache_variables:
        check(is_option(name), f"the Conan recipe sets {name}, which the project does not know")


def matches(name, pattern):
    return name.startswith(pattern[:-1]) if pattern.endswith("/*") else pathlib.PurePath(name).match(pattern)


def sources_of_build():
    """What the library, the tools and their installation are made of."""
    for folder in ("cmake", "tarnu", "tools/orva", "examples"):
        for path in (ROOT / folder).rglob("*"):
            if path.is_file():
                yield path.relative_to(ROOT).as_posix()
    for path in re.findall(r"\$\{PROJECT_SOURCE_DIR\}/([\w./-]+)", (ROOT / "tarnu" / "CMakeLists.txt").read_text(encoding="utf-8")):
        if (ROOT / path).is_file():
            yield path


def main():
    check_manifests()
    check_portfile(sys.argv[1])
    check_conan()
    for error in errors:
        print("recipes:", error)
    print(f"recipes: checked against version {VERSION}, {len(errors)} errors")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())

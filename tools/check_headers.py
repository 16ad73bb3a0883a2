#!/usr/bin/env python3
"""Compiles every installed header alone: it must bring along what it uses, without a warning.

usage: check_headers.py COMPILER INCLUDE_FOLDER WORK_FOLDER

Almost all headers get their system headers from the framework header, which is precompiled once. A header that does not
include it, directly or through others, is compiled without it, so that nothing it lacks is there by chance. The
framework header and the one that includes all others are compiled with WIN32_LEAN_AND_MEAN, too.
"""
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys

FRAMEWORK = "tarnu/framework/framework.h"
UMBRELLA = "tarnu/TarnuWin32Utils.h"
FLAGS = ["-x", "c++", "-std=c++20", "-DUNICODE", "-D_UNICODE", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow",
         "-Wconversion", "-Wundef", "-Werror"]


def project_includes(header):
    return re.findall(r'^#include "(tarnu/[^"]+)"', header.read_text(encoding="utf-8"), re.MULTILINE)


def reaches_framework(name, root, seen):
    if name == FRAMEWORK:
        return True
    seen.add(name)
    return (root / name).is_file() and any(
        reaches_framework(other, root, seen) for other in project_includes(root / name) if other not in seen)


def main():
    compiler, root, work = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
    names = sorted(path.relative_to(root).as_posix() for path in root.rglob("*.h"))
    if FRAMEWORK not in names:
        sys.exit(f"There is no {FRAMEWORK} under {root}.")

    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    prefix = work / "framework.h"
    prefix.write_text(f'#include "{FRAMEWORK}"\n', encoding="utf-8")
    base = [compiler, *FLAGS, f"-I{root}"]
    subprocess.run([*base[:1], "-x", "c++-header", *base[3:], "-o", f"{prefix}.gch", prefix], check=True)

    def compile_alone(name):
        unit = work / (name.replace("/", "-") + ".cpp")
        unit.write_text(f'#include "{name}"\n#include "{name}"\n', encoding="utf-8")
        through_framework = name != FRAMEWORK and reaches_framework(name, root, set())
        extra = ["-Winvalid-pch", "-include", str(prefix)] if through_framework else []
        return check_syntax(unit, extra)

    def compile_lean(name):
        unit = work / (name.replace("/", "-") + ".lean.cpp")
        unit.write_text(f'#define WIN32_LEAN_AND_MEAN\n#include <windows.h>\n#include "{name}"\n', encoding="utf-8")
        return check_syntax(unit, [])

    def check_syntax(unit, extra):
        return subprocess.run([*base, *extra, "-fsyntax-only", str(unit)], capture_output=True, text=True, check=False)

    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for name, result in zip(names, pool.map(compile_alone, names)):
            if result.returncode != 0:
                failures += 1
                print(f"{name} does not compile alone:\n{result.stderr}")
        lean = [FRAMEWORK, UMBRELLA]
        for name, result in zip(lean, pool.map(compile_lean, lean)):
            if result.returncode != 0:
                failures += 1
                print(f"{name} does not compile behind a windows.h with WIN32_LEAN_AND_MEAN:\n{result.stderr}")
    if failures:
        sys.exit(f"{failures} of {len(names)} headers do not compile.")
    print(f"All {len(names)} headers compile alone.")


if __name__ == "__main__":
    main()

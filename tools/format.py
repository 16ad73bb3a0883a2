#!/usr/bin/env python3
"""Formats every C++ file of the project; with --check only reports.

usage: format.py [--check] CLANG_FORMAT
"""
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SUFFIXES = {".h", ".cpp"}


def main():
    arguments = sys.argv[1:]
    check = "--check" in arguments
    programs = [a for a in arguments if a != "--check"]
    if len(programs) != 1:
        sys.exit(__doc__)
    files = [p for folder in ("tarnu", "tools", "tests", "examples", "bench") for p in sorted((ROOT / folder).rglob("*"))
             if p.suffix in SUFFIXES]
    if not files:
        sys.exit("format: no C++ files found")
    mode = ["--dry-run", "-Werror"] if check else ["-i"]
    result = subprocess.run([programs[0], "--style=file", *mode, *map(str, files)])
    if check:
        print("format: " + ("clean" if result.returncode == 0 else "differences found; `./run format` repairs them"))
    return result.returncode


if __name__ == "__main__":
    sys.exit(main())

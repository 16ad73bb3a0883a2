#!/usr/bin/env python3
"""Reads all sources with a second compiler and two analysers: clang (for the mingw-w64 target, warnings as errors),
clang-tidy with the configuration in .clang-tidy, and cppcheck.

usage: lint.py BUILD-FOLDER [clang|tidy|cppcheck]…

The compile commands are those of the configured build in BUILD-FOLDER/release, translated for clang. Reports and the
translated commands stand in BUILD-FOLDER/lint.
"""
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CLANG = "clang++-14"
CLANG_TIDY = "clang-tidy-14"
# What cppcheck is not to report, and why.
CPPCHECK_SUPPRESSED = {
    "missingInclude": "the system's headers are not among what it reads",
    "legacyUninitvar": "takes a variable that `::new (place) T` initialises for an operand; uninitvar looks better",
    "va_end_missing": "an owner ends the list (ListEnd), and it looks for the call",
    "uninitvar:*/OrvaZipWriter.cpp": "the buffer of a record is read as far as it has been filled",
    "useInitializationList:*/OrvaXml.cpp": "the document needs COM, which a later member initialises",
}


def system_includes(compiler):
    """The folders in which g++ looks for its headers; clang's own headers replace the compiler's intrinsics."""
    printed = subprocess.run([compiler, "-E", "-x", "c++", "-v", os.devnull], capture_output=True, text=True).stderr
    listed = re.search(r"#include <\.\.\.> search starts here:\n(.*?)End of search list", printed, re.S)
    if not listed:
        sys.exit(f"lint: {compiler} does not tell its include folders")
    folders = [os.path.realpath(line.strip()) for line in listed[1].splitlines()]
    return [folder for folder in folders if not re.search(r"/lib/gcc/[^/]+/[^/]+/include(-fixed)?$", folder)]


def translate(entry, includes):
    """A compile command of g++ as one of clang."""
    arguments = shlex.split(entry["command"])
    while not re.search(r"g\+\+", os.path.basename(arguments[0])):  # a launcher before the compiler
        arguments.pop(0)
    kept = [CLANG, "--target=x86_64-w64-windows-gnu", "-nostdinc++"]
    skip = False
    for argument in arguments[1:]:
        if skip:
            skip = False
        elif argument in ("-MF", "-MT", "-o", "-include"):  # the last one names what is precompiled
            skip = True
        elif argument in ("-MD", "-Winvalid-pch", "-femit-class-debug-always") or \
                argument.startswith(("-Wa,", "-fsanitize", "-Werror", "-Wno-error")):
            pass
        else:
            kept.append(argument)
    kept += ["-Werror", "-Wno-unused-command-line-argument", *(f"-isystem{folder}" for folder in includes)]
    return {"directory": entry["directory"], "file": entry["file"], "arguments": kept}


def run_all(name, report, commands):
    """Runs the commands side by side; prints what those that fail say, and writes everything to the report."""
    failures = 0
    with open(report, "w", encoding="utf-8") as log, \
            concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        runs = pool.map(lambda command: (command, subprocess.run(command[1], cwd=command[2], text=True, errors="replace",
                                                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)),
                        commands)
        for number, ((file, _, _), result) in enumerate(runs, 1):
            if sys.stdout.isatty():
                print(f"\r{name}: {number} of {len(commands)} ", end="", flush=True)
            log.write(result.stdout)
            if result.returncode != 0:
                failures += 1
                print(f"\n{name}: {file}\n{result.stdout}")
    print(f"{'' if not sys.stdout.isatty() else chr(13)}{name}: {len(commands)} sources read, {failures} with findings")
    return failures


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    wanted = sys.argv[2:] or ["clang", "tidy", "cppcheck"]
    target = build / "lint"
    target.mkdir(parents=True, exist_ok=True)
    with open(build / "release" / "compile_commands.json", encoding="utf-8") as file:
        commands = [entry for entry in json.load(file)
                    if entry["file"].endswith(".cpp") and not entry["file"].startswith(("/usr/", str(build)))]
    compiler = next(word for word in shlex.split(commands[0]["command"]) if "g++" in os.path.basename(word))
    includes = system_includes(compiler)
    translated = [translate(entry, includes) for entry in commands]
    (target / "compile_commands.json").write_text(json.dumps(translated, indent=1), encoding="utf-8")

    failures = 0
    if "clang" in wanted:
        failures += run_all("clang", target / "clang.log",
                            [(entry["file"], [*entry["arguments"], "-o", os.devnull], entry["directory"])
                             for entry in translated])
    # The analysers read what is shipped; the tests' macros would be most of what they talk about.
    shipped = [entry for entry in translated
               if pathlib.Path(entry["file"]).relative_to(ROOT).parts[0] in ("tarnu", "tools", "examples")]
    if "tidy" in wanted:
        failures += run_all("clang-tidy", target / "clang-tidy.log",
                            [(entry["file"], [CLANG_TIDY, "--quiet", "-p", str(target), entry["file"]],
                              entry["directory"]) for entry in shipped])
    if "cppcheck" in wanted:
        failures += run_all("cppcheck", target / "cppcheck.log",
                            [(entry["file"], ["cppcheck", "--quiet", "--std=c++20", "--platform=win64", "--error-exitcode=1",
                                     "--enable=warning,performance,portability", "--inline-suppr",
                                     *(f"--suppress={name}" for name in CPPCHECK_SUPPRESSED),
                                     f"-I{ROOT}", f"-I{ROOT}/tools", "-DTARNU_API=", "-DUNICODE", "-D_UNICODE",
                                     "-D_WIN32", entry["file"]], str(ROOT))
                             for entry in shipped])
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Adds up what the tests of a coverage build have run, and lists what they have not.

usage: coverage.py BUILD-FOLDER GCOV

BUILD-FOLDER is the configured coverage build after its tests. The table, one line for each folder of the library and one
for orva, is printed; every line and branch that no test has run, and that tests/untested does not explain, stands with its
text in BUILD-FOLDER/untested.txt.

A branch is one way out of a condition. The ways that exceptions take out of calls are not counted: the fault tests fail
the calls themselves.
"""
import collections
import concurrent.futures
import functools
import json
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COUNTED = ("tarnu", "tools/orva")


def read_notes(gcov, notes):
    """What gcov knows about one object file, as (file, line, count, branch counts)."""
    counters = notes.with_suffix(".gcda")
    result = subprocess.run([gcov, "--json-format", "--stdout", "--branch-probabilities",
                             str(counters if counters.exists() else notes)],
                            capture_output=True, text=True, check=True, cwd=notes.parent)
    records = []
    for text in result.stdout.splitlines():
        report = json.loads(text)
        for file in report["files"]:
            path = os.path.relpath(os.path.realpath(os.path.join(report["current_working_directory"], file["file"])), ROOT)
            if not path.startswith(COUNTED):
                continue
            for line in file["lines"]:
                branches = [branch["count"] for branch in line["branches"] if not branch["throw"]]
                records.append((path, line["line_number"], line["count"], branches))
    return records


def folder_of(path):
    parts = pathlib.PurePath(path).parts
    return "orva" if parts[0] == "tools" else parts[1] if len(parts) > 2 else "tarnu"


def ranges(numbers):
    """[1, 2, 3, 7] as [(1, 3), (7, 7)]."""
    found = []
    for number in sorted(numbers):
        if found and number == found[-1][1] + 1:
            found[-1] = (found[-1][0], number)
        else:
            found.append((number, number))
    return found


@functools.cache
def lines_of(file):
    """The lines of a source, stripped; none when there is no such file."""
    path = ROOT / file
    return {line.strip() for line in path.read_text(encoding="utf-8").splitlines()} if path.is_file() else set()


def explained(complain):
    """The places that need no test, as (path, text of the line): each stands in a file below tests/untested, under its
    reason. What is no such place goes to complain."""
    places = set()
    for path in sorted((ROOT / "tests" / "untested").glob("*.txt")):
        has_reason = False
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if line.startswith("# "):
                has_reason = True
            elif line:
                file, separator, text = line.partition(": ")
                if not (separator and has_reason and text in lines_of(file)):
                    complain(f"{path.relative_to(ROOT)}:{number} is no file with a line of it, under a reason")
                places.add((file, text))
    return places


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    notes = sorted(path for path in build.rglob("*.gcno") if "_deps" not in path.parts and "googletest" not in path.parts)
    if not any(path.with_suffix(".gcda").exists() for path in notes):
        sys.exit(f"coverage: no counters were written below {build}")
    lines = collections.defaultdict(lambda: collections.defaultdict(int))
    branches = collections.defaultdict(lambda: collections.defaultdict(list))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for records in pool.map(lambda path: read_notes(sys.argv[2], path), notes):
            for path, line, count, taken in records:
                lines[path][line] += count
                # Several objects, and several functions made of one template, have the same line.
                sums = branches[path][line]
                sums += [0] * (len(taken) - len(sums))
                for index, value in enumerate(taken):
                    sums[index] += value

    totals = collections.defaultdict(lambda: [0, 0, 0, 0])
    known = explained(lambda error: sys.exit(f"coverage: {error}"))
    found = collections.Counter()
    with open(build / "untested.txt", "w", encoding="utf-8") as report:
        for path in sorted(lines):
            source = (ROOT / path).read_text(encoding="utf-8").splitlines()

            def tell(number, what):
                text = source[number - 1].strip()
                found[(path, text) in known] += 1
                if (path, text) not in known:
                    report.write(f"{path}:{number}: {what}: {text}\n")

            untested = [number for number, count in lines[path].items() if count == 0]
            for key in (folder_of(path), "all"):
                total = totals[key]
                total[0] += len(lines[path])
                total[1] += len(lines[path]) - len(untested)
                for taken in branches[path].values():
                    total[2] += len(taken)
                    total[3] += sum(count > 0 for count in taken)
            for first, last in ranges(untested):
                tell(first, f"not run{f' to line {last}' if last > first else ''}")
            for number, taken in sorted(branches[path].items()):
                missing = sum(count == 0 for count in taken)
                if missing and lines[path][number] > 0:
                    tell(number, f"{missing} of {len(taken)} ways not taken")

    print(f"{'folder':<12}{'lines':>8}{'tested':>10}{'branches':>11}{'taken':>9}")
    for folder, (line_count, lines_run, branch_count, branches_taken) in sorted(totals.items(),
                                                                                 key=lambda item: (item[0] == "all", item[0])):
        print(f"{folder:<12}{line_count:>8}{100 * lines_run / max(line_count, 1):>9.1f}%"
              f"{branch_count:>11}{100 * branches_taken / max(branch_count, 1):>8.1f}%")
    print(f"{found[True] + found[False]} places are not run or not left in every way; tests/untested explains {found[True]}, "
          f"the others stand in {os.path.relpath(build / 'untested.txt', ROOT)}")


if __name__ == "__main__":
    main()

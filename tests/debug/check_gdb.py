#!/usr/bin/env python3
"""Looks at a running program with the cross debugger and the printers of debug/tarnu_gdb.py, through a debugger server that runs
beside the program.

usage: check_gdb.py GDB GDBSERVER EMULATOR PROGRAM WORK_FOLDER
"""
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = r"Z:[^\"]*"  # a printed path of the work folder

# What is asked, and what the answer must match as a whole.
EXPECTED = {
    "text": r'L"survey point"',
    "withNul": r'L"a\\000b"',
    "empty": r'""',
    "names": r'CStringList of 2 = \{L"one", L"two"\}',
    "path": r'L"C:/a/b" = \{separator = 0x[0-9a-f]+ L"/"\}',
    "matcher": rf'at an entry = \{{directory = L"{FOLDER}", pattern = L"b\.\*", name = L"b\.txt".*\}}',
    "directories": rf'at a directory = \{{root = L"{FOLDER}", name = "", waiting = 2\}}',
    "deep": rf'2 levels deep = \{{root = L"{FOLDER}", pattern = L"\*", level 0 = at an entry = \{{.*name = L"d".*\}}, '
            rf'level 1 = at the end = \{{directory = L"{FOLDER}d", pattern = L"\*"\}}\}}',
    "files": rf'at a file = \{{tree = at a directory = .*, files = at an entry = .*name = L"a\.txt".*\}}',
    "ended": r'at the end = \{.*\}',
    "points": r'L"1-5,7" = \{modified = true\}',
    "sorted": r'"" = \{modified = true, set = \{1-2,7,1000\}\}',
    "unsorted": r'"" = \{modified = true, waiting = CList<.*> of 2 = \{9, 8\}\}',
    "marker": r'\{12\}',
    "blocks": r'2 free blocks of 1000 bytes = \{kept = 0x[0-9a-f]+, \[0\] = 0x[0-9a-f]+, \[1\] = 0x[0-9a-f]+\}',
    "$tarnu_blocks(bareList)": r"2",
    "$tarnu_blocks(brokenList)": r"-1",
    "$tarnu_blocks((void*)0)": r"0",
}


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def main():
    gdb, server, emulator, program, work = sys.argv[1:]
    folder = pathlib.Path(work) / "tree"
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "d").mkdir(parents=True)
    for name in ("a.txt", "b.txt"):
        (folder / name).touch()
    port = free_port()
    served = subprocess.Popen([emulator, server, "--once", f"127.0.0.1:{port}", program, "Z:" + str(folder).replace("/", "\\")],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    commands = ["set confirm off", "set width 0", "set print elements 400", "set tcp connect-timeout 60", "set sysroot",
                f"source {ROOT / 'debug' / 'tarnu_gdb.py'}", f"target remote 127.0.0.1:{port}", "break StopHere", "continue", "up"]
    commands += [f'echo \\n@{name}@' + f"\nprint {name}" for name in EXPECTED] + ["echo \\n", "kill"]
    script = pathlib.Path(work) / "commands.gdb"
    script.write_text("\n".join(commands) + "\n", encoding="utf-8")
    try:
        # One failing command must not hide the others, so that each is read from the input.
        result = subprocess.run([gdb, "-q", "-nx", program], stdin=script.open(), capture_output=True, text=True,
                                errors="replace", timeout=240, check=False)
        served.wait(timeout=60)
    finally:
        if served.poll() is None:
            os.killpg(served.pid, signal.SIGKILL)
    answers = dict(re.findall(r"(?m)^(?:\(gdb\) )*@(.*?)@(?:\(gdb\) )?(?:\$\d+ = )?(.*)$", result.stdout))
    failures = 0
    for name, pattern in EXPECTED.items():
        answer = answers.get(name, "(no answer)")
        if not re.fullmatch(pattern, answer):
            failures += 1
            print(f"{name} is shown as\n  {answer}\nnot as\n  {pattern}")
    if failures:
        print(result.stdout, result.stderr)
    print(f"gdb: {len(EXPECTED) - failures} of {len(EXPECTED)} subjects are shown as they should be")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

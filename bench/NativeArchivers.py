#!/usr/bin/env python3
"""The subject NativeArchivers: Info-ZIP, Python and 7-Zip, natively on this machine, at the files of the subject Archives.

usage: NativeArchivers.py BENCH-ARCHIVES-PROGRAM

They can't take turns with a program under Wine, so they have a limit of their own, by which they compare: zlib in memory,
natively. Prints samples in the form of the other subjects.
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile
import zlib

ROUNDS = 2


def run(*command, folder=None):
    subprocess.run(command, cwd=folder, check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)


def remove(path):
    shutil.rmtree(path) if path.is_dir() else path.unlink(missing_ok=True)


def measure(case, variants):
    """Adds the seconds of rounds in which the variants take turns; one round before them is not counted."""
    case["variants"] = [{"role": role, "name": name, "seconds": []} for role, name, _, _ in variants]
    for number in range(ROUNDS + 1):
        for variant, (_, _, work, product) in zip(case["variants"], variants):
            if product:
                remove(product)
            start = time.perf_counter()
            work()
            if number > 0:
                variant["seconds"].append(time.perf_counter() - start)
    return case


def cases(what, source, place):
    data = {path.relative_to(source): path.read_bytes() for path in sorted(source.rglob("*")) if path.is_file()}
    blocks = [zlib.compress(contents, 6, -zlib.MAX_WBITS) for contents in data.values()]
    archives = {name: place / f"{what}-{name}.zip" for name in ("zip", "python", "7z")}
    target = place / "unpacked"

    def deflate():
        for contents in data.values():
            zlib.crc32(contents)
            zlib.compress(contents, 6, -zlib.MAX_WBITS)

    def inflate():
        for block in blocks:
            zlib.crc32(zlib.decompress(block, -zlib.MAX_WBITS))

    def python():
        with zipfile.ZipFile(archives["python"], "w", zipfile.ZIP_DEFLATED, compresslevel=6) as archive:
            for path in data:
                archive.write(source / path, path)

    yield measure({"name": f"pack {what}", "unit": "file", "count": len(data), "goal": 0}, [
        ("limit", "zlib in memory, level 6", deflate, None),
        ("peer", "Info-ZIP", lambda: run("zip", "-qr6", archives["zip"], ".", folder=source), archives["zip"]),
        ("peer", "Python's zipfile", python, archives["python"]),
        ("peer", "7-Zip", lambda: run("7z", "a", "-tzip", "-mx=5", "-mmt=1", archives["7z"], ".", folder=source),
         archives["7z"])])
    yield measure({"name": f"unpack {what}", "unit": "file", "count": len(data), "goal": 0}, [
        ("limit", "zlib in memory", inflate, None),
        ("peer", "Info-ZIP", lambda: run("unzip", "-q", archives["zip"], "-d", target), target)])


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory(prefix="tarnu-bench-") as place:
        place = pathlib.Path(place)
        run("wine", sys.argv[1], "--corpus", "Z:" + str(place / "corpus").replace("/", "\\"))
        found = [case for what, folder in (("mixed files", "mixed"), ("10 000 small files", "small"))
                 for case in cases(what, place / "corpus" / folder, place)]
    json.dump({"title": "Native archivers", "cases": found, "growth": []}, sys.stdout)


if __name__ == "__main__":
    main()

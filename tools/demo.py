#!/usr/bin/env python3
"""The main job on real input: walk a folder, pack it, unpack it elsewhere, compare every byte, and let an independent
program test the archive. Then make a LandXML document of a survey, list its points back, compare every digit, and let
an independent program read the document.

usage: demo.py BUILD-FOLDER [FOLDER]

FOLDER is what gets packed; without one, the project's own sources with those of its dependencies.
"""
import csv
import os
import pathlib
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent


def fail(text):
    sys.exit(f"\ndemo: FAILED: {text}")


def heading(number, text):
    print(f"\n\033[1m{number}. {text}\033[0m" if sys.stdout.isatty() else f"\n{number}. {text}", flush=True)


def windows_path(path):
    """The path as a Windows program under Wine sees it."""
    return "Z:" + str(path).replace("/", "\\")


class Orva:
    """Runs the host program, which is built on the library's public headers alone."""

    def __init__(self, build):
        self.program = build / "release" / "bin" / "orva.exe"
        self.log = build / "demo" / "orva.log"

    def run(self, *arguments, may_fail=False):
        print("   $ orva " + " ".join(map(str, arguments)), flush=True)
        # To a file: processes that Wine leaves in the background must not hold a pipe of ours.
        with open(self.log, "w+b") as log:
            status = subprocess.run(["wine", str(self.program), *map(str, arguments)], stdin=subprocess.DEVNULL,
                                    stdout=log, stderr=subprocess.STDOUT).returncode
            log.seek(0)
            output = log.read().decode("utf-8", "replace").replace("\r\n", "\n")
        if status != 0 and not may_fail:
            print(output)
            fail(f"orva {arguments[0]} ended with status {status}")
        return output


def default_folder(work, build):
    """The project without what is built, and the sources of minizip, copied side by side."""
    target = work / "TarnuWin32Utils"
    left_out = {"build", ".git", "__pycache__"}
    for source in ROOT.rglob("*"):
        name = source.relative_to(ROOT)
        if source.is_file() and not left_out.intersection(name.parts):
            (target / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(source, target / name)
    shutil.copytree(build / "minizip", target / "dependencies" / "minizip", symlinks=False)
    return target


def files_below(folder):
    return sorted(p.relative_to(folder).as_posix() for p in folder.rglob("*") if p.is_file())


def size_text(count):
    for unit in ("bytes", "KiB", "MiB", "GiB"):
        if count < 1024 or unit == "GiB":
            return f"{count} bytes" if unit == "bytes" else f"{count:.1f} {unit}"
        count /= 1024


def compare(source, copy):
    wanted, got = files_below(source), files_below(copy)
    if wanted != got:
        fail(f"the trees differ: missing {sorted(set(wanted) - set(got))[:5]}, added {sorted(set(got) - set(wanted))[:5]}")
    total = 0
    for name in wanted:
        original, unpacked = (source / name).read_bytes(), (copy / name).read_bytes()
        if original != unpacked:
            fail(f"{name} differs after packing and unpacking")
        if abs((source / name).stat().st_mtime - (copy / name).stat().st_mtime) > 2:
            fail(f"{name} lost its time stamp")
        total += len(original)
    return len(wanted), total


def archive_demo(orva, work, build, folder):
    if folder:
        source = pathlib.Path(folder).resolve()
        if not source.is_dir():
            fail(f"{folder} is not a folder")
        if not files_below(source):
            fail(f"{folder} holds no files")
        resolved = work.resolve()
        if resolved == source or source in resolved.parents:
            fail(f"{folder} contains the demo's own work folder")
    else:
        source = default_folder(work, build)

    heading(1, f"Walk {source.name}")
    lines = orva.run("tree", windows_path(source), "--files").rstrip().splitlines()
    shown = lines if len(lines) <= 18 else [*lines[:12], f"… {len(lines) - 14} more lines …", *lines[-2:]]
    print("\n".join("     " + line for line in shown))

    heading(2, "Pack it")
    archive = work / "demo.zip"
    started = time.monotonic()
    orva.run("zip", windows_path(archive), windows_path(source))
    seconds = time.monotonic() - started
    packed = archive.stat().st_size

    heading(3, "Unpack it elsewhere")
    unpacked = work / "unpacked"
    orva.run("unzip", windows_path(archive), windows_path(unpacked))

    heading(4, "Compare every byte")
    count, total = compare(source, unpacked / source.name)
    print(f"   {count} files, {size_text(total)}: all equal, time stamps kept")

    heading(5, "Ask an independent program (Python's zipfile) about the archive")
    with zipfile.ZipFile(archive) as reader:
        damaged = reader.testzip()
        if damaged:
            fail(f"zipfile finds {damaged} damaged")
        names = [i.filename for i in reader.infolist() if not i.is_dir()]
        if len(names) != count:
            fail(f"zipfile counts {len(names)} files instead of {count}")
        for name in names:
            if reader.read(name) != (source.parent / name).read_bytes():
                fail(f"zipfile reads {name} differently")
    print(f"   {len(names)} files read and compared: all equal")

    share = packed * 100 / total if total else 100
    bar = "█" * round(share * 0.4) + "░" * (40 - round(share * 0.4))
    print(f"\n   {size_text(total)} became {size_text(packed)}   {bar} {share:.0f} %   packed in {seconds:.1f} s")


LANDXML = "{http://www.landxml.org/schema/landxml-1.0}"


def wanted_numbers(selection):
    """The numbers of a list such as 1-100,205."""
    numbers = set()
    for part in selection.split(","):
        first, _, last = part.partition("-")
        numbers.update(range(int(first), int(last or first) + 1))
    return numbers


def survey_points(text):
    """The points of a survey file by number: northing, easting, elevation (or none), description."""
    lines = [line for line in text.splitlines() if line.strip() and line.lstrip()[0] not in "#;"]
    points = {}
    for fields in csv.reader(lines, skipinitialspace=True):
        if fields[0] == "number":
            continue
        northing, easting, elevation, *description = fields[1:]
        points[int(fields[0])] = (float(northing), float(easting), float(elevation) if elevation else None,
                                  description[0] if description else "")
    return points


def survey_demo(orva, work):
    survey = ROOT / "examples" / "data" / "survey.csv"
    selection = "1-4,101-140,405,501-506"
    every = survey_points(survey.read_text(encoding="utf-8"))
    wanted = {number: point for number, point in every.items() if number in wanted_numbers(selection)}

    heading(6, f"Make a LandXML document of a survey: {len(wanted)} of {len(every)} points")
    document = work / "survey.xml"
    orva.run("landxml", windows_path(survey), windows_path(document), "--points", selection)

    heading(7, "List its points back and compare every digit")
    output = orva.run("landxml", "--read", windows_path(document))
    lines = output.rstrip().splitlines()
    shown = lines if len(lines) <= 12 else [*lines[:6], f"… {len(lines) - 10} more lines …", *lines[-4:]]
    print("\n".join("     " + line for line in shown))
    listed = survey_points(output)
    if list(listed) != list(wanted):
        fail(f"the points differ: missing {sorted(set(wanted) - set(listed))[:5]}, "
             f"added {sorted(set(listed) - set(wanted))[:5]}, or in another order")
    for number, point in wanted.items():
        if listed[number] != point:  # floats are equal only to the last bit
            fail(f"point {number} came back as {listed[number]} instead of {point}")
    print(f"   {len(listed)} points: all equal to the last digit, descriptions kept")

    heading(8, "Ask an independent program (Python's xml.etree) about the document")
    root = xml.etree.ElementTree.parse(document).getroot()
    if root.tag != LANDXML + "LandXML":
        fail(f"xml.etree reads the root as {root.tag}")
    points = root.findall(f"{LANDXML}CgPoints/{LANDXML}CgPoint")
    if len(points) != len(wanted):
        fail(f"xml.etree counts {len(points)} points instead of {len(wanted)}")
    for point in points:
        number = int(point.get("name"))
        coordinates = tuple(map(float, point.text.split()))
        if coordinates != tuple(value for value in wanted[number][:3] if value is not None):
            fail(f"xml.etree reads point {number} as {coordinates}")
        if point.get("desc", "") != wanted[number][3]:
            fail(f"xml.etree reads the description of point {number} as {point.get('desc')!r}")
    print(f"   LandXML {root.get('version')}, {len(points)} points read and compared: all equal")


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    work = build / "demo"
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    orva = Orva(build)
    archive_demo(orva, work, build, sys.argv[2] if len(sys.argv) > 2 else "")
    survey_demo(orva, work)
    print(f"\nAll of it held. The archive is {os.path.relpath(work / 'demo.zip')}, "
          f"the survey {os.path.relpath(work / 'survey.xml')}.")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""The main job on real input: `orva tour` walks a folder, packs it, unpacks it elsewhere and compares every byte, makes a
LandXML document of a survey and compares every digit that comes back. Then independent programs look at what it made.

usage: demo.py BUILD-FOLDER [FOLDER]

FOLDER is what gets packed; without one, the project's own sources with those of its dependencies.
"""
import csv
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
LANDXML = "{http://www.landxml.org/schema/landxml-1.0}"


def fail(text):
    sys.exit(f"\ndemo: FAILED: {text}")


def show(text):
    """Prints a part of the tour, with its headings in bold on a terminal."""
    if sys.stdout.isatty():
        text = re.sub(r"(?m)^\d+\. .*$", "\033[1m\\g<0>\033[0m", text)
    print(text, end="", flush=True)


def windows_path(path):
    """The path as a Windows program under Wine sees it."""
    return "Z:" + str(path).replace("/", "\\")


def tour(build, folder, keep):
    """Runs the tour and shows what it prints as it comes; returns the number of its last step."""
    log = build / "demo" / "tour.log"
    # Through a file: processes that Wine leaves in the background must not hold a pipe of ours.
    with open(log, "wb") as output:
        running = subprocess.Popen(["wine", str(build / "release" / "bin" / "orva.exe"), "tour", windows_path(folder),
                                    "--keep", windows_path(keep)],
                                   stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
    with open(log, encoding="utf-8", errors="replace", newline="") as printed:
        pending, has_ended = "", False
        while True:
            pending += printed.read()
            whole, line_end, pending = pending.rpartition("\n")
            show(whole + line_end)
            if has_ended:
                break
            has_ended = running.poll() is not None
            if not has_ended:
                time.sleep(0.05)
    show(pending)
    if running.returncode != 0:
        fail(f"orva tour ended with status {running.returncode}")
    return int(re.findall(r"(?m)^(\d+)\. ", log.read_text(encoding="utf-8"))[-1])


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


def check_archive(archive, source):
    wanted = files_below(source)
    with zipfile.ZipFile(archive) as reader:
        damaged = reader.testzip()
        if damaged:
            fail(f"zipfile finds {damaged} damaged")
        names = sorted(entry.filename for entry in reader.infolist() if not entry.is_dir())
        if names != sorted(f"{source.name}/{name}" for name in wanted):
            fail(f"zipfile lists {len(names)} files, or other names, instead of {len(wanted)}")
        for name in names:
            if reader.read(name) != (source.parent / name).read_bytes():
                fail(f"zipfile reads {name} differently")
    print(f"   {len(names)} files read and compared: all equal")


def check_survey(document, survey):
    wanted = survey_points(survey.read_text(encoding="utf-8"))
    root = xml.etree.ElementTree.parse(document).getroot()
    if root.tag != LANDXML + "LandXML":
        fail(f"xml.etree reads the root as {root.tag}")
    points = root.findall(f"{LANDXML}CgPoints/{LANDXML}CgPoint")
    if not points:
        fail("xml.etree finds no points")
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
    if len(sys.argv) > 2 and sys.argv[2]:
        source = pathlib.Path(sys.argv[2]).resolve()
        if not source.is_dir():
            fail(f"{sys.argv[2]} is not a folder")
    else:
        source = default_folder(work, build)
    made = work / "tour"
    step = tour(build, source, made)
    show(f"\n{step + 1}. Ask an independent program (Python's zipfile) about the archive\n")
    check_archive(made / "demo.zip", source)
    show(f"\n{step + 2}. Ask an independent program (Python's xml.etree) about the LandXML document\n")
    check_survey(made / "survey.xml", made / "survey.csv")
    print(f"\nThey agree. Everything that was made is in {os.path.relpath(made)}.")


if __name__ == "__main__":
    main()

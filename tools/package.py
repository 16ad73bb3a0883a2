#!/usr/bin/env python3
"""Makes the versioned archive of a build: everything that the installation installs, and the reference when doxygen is there. The
archive is written by orva, so by the library's own writer, and read back by an independent reader.

usage: package.py [--config=Release] BUILD_FOLDER OUTPUT_FOLDER [EMULATOR]

EMULATOR runs orva where Windows does not: cmake/wine.
"""
import filecmp
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
NEEDED = ["bin/TarnuWin32Utils.dll", "bin/orva.exe", "include/tarnu/TarnuWin32Utils.h", "share/doc/TarnuWin32Utils/README.md",
          "share/licenses/TarnuWin32Utils/LICENSE", "share/licenses/TarnuWin32Utils/THIRD-PARTY.md"]


def fail(text):
    sys.exit(f"package: {text}")


def windows_path(path, emulator):
    return "Z:" + str(path).replace("/", "\\") if emulator else str(path)


def files_below(folder):
    return {path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file()}


def verify(archive, folder):
    """Everything is in the archive, byte for byte, below the folder's name."""
    with tempfile.TemporaryDirectory() as scratch, zipfile.ZipFile(archive) as packed:
        damaged = packed.testzip()
        if damaged:
            fail(f"{damaged} is damaged in the archive")
        packed.extractall(scratch)
        found, wanted = files_below(pathlib.Path(scratch) / folder.name), files_below(folder)
        if found != wanted:
            fail(f"the archive differs from the folder: {sorted(found ^ wanted)}")
        _, different, unread = filecmp.cmpfiles(folder, pathlib.Path(scratch) / folder.name, wanted, shallow=False)
        if different or unread:
            fail(f"these files differ in the archive: {different + unread}")
        return len(wanted)


def main():
    options = [argument for argument in sys.argv[1:] if argument.startswith("--config=")]
    arguments = [argument for argument in sys.argv[1:] if argument not in options]
    if len(arguments) not in (2, 3) or len(options) > 1:
        sys.exit(__doc__.strip())
    config = options[0].partition("=")[2] if options else "Release"
    build, output = (pathlib.Path(argument).resolve() for argument in arguments[:2])
    emulator = arguments[2:]
    version = re.search(r"project\(TarnuWin32Utils VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
    folder = build / "package" / f"TarnuWin32Utils-{version.group(1)}-win64"
    shutil.rmtree(folder.parent, ignore_errors=True)
    subprocess.run(["cmake", "--install", str(build), "--config", config, "--prefix", str(folder)],
                   check=True, stdout=subprocess.DEVNULL)
    for name in NEEDED:
        if not (folder / name).is_file():
            fail(f"the installation lacks {name}")
    if not any((folder / "lib").glob("*TarnuWin32Utils*")):
        fail("the installation lacks the import library")

    documents = folder / "share" / "doc" / "TarnuWin32Utils"
    for document in documents.rglob("*.md"):
        text = re.sub(r"```.*?```", "", document.read_text(encoding="utf-8"), flags=re.S)
        for target in re.findall(r"\]\(([^)\s]+)\)", text):
            if not re.match(r"[a-z]+:|#", target) and not (document.parent / target.split("#")[0]).exists():
                fail(f"{document.relative_to(documents)} leads to {target}, which is not installed")

    if shutil.which("doxygen"):
        subprocess.run([sys.executable, str(ROOT / "tools" / "docs.py"), str(folder.parent)], check=True, stdout=subprocess.DEVNULL)
        shutil.copytree(folder.parent / "docs" / "html", documents / "reference")
    else:
        print("package: doxygen is not installed, so the archive has no reference")

    archive = output / f"{folder.name}.zip"
    output.mkdir(parents=True, exist_ok=True)
    result = subprocess.run([*emulator, str(folder / "bin" / "orva.exe"), "zip", windows_path(archive, emulator),
                             windows_path(folder, emulator)], capture_output=True, text=True, errors="replace", check=False)
    if result.returncode != 0 or not archive.is_file():
        fail(f"orva zip failed with {result.returncode}:\n{result.stdout}{result.stderr}")
    print(f"package: {archive} ({verify(archive, folder)} files, {os.path.getsize(archive)} bytes)")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Builds the reference of the public headers with Doxygen. A name, a parameter or a result without documentation is an error,
and so is a documented parameter that does not exist.

usage: docs.py BUILD_FOLDER    (the reference stands in BUILD_FOLDER/docs/html then)
"""
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip())
    if not shutil.which("doxygen"):
        sys.exit("docs: doxygen is not installed")
    output = pathlib.Path(sys.argv[1]).resolve() / "docs"
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    version = re.search(r"project\(TarnuWin32Utils VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
    text = (ROOT / "docs" / "Doxyfile.in").read_text(encoding="utf-8")
    for name, value in (("SOURCE", ROOT), ("OUTPUT", output), ("VERSION", version.group(1))):
        text = text.replace(f"@{name}@", str(value))
    configuration = output / "Doxyfile"
    configuration.write_text(text, encoding="utf-8")

    result = subprocess.run(["doxygen", str(configuration)], capture_output=True, text=True, check=False)
    sys.stderr.write(result.stderr.replace(f"{ROOT}/", ""))
    if result.returncode != 0 or not (output / "html" / "index.html").is_file():
        sys.exit("docs: the reference could not be built without warnings")
    pages = sum(1 for _ in (output / "html").glob("*.html"))
    print(f"docs: {pages} pages in {output / 'html'}")


if __name__ == "__main__":
    main()

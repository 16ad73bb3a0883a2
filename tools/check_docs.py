#!/usr/bin/env python3
"""Checks what the documents say about the tree: the README's program is the compiled example, every behaviour note names an
existing test, and every relative link leads somewhere.

usage: check_docs.py
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = [*ROOT.glob("*.md"), *sorted((ROOT / "docs").rglob("*.md"))]


def readme_program():
    readme = (ROOT / "README.md").read_text(encoding="utf-8")
    shown = re.search(r"```cpp\n(.*?)```", readme, re.S)
    if not shown:
        yield "README.md shows no program"
        return
    example = (ROOT / "examples" / "PackTexts.cpp").read_text(encoding="utf-8")
    compiled = re.sub(r"\A(//[^\n]*\n)+\n?", "", example)
    if shown.group(1) != compiled:
        yield "README.md: the program differs from examples/PackTexts.cpp"


def behaviour_notes():
    notes = (ROOT / "docs" / "behaviour-notes.md").read_text(encoding="utf-8")
    tests = set()
    for source in (ROOT / "tests").rglob("*.cpp"):
        tests.update(f"{suite}.{name}" for suite, name in
                     re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", source.read_text(encoding="utf-8")))
    entries = re.findall(r"(?m)^- \*\*(.*?)\*\*(.*?)(?=^- \*\*|^#|\Z)", notes, re.S)
    if not entries:
        yield "docs/behaviour-notes.md has no entries"
    for title, text in entries:
        named = re.findall(r"`(\w+\.\w+)`", text)
        pinned = [name for name in named if name in tests]
        if not pinned:
            yield f"docs/behaviour-notes.md: '{title}' names no existing test (named: {', '.join(named) or 'none'})"


def links():
    for document in DOCUMENTS:
        text = re.sub(r"```.*?```", "", document.read_text(encoding="utf-8"), flags=re.S)
        for target in re.findall(r"\]\(([^)\s]+)\)", text):
            if re.match(r"[a-z]+:|#", target):
                continue
            if not (document.parent / target.split("#")[0]).exists():
                yield f"{document.relative_to(ROOT)}: nothing is at {target}"


def main():
    errors = [*readme_program(), *behaviour_notes(), *links()]
    for error in errors:
        print("docs:", error)
    print(f"docs: {len(DOCUMENTS)} documents checked, {len(errors)} errors")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())

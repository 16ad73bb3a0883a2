#!/usr/bin/env python3
"""Checks what the documents say about the tree: the code that they show is compiled, every behaviour note names an existing
test, every guide has its sections, every class its thread rule, every line whose lack of a test is explained is there, and
every relative link leads somewhere.

usage: check_docs.py
"""
import pathlib
import re
import sys
import textwrap

import coverage

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = [*ROOT.glob("*.md"), *sorted((ROOT / "docs").rglob("*.md"))]


def shown_code():
    """Every C++ block of a document is a program of examples/, or a part of one between "// snippet" and "// end of snippet"."""
    compiled, snippets = set(), {}
    for source in sorted((ROOT / "examples").rglob("*.cpp")):
        text = source.read_text(encoding="utf-8")
        compiled.add(re.sub(r"\A(//[^\n]*\n)+\n?", "", text))
        for snippet in re.findall(r"(?m)^ *// snippet\n(.*?)^ *// end of snippet$", text, re.S):
            snippets[textwrap.dedent(snippet)] = source.relative_to(ROOT)
    shown = set()
    for document in DOCUMENTS:
        blocks = re.findall(r"(?m)^```cpp\n(.*?)^```$", document.read_text(encoding="utf-8"), re.S)
        shown.update(blocks)
        for block in blocks:
            if block not in compiled and block not in snippets:
                first = next((line for line in block.splitlines() if line and not line.startswith("#include")), "")
                yield f"{document.relative_to(ROOT)}: no example is the code with '{first}'"
        if document.name == "README.md" and not any("int main(" in block for block in blocks):
            yield "README.md shows no program"
    for snippet, source in snippets.items():
        if snippet not in shown:
            yield f"{source}: no document shows the snippet that ends in '{snippet.splitlines()[-1]}'"


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


def guides():
    """A guide says what it is for, shows a use, and tells rules, threads and errors."""
    for guide in sorted((ROOT / "docs" / "guides").glob("*.md")):
        text = guide.read_text(encoding="utf-8")
        if "```cpp" not in text:
            yield f"{guide.relative_to(ROOT)} shows no use"
        headings = " ".join(re.findall(r"(?m)^#+ (.*)$", text)).lower()
        for section in ("rules", "threads", "errors"):
            if section not in headings:
                yield f"{guide.relative_to(ROOT)} has no section about {section}"


def thread_rules():
    """The table of thread rules in docs/architecture.md names every public class once, and nothing else."""
    architecture = (ROOT / "docs" / "architecture.md").read_text(encoding="utf-8")
    table = re.search(r"(?m)^\| Rule \| Classes \|.*\n\|[-|]+\|\n((?:\|.*\n)+)", architecture)
    if not table:
        yield "docs/architecture.md has no table of thread rules"
        return
    named = [name for row in table[1].splitlines() for name in re.findall(r"`(\w+)`", row.split("|")[2])]
    classes = set()
    for header in (ROOT / "tarnu").rglob("*.h"):
        if not {"support", "framework"} & set(header.relative_to(ROOT).parts) and not header.name.endswith("Internal.h"):
            classes.update(re.findall(r"(?m)^(?:class|struct) (?:TARNU_API )?(\w+)(?=[\s\w:<>,]*\{)",
                                      header.read_text(encoding="utf-8")))
    for name in sorted(classes - set(named)):
        yield f"docs/architecture.md: the table of thread rules lacks {name}"
    for name in sorted(name for name in set(named) if name not in classes or named.count(name) > 1):
        yield f"docs/architecture.md: the table of thread rules has {name}, which is no public class or there twice"


def explanations():
    errors = []
    coverage.explained(errors.append)
    return errors


def links():
    for document in DOCUMENTS:
        text = re.sub(r"```.*?```", "", document.read_text(encoding="utf-8"), flags=re.S)
        for target in re.findall(r"\]\(([^)\s]+)\)", text):
            if re.match(r"[a-z]+:|#", target):
                continue
            if not (document.parent / target.split("#")[0]).exists():
                yield f"{document.relative_to(ROOT)}: nothing is at {target}"


def main():
    errors = [*shown_code(), *behaviour_notes(), *guides(), *thread_rules(), *explanations(), *links()]
    for error in errors:
        print("docs:", error)
    print(f"docs: {len(DOCUMENTS)} documents checked, {len(errors)} errors")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())

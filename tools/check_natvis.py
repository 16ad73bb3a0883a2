#!/usr/bin/env python3
"""Checks the Visual Studio views: well-formed, and every member that a view names is one of its class.

usage: check_natvis.py
"""
import pathlib
import re
import sys
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
NAMESPACE = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"
BASES = {"OrvaSortedPointString": "OrvaPointString", "OrvaUnsortedPointString": "OrvaPointString"}


def body_of(name, texts):
    """The text of a class's definition, up to the brace that ends it in the same column."""
    for text in texts:
        match = re.search(rf"(?m)^( *)(?:class|struct) (?:TARNU_API )?{name}\b[^;{{]*\{{\n(.*?)^\1\}};", text, re.S)
        if match:
            return match.group(2)
    return None


def main():
    texts = [path.read_text(encoding="utf-8") for path in (ROOT / "tarnu").rglob("*.h")]
    root = xml.etree.ElementTree.parse(ROOT / "debug" / "TarnuWin32Utils.natvis").getroot()
    errors = []
    types = root.findall(f"{NAMESPACE}Type")
    for view in types:
        name = re.sub(r"<.*", "", view.get("Name")).split("::")[-1]
        bodies = [body_of(name, texts), body_of(BASES[name], texts) if name in BASES else ""]
        if bodies[0] is None:
            errors.append(f"there is no class {name}")
            continue
        used = " ".join([element.text or "" for element in view.iter()] +
                        [element.get("Condition", "") for element in view.iter()])
        for member in sorted(set(re.findall(r"\bm_\w+|\bgroupUse\b", used))):
            if re.search(rf"\b{member}\b", "".join(bodies)):
                continue
            errors.append(f"{name} has no member {member}")
    for error in errors:
        print("natvis:", error)
    print(f"natvis: {len(types)} views checked, {len(errors)} errors")
    return 1 if errors or not types else 0


if __name__ == "__main__":
    sys.exit(main())

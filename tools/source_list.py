#!/usr/bin/env python3
"""Prints a one-line-style apt list of source entries, derived from the machine's own apt configuration.

Only entries of this Debian release with the component "main" are taken (its updates and security suites included), so
third-party repositories, which seldom carry sources, are left out. Nothing on the machine is changed.
"""
import pathlib
import re
import sys

ETC = pathlib.Path("/etc/apt")


def release_codename():
    for line in pathlib.Path("/etc/os-release").read_text().splitlines():
        if line.startswith("VERSION_CODENAME="):
            return line.split("=", 1)[1].strip().strip('"')
    sys.exit("source_list: /etc/os-release names no release")


def deb822_entries(text):
    """Yields (options, uri, suite, components) of every stanza of a .sources file."""
    for stanza in re.split(r"\n\s*\n", "\n".join(l for l in text.splitlines() if not l.startswith("#"))):
        fields = {}
        key = None
        for line in stanza.splitlines():
            if line[:1] in (" ", "\t") and key:
                fields[key] += "\n" + line.strip()
            elif ":" in line:
                key, value = line.split(":", 1)
                key = key.strip().lower()
                fields[key] = value.strip()
        if fields.get("enabled", "yes").lower() in ("no", "false", "off", "0"):
            continue
        options = []
        signed_by = fields.get("signed-by", "")
        if signed_by.startswith("/"):
            options.append("signed-by=" + ",".join(signed_by.split()))
        if fields.get("trusted", "").lower() == "yes":
            options.append("trusted=yes")
        for uri in fields.get("uris", "").split():
            for suite in fields.get("suites", "").split():
                yield options, uri, suite, fields.get("components", "").split()


def one_line_entries(text):
    """The same for a .list file."""
    for line in text.splitlines():
        match = re.match(r"\s*deb(?:-src)?\s+(?:\[([^]]*)\]\s*)?(\S+)\s+(\S+)\s+([^#]*)", line)
        if match:
            options = [o for o in (match.group(1) or "").split() if o.startswith(("signed-by=", "trusted="))]
            yield options, match.group(2), match.group(3), match.group(4).split()


def main():
    codename = release_codename()
    files = [ETC / "sources.list", *sorted((ETC / "sources.list.d").glob("*"))]
    printed = set()
    for path in files:
        if not path.is_file() or path.suffix not in (".list", ".sources"):
            continue
        text = path.read_text(errors="replace")
        entries = deb822_entries(text) if path.suffix == ".sources" else one_line_entries(text)
        for options, uri, suite, components in entries:
            if suite.split("-")[0] != codename or "main" not in components:
                continue
            option_text = "[" + " ".join(options) + "] " if options else ""
            printed.add(f"deb-src {option_text}{uri} {suite} main")
    if not printed:
        sys.exit(f"source_list: no {codename} entry with the component main in {ETC}")
    print("\n".join(sorted(printed)))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Keeps tarnu/exports.def, the ordinal table of the DLL.

usage: exports.py check  exports.def TarnuWin32Utils.dll   verifies the table against the DLL
       exports.py append exports.def TarnuWin32Utils.dll   gives every exported symbol without an ordinal the next one

The DLL must be unstripped: which symbol stands behind an ordinal is read from its symbol table.
"""
import re
import struct
import sys

# The only two functions that are exported by name.
NAMED = {"_Z13DllMessageBoxP6HWND__PKwS2_j", "_Z13DllMessageBoxPKwj"}
ENTRY = re.compile(r"^(?P<symbol>[^\s;]+)\s+@(?P<ordinal>\d+)(?P<flags>(?:\s+(?:NONAME|DATA))*)\s*$")
GONE = re.compile(r"^;\s*gone\s+@(?P<ordinal>\d+)\s+\S+\s*$")


class Dll:
    """Export table and symbol table of a 64-bit PE file (Microsoft's PE format document)."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        pe = self.u32(0x3C)
        if self.data[pe:pe + 4] != b"PE\0\0":
            sys.exit(f"exports: {path} is not a PE file")
        section_count, symbol_offset, symbol_count, optional_size = struct.unpack_from("<2xH4xIIH", self.data, pe + 4)
        optional = pe + 24
        sections_at = optional + optional_size
        self.sections = []
        for index in range(section_count):
            size, rva, raw_size, raw = struct.unpack_from("<8xIIII", self.data, sections_at + 40 * index)
            flags = self.u32(sections_at + 40 * index + 36)
            self.sections.append((rva, max(size, raw_size), raw, bool(flags & 0x20000000)))
        export_rva = self.u32(optional + 112)
        at = self.offset(export_rva)
        self.base, function_count, name_count, functions, names, ordinals = struct.unpack_from("<16xIIIIII", self.data, at)
        self.address = {}  # ordinal -> RVA
        for index in range(function_count):
            rva = self.u32(self.offset(functions) + 4 * index)
            if rva:
                self.address[self.base + index] = rva
        self.names = {}  # exported name -> ordinal
        for index in range(name_count):
            name = self.text(self.offset(self.u32(self.offset(names) + 4 * index)))
            self.names[name] = self.base + struct.unpack_from("<H", self.data, self.offset(ordinals) + 2 * index)[0]
        self.symbols = {}  # symbol -> RVA
        strings = symbol_offset + 18 * symbol_count
        index = 0
        while index < symbol_count:
            entry = symbol_offset + 18 * index
            value, section, _, _, auxiliary = struct.unpack_from("<IhHBB", self.data, entry + 8)
            if section > 0:
                if self.u32(entry) == 0:
                    name = self.text(strings + self.u32(entry + 4))
                else:
                    name = self.data[entry:entry + 8].rstrip(b"\0").decode("latin-1")
                self.symbols[name] = self.sections[section - 1][0] + value
            index += 1 + auxiliary
        if not self.symbols:
            sys.exit(f"exports: {path} has no symbol table (it is stripped)")

    def u32(self, at):
        return struct.unpack_from("<I", self.data, at)[0]

    def text(self, at):
        return self.data[at:self.data.index(b"\0", at)].decode("latin-1")

    def offset(self, rva):
        for start, size, raw, _ in self.sections:
            if start <= rva < start + size:
                return raw + rva - start
        sys.exit(f"exports: address {rva:#x} lies in no section")

    def is_code(self, rva):
        return any(code for start, size, _, code in self.sections if start <= rva < start + size)


class Table:
    """The parsed .def file."""

    def __init__(self, path):
        self.entries = {}  # symbol -> (ordinal, flags)
        self.errors = []
        self.last = 0
        with open(path, encoding="ascii") as file:
            for number, line in enumerate(file, 1):
                entry = ENTRY.match(line)
                gone = GONE.match(line)
                if not entry and not gone:
                    if "@" in line and not line.startswith(";"):
                        self.errors.append(f"line {number} is not understood: {line.rstrip()}")
                    continue
                ordinal = int((entry or gone)["ordinal"])
                if ordinal != self.last + 1:
                    self.errors.append(f"line {number}: ordinal {ordinal} follows {self.last}; ordinals are appended "
                                       "one by one and never changed (a removed symbol stays as '; gone @n symbol')")
                self.last = ordinal
                if entry:
                    symbol = entry["symbol"]
                    if symbol in self.entries:
                        self.errors.append(f"line {number}: {symbol} stands in the table twice")
                    self.entries[symbol] = (ordinal, set(entry["flags"].split()))


def check(def_path, dll_path):
    table, dll = Table(def_path), Dll(dll_path)
    errors = table.errors
    for name in sorted(set(dll.names) - NAMED):
        errors.append(f"{name} is exported but has no ordinal: add it with ./run exports")
    for name in sorted(NAMED - set(dll.names)):
        errors.append(f"{name} is not exported by name")
    for symbol, (ordinal, flags) in sorted(table.entries.items()):
        if (symbol in NAMED) == ("NONAME" in flags):
            errors.append(f"{symbol} @{ordinal}: only the two DllMessageBox functions are exported by name")
        if ordinal not in dll.address:
            errors.append(f"{symbol}: the DLL has no ordinal {ordinal}")
        elif symbol not in dll.symbols:
            errors.append(f"{symbol} @{ordinal} is not in the DLL's symbol table")
        elif dll.symbols[symbol] != dll.address[ordinal]:
            errors.append(f"ordinal {ordinal} of the DLL is not {symbol}, as the table says")
        elif dll.is_code(dll.address[ordinal]) == ("DATA" in flags):
            errors.append(f"{symbol} @{ordinal}: DATA is for data, and for nothing else")
    for error in errors:
        print("exports:", error)
    print(f"exports: {len(table.entries)} symbols by ordinal, {len(dll.names)} of them by name, {len(errors)} errors")
    return 1 if errors else 0


def append(def_path, dll_path):
    table, dll = Table(def_path), Dll(dll_path)
    if table.errors:
        sys.exit("\n".join("exports: " + error for error in table.errors))
    lines = []
    for name in sorted(set(dll.names) - set(table.entries)):
        table.last += 1
        flags = "" if name in NAMED else " NONAME"
        if not dll.is_code(dll.address[dll.names[name]]):
            flags += " DATA"
        lines.append(f"{name} @{table.last}{flags}\n")
    with open(def_path, "a", encoding="ascii", newline="\n") as file:
        file.writelines(lines)
    print(f"exports: {len(lines)} symbols appended")
    return 0


def main():
    commands = {"check": check, "append": append}
    if len(sys.argv) != 4 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    return commands[sys.argv[1]](sys.argv[2], sys.argv[3])


if __name__ == "__main__":
    sys.exit(main())

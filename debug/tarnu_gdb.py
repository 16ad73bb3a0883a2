"""GDB pretty-printers for TarnuWin32Utils. In GDB: source …/share/TarnuWin32Utils/debug/tarnu_gdb.py

They show texts as texts, lists as their elements, walks by where they stand, point sets as the text that they would become, and
the block allocator's lists with a check of their links. $tarnu_blocks(head) counts the blocks of a list that a program keeps by
its head alone.
"""
import gdb
import gdb.printing

MOST = 100000  # links followed of a list: a corrupt one may have no end


def text_of(string):
    """A CString, built-in framework: length and capacity stand in front of the text."""
    text = string["m_text"]
    length = int(text.cast(gdb.lookup_type("int").pointer())[-2])
    if not 0 <= length <= 1 << 28:
        return "<no text>"
    return text.lazy_string(length=length) if length else '""'


class CString:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(self.value)


class CList:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"{self.value.type.strip_typedefs().tag} of {int(self.value['m_count'])}"

    def children(self):
        node, count = self.value["m_head"], int(self.value["m_count"])
        for index in range(min(count, MOST)):
            if not node:
                return
            yield f"[{index}]", node["value"]
            node = node["next"]

    def display_hint(self):
        return "array"


class Fields:
    """A class as a choice of what it holds."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return None

    def children(self):
        for name, field in self.fields():
            yield name, field


class OrvaPath(Fields):
    def to_string(self):
        return text_of(self.value["m_text"])

    def fields(self):
        yield "separator", self.value["m_separator"]


class OrvaBasicFileMatcher(Fields):
    def to_string(self):
        return "at an entry" if int(self.value["m_isFound"]) else "at the end"

    def fields(self):
        yield "directory", self.value["m_directory"]["m_text"]
        yield "pattern", self.value["m_pattern"]["m_text"]
        if int(self.value["m_isFound"]):
            yield "name", self.value["m_findData"]["cFileName"][0].address.lazy_string()


class OrvaBFSDirectoryTree(Fields):
    def to_string(self):
        return "at a directory" if self.waiting() else "at the end"

    def waiting(self):
        """The elements of a std::deque."""
        start, finish = (self.value["m_queue"]["_M_impl"][name] for name in ("_M_start", "_M_finish"))
        room = int(start["_M_last"] - start["_M_first"])
        nodes = int(finish["_M_node"] - start["_M_node"]) - 1
        return nodes * room + int(finish["_M_cur"] - finish["_M_first"]) + int(start["_M_last"] - start["_M_cur"])

    def fields(self):
        yield "root", self.value["m_root"]["m_text"]
        if self.waiting():
            yield "name", self.value["m_queue"]["_M_impl"]["_M_start"]["_M_cur"]["relative"]["m_text"]
        yield "waiting", self.waiting()


class OrvaDFSDirectoryTree(Fields):
    def to_string(self):
        return f"{int(self.value['m_stack']['m_count'])} levels deep"

    def fields(self):
        yield "root", self.value["m_root"]["m_text"]
        yield "pattern", self.value["m_pattern"]
        node = self.value["m_stack"]["m_head"]
        for level in range(int(self.value["m_stack"]["m_count"])):
            yield f"level {level}", node["value"].dereference()
            node = node["next"]


class FileTree(Fields):
    def to_string(self):
        return "at a file" if int(self.value["m_matcher"]["m_isFound"]) else "at the end"

    def fields(self):
        yield "tree", self.value["m_tree"]
        yield "files", self.value["m_matcher"]


def ranges_of(marker):
    """The numbers of a point marker as "1-2,7"; the first 64 KiB of its bits."""
    count = min(int(marker["m_bitCount"]), 1 << 19)
    if count == 0:
        return ""
    memory = gdb.selected_inferior().read_memory(int(marker["m_bits"]), (count + 7) // 8)
    bits = int.from_bytes(bytes(memory), "little") & ((1 << count) - 1)
    base, parts, position = int(marker["m_base"]), [], 0
    while bits:
        zeros = (bits & -bits).bit_length() - 1
        bits, position = bits >> zeros, position + zeros
        ones = (~bits & (bits + 1)).bit_length() - 1
        first, last = base + position, base + position + ones - 1
        parts.append(str(first) if ones == 1 else f"{first}-{last}")
        bits, position = bits >> ones, position + ones
    return ",".join(parts)


class OrvaPointMarker:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "{" + ranges_of(self.value) + "}"


class OrvaPointString(Fields):
    def to_string(self):
        return text_of(self.value["m_text"])

    def fields(self):
        yield "modified", bool(int(self.value["m_modified"]))


class OrvaSortedPointString(OrvaPointString):
    def fields(self):
        yield from super().fields()
        yield "set", self.value["m_marker"]


class OrvaUnsortedPointString(OrvaPointString):
    def fields(self):
        yield from super().fields()
        yield "waiting", self.value["m_pending"]


def blocks_of(head):
    """The addresses of a list of blocks or pages, and whether its links agree with each other."""
    addresses, previous = [], 0
    while head and len(addresses) < MOST:
        if int(head["previous"]) != previous:
            return addresses, False
        previous = int(head)
        addresses.append(previous)
        head = head["next"]
    return addresses, not head


def told(addresses, whole, what):
    return f"{len(addresses)} {what}" + ("" if whole else ", then broken links")


class OrvaFixedBlockList(Fields):
    def to_string(self):
        return told(*blocks_of(self.value["m_head"]), "free blocks") + f" of {int(self.value['m_blockSize'])} bytes"

    def fields(self):
        if self.value["m_kept"]:
            yield "kept", self.value["m_kept"]
        for index, address in enumerate(blocks_of(self.value["m_head"])[0]):
            yield f"[{index}]", gdb.Value(address).cast(gdb.lookup_type("void").pointer())


class PagePoolState(Fields):
    def to_string(self):
        return told(*blocks_of(self.value["head"]), "free pages")

    def fields(self):
        yield "groupUse", self.value["groupUse"]


class Blocks(gdb.Function):
    """$tarnu_blocks(head): the number of blocks in a list of the fixed-block allocator; -1 when its links are broken."""

    def __init__(self):
        super().__init__("tarnu_blocks")

    def invoke(self, head):
        addresses, whole = blocks_of(head.cast(gdb.lookup_type("OrvaFixedBlockAllocator::FreeBlock").pointer()))
        return len(addresses) if whole else -1


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("TarnuWin32Utils")
    for name, printer in (("CString", CString), ("CStringList", CList), ("CList<.*>", CList), ("OrvaPath", OrvaPath),
                          ("OrvaBasicFileMatcher", OrvaBasicFileMatcher), ("OrvaBFSDirectoryTree", OrvaBFSDirectoryTree),
                          ("OrvaDFSDirectoryTree", OrvaDFSDirectoryTree), ("Orva[BD]FSFileTree", FileTree),
                          ("OrvaPointMarker", OrvaPointMarker), ("OrvaPointString", OrvaPointString),
                          ("OrvaSortedPointString", OrvaSortedPointString),
                          ("OrvaUnsortedPointString", OrvaUnsortedPointString),
                          ("tarnu::OrvaFixedBlockList", OrvaFixedBlockList),
                          ("OrvaFixedBlockAllocator::PagePoolState", PagePoolState)):
        collection.add_printer(name, f"^{name}$", printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
Blocks()

"""A PE file for x86-64, as far as the checks look into it."""
import os
import struct
import subprocess
from array import array
from dataclasses import dataclass
from pathlib import Path

# Data directories.
EXPORTS, IMPORTS, RESOURCES, RELOCATIONS = 0, 1, 2, 5
# Section flags.
EXECUTABLE, WRITABLE = 0x20000000, 0x80000000
# Resource types.
VERSION, MANIFEST = 16, 24

RUN_TIME_RELOCATIONS = (b"__RUNTIME_PSEUDO_RELOC_LIST__", b"__RUNTIME_PSEUDO_RELOC_LIST_END__")


@dataclass(frozen=True)
class Section:
    name: str
    address: int
    size: int  # in memory
    offset: int
    length: int  # in the file
    flags: int
    header: int  # where in the file its header is

    def holds(self, address: int) -> bool:
        return self.address <= address < self.address + max(self.size, self.length)


class Image:
    def __init__(self, data: bytes):
        self.data = data
        start, = struct.unpack_from("<I", data, 0x3C)
        if data[start:start + 4] != b"PE\0\0":
            raise ValueError("no PE file")
        self.header = start + 4
        (self.machine, count, self.timestamp, self.symbols, self.symbol_count, optional,
         self.flags) = struct.unpack_from("<HHIIIHH", data, self.header)
        self.optional = self.header + 20
        self.section_alignment, self.file_alignment = struct.unpack_from("<II", data, self.optional + 32)
        self.checksum, self.subsystem, self.dll_flags = struct.unpack_from("<IHH", data, self.optional + 64)
        self.directories = [struct.unpack_from("<II", data, self.optional + 112 + 8 * i) for i in range(16)]
        self.sections = [self._section(self.optional + optional + 40 * i) for i in range(count)]

    def _section(self, header: int) -> Section:
        size, address, length, offset = struct.unpack_from("<IIII", self.data, header + 8)
        flags, = struct.unpack_from("<I", self.data, header + 36)
        name = self.data[header:header + 8].rstrip(b"\0").decode()
        if name.startswith("/"):
            name = self.text(self._strings() + int(name[1:]))
        return Section(name, address, size, offset, length, flags, header)

    def _strings(self) -> int:
        """Where the names are that are longer than eight bytes."""
        return self.symbols + 18 * self.symbol_count

    @property
    def program(self) -> bool:
        return not self.flags & 0x2000

    def offset(self, address: int) -> int:
        """Where in the file an address lies."""
        for section in self.sections:
            if section.holds(address):
                return section.offset + address - section.address
        raise ValueError(f"no section holds {address:#x}")

    def text(self, offset: int) -> str:
        return self.data[offset:self.data.index(b"\0", offset)].decode()

    def computed_checksum(self) -> int:
        """What the header's checksum must be: the sum of all words but its own, and the length."""
        at = self.optional + 64
        words = array("H", self.data[:at] + bytes(4) + self.data[at + 4:] + bytes(len(self.data) % 2))
        total = sum(words)
        while total >> 16:
            total = (total & 0xFFFF) + (total >> 16)
        return total + len(self.data)

    def imports(self) -> dict[str, set[str]]:
        """The functions by their DLL, in lower case."""
        found: dict[str, set[str]] = {}
        if not self.directories[IMPORTS][0]:
            return found
        at = self.offset(self.directories[IMPORTS][0])
        while struct.unpack_from("<I", self.data, at + 12)[0]:
            lookup, _, _, name, first = struct.unpack_from("<IIIII", self.data, at)
            names = found.setdefault(self.text(self.offset(name)).lower(), set())
            entries = self.offset(lookup or first)
            while entry := struct.unpack_from("<Q", self.data, entries)[0]:
                names.add(f"#{entry & 0xFFFF}" if entry >> 63 else self.text(self.offset(entry & 0x7FFFFFFF) + 2))
                entries += 8
            at += 20
        return found

    def times(self) -> list[int]:
        """When it was made, as its header and its exports say."""
        exports = self.directories[EXPORTS][0]
        return [self.timestamp, *(struct.unpack_from("<I", self.data, self.offset(exports) + 4) if exports else ())]

    def exports(self) -> set[str]:
        if not self.directories[EXPORTS][0]:
            return set()
        at = self.offset(self.directories[EXPORTS][0])
        functions, named, _, names = struct.unpack_from("<IIII", self.data, at + 20)
        addresses = struct.unpack_from(f"<{named}I", self.data, self.offset(names)) if named else ()
        found = {self.text(self.offset(address)) for address in addresses}
        return found | {f"#{i} of {functions}" for i in range(named, functions)}

    def resources(self) -> dict[tuple[int, int], bytes]:
        """What the resources hold by type and number, those with names left out."""
        if not self.directories[RESOURCES][0]:
            return {}
        base = self.offset(self.directories[RESOURCES][0])

        def children(directory: int):
            named, numbered = struct.unpack_from("<HH", self.data, base + directory + 12)
            for i in range(named, named + numbered):
                number, child = struct.unpack_from("<II", self.data, base + directory + 16 + 8 * i)
                yield number, child & 0x7FFFFFFF

        found = {}
        for kind, names in children(0):
            for name, languages in children(names):
                for _, entry in children(languages):
                    address, size = struct.unpack_from("<II", self.data, base + entry)
                    at = self.offset(address)
                    found[kind, name] = self.data[at:at + size]
        return found

    def _run_time_list(self) -> list[int]:
        """Begin and end of the list of relocations that mingw's start-up carries out itself; empty without symbols."""
        found, i = {}, 0
        while i < self.symbol_count:
            at = self.symbols + 18 * i
            name = self.data[at:at + 8]
            if name[:4] == bytes(4):
                name = self.text(self._strings() + struct.unpack_from("<I", name, 4)[0]).encode()
            value, section = struct.unpack_from("<Ih", self.data, at + 8)
            if (name := name.rstrip(b"\0")) in RUN_TIME_RELOCATIONS:
                found[name] = self.sections[section - 1].address + value
            i += 1 + self.data[at + 17]
        return [found[name] for name in RUN_TIME_RELOCATIONS] if len(found) == 2 else []

    def run_time_relocations(self) -> list[tuple[int, int, int]]:
        """Target, bits and the place of the entry in the file."""
        bounds = self._run_time_list()
        entries = []
        # The first twelve bytes are the list's header, when there is a list.
        for address in range(bounds[0] + 12, bounds[1], 12) if bounds else ():
            at = self.offset(address)
            _, target, flags = struct.unpack_from("<III", self.data, at)
            entries.append((target, flags & 0xFF, at))
        return entries


def strip(program: str, file: Path, copy: Path) -> bytes:
    """The file as it is shipped. Without a date given the program writes the present one into it."""
    subprocess.run([program, "--strip-all", "-o", copy, file], check=True, env=dict(os.environ, SOURCE_DATE_EPOCH="0"))
    return copy.read_bytes()


def version(block: bytes) -> tuple[dict[str, str], dict[str, str]]:
    """The numbers of a version resource, by "FileVersion" and "ProductVersion", and its texts."""
    texts: dict[str, str] = {}

    def aligned(at: int) -> int:
        return (at + 3) & ~3

    def node(at: int, depth: int) -> tuple[int, int]:
        """Its end, and where its value begins."""
        length, value_length, text = struct.unpack_from("<HHH", block, at)
        end = at + 6
        while block[end:end + 2] != b"\0\0":
            end += 2
        key = block[at + 6:end].decode("utf-16-le")
        value = aligned(end + 2)
        if depth == 3 and text:
            texts[key] = block[value:value + 2 * value_length].decode("utf-16-le").rstrip("\0")
            return at + length, value
        child = aligned(value + (value_length if not text else 2 * value_length))
        while child < at + length and key != "VarFileInfo":
            child = aligned(node(child, depth + 1)[0])
        return at + length, value

    _, fixed = node(0, 0)
    signature, _, *words = struct.unpack_from("<IIIIII", block, fixed)
    if signature != 0xFEEF04BD:
        raise ValueError("the version resource has no numbers")
    numbers = [f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}" for high, low in (words[0:2], words[2:4])]
    return dict(zip(("FileVersion", "ProductVersion"), numbers)), texts

#!/usr/bin/env python3
"""Each rule of check.py finds the fault that is planted for it, and nothing beside it.

usage: check_test.py --version V --license FILE --strip PROGRAM --output DIR FOLDER

The faults are planted into copies of the built FcoeAgnt.dll and fcoectl.exe of FOLDER.
"""
import argparse
import struct
import sys
import unittest
from pathlib import Path

import check
from image import EXECUTABLE, EXPORTS, RELOCATIONS, Image, strip

OPTIONS = argparse.Namespace()


class Copy:
    """A file's bytes, to be changed."""

    def __init__(self, image: Image):
        self.image = image
        self.data = bytearray(image.data)

    def put(self, at: int, layout: str, *values: int) -> "Copy":
        struct.pack_into(layout, self.data, at, *values)
        return self

    def replace(self, old: bytes, new: bytes) -> "Copy":
        assert len(old) == len(new) and old in self.data, old
        self.data = self.data.replace(old, new)
        return self

    def done(self) -> Image:
        """With the checksum that it has now."""
        self.put(self.image.optional + 64, "<I", Image(bytes(self.data)).computed_checksum())
        return Image(bytes(self.data))


def wide(text: str) -> bytes:
    return text.encode("utf-16-le")


class Planted(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.rules = check.Rules(OPTIONS.version, check.copyright_of(OPTIONS.license))
        OPTIONS.output.mkdir(parents=True, exist_ok=True)
        cls.built, cls.shipped, cls.expected = {}, {}, {}
        for name in ("FcoeAgnt.dll", "fcoectl.exe"):
            file = OPTIONS.folder / name
            cls.built[name] = Image(file.read_bytes())
            cls.shipped[name] = Image(strip(OPTIONS.strip, file, OPTIONS.output / name))
            cls.expected[name] = check.Expected.read(check.EXPECTED / f"{name}.txt")

    def expect(self, fault: str, name: str, shipped: Image | None = None, built: Image | None = None,
               expected: check.Expected | None = None):
        """That and nothing else; no fault: nothing at all. Of several alike the first one's beginning."""
        found = list(self.rules.own(name, built or self.built[name], shipped or self.shipped[name],
                                    expected or self.expected[name]))
        self.assertEqual(bool(fault), bool(found), found)
        for line in found:
            self.assertTrue(line.startswith(fault), found)

    def change(self, name: str = "FcoeAgnt.dll") -> Copy:
        return Copy(self.shipped[name])

    def section(self, image: Image, name: str):
        return next(section for section in image.sections if section.name == name)

    def test_nothing_is_wrong_with_what_was_built(self):
        for name in self.built:
            self.expect("", name)

    def test_header_flags(self):
        dll = self.shipped["FcoeAgnt.dll"]
        for flag, name in check.NEEDED_FLAGS.items():
            self.expect(f"{name} is missing", "FcoeAgnt.dll",
                        self.change().put(dll.optional + 70, "<H", dll.dll_flags & ~flag).done())
        program = self.shipped["fcoectl.exe"]
        aware = program.dll_flags & ~check.TERMINAL_SERVER_AWARE
        self.expect("TERMINAL_SERVER_AWARE", "fcoectl.exe",
                    self.change("fcoectl.exe").put(program.optional + 70, "<H", aware).done())
        self.expect("not for x86-64", "FcoeAgnt.dll", self.change().put(dll.header, "<H", 0x14C).done())

    def test_relocations(self):
        dll = self.shipped["FcoeAgnt.dll"]
        self.expect("no relocations", "FcoeAgnt.dll", self.change().put(dll.header + 18, "<H", dll.flags | 1).done())
        directory = dll.optional + 112 + 8 * RELOCATIONS
        self.expect("no relocations", "FcoeAgnt.dll", self.change().put(directory, "<II", 0, 0).done())

    def test_alignment_time_and_checksum(self):
        dll = self.shipped["FcoeAgnt.dll"]
        self.expect("odd alignment", "FcoeAgnt.dll", self.change().put(dll.optional + 36, "<I", 3000).done())
        self.expect("odd alignment", "FcoeAgnt.dll", self.change().put(dll.optional + 32, "<I", 8192).done())
        self.expect("it carries the time", "FcoeAgnt.dll", self.change().put(dll.header + 4, "<I", 1700000000).done())
        built = self.built["FcoeAgnt.dll"]
        for at in (built.header + 4, built.offset(built.directories[EXPORTS][0]) + 4):
            self.expect("it carries the time", "FcoeAgnt.dll", built=Copy(built).put(at, "<I", 1700000000).done())
        for checksum in (0, dll.checksum + 1):
            wrong = bytes(self.change().put(dll.optional + 64, "<I", checksum).data)
            self.expect("wrong checksum", "FcoeAgnt.dll", Image(wrong))

    def test_sections(self):
        dll = self.shipped["FcoeAgnt.dll"]
        data = self.section(dll, ".data")
        self.expect("section .data is writable and executable", "FcoeAgnt.dll",
                    self.change().put(data.header + 36, "<I", data.flags | EXECUTABLE).done())
        unwind = self.section(dll, ".xdata")
        self.expect("section .debug is shipped", "FcoeAgnt.dll",
                    self.change().put(unwind.header, "<8s", b".debug").done())
        self.expect("17 symbols are shipped", "FcoeAgnt.dll", self.change().put(dll.header + 12, "<I", 17).done())

    def test_size(self):
        kept = self.expected["FcoeAgnt.dll"]
        small = check.Expected(len(self.shipped["FcoeAgnt.dll"].data) - 1, kept.imports, kept.exports)
        self.expect(f"{small.size + 1} bytes, more than", "FcoeAgnt.dll", expected=small)

    def test_run_time_relocations(self):
        built = self.built["FcoeAgnt.dll"]
        relocations = built.run_time_relocations()
        self.assertTrue(relocations)
        entry = relocations[-1][2]
        self.expect("run-time relocation of 32 bits", "FcoeAgnt.dll", built=Copy(built).put(entry + 8, "<I", 32).done())
        code = self.section(built, ".text").address
        self.expect("run-time relocation in code", "FcoeAgnt.dll", built=Copy(built).put(entry + 4, "<I", code).done())
        self.expect("built without symbols", "FcoeAgnt.dll", built=self.shipped["FcoeAgnt.dll"])

    def test_version(self):
        numbers = struct.pack("<I", 0xFEEF04BD)
        at = self.shipped["FcoeAgnt.dll"].data.index(numbers)
        self.expect(f"FileVersion is {OPTIONS.version}.1", "FcoeAgnt.dll", self.change().put(at + 12, "<I", 1).done())
        self.expect(f"ProductVersion is {OPTIONS.version}.1", "FcoeAgnt.dll", self.change().put(at + 20, "<I", 1).done())
        for text, other, what in (("Orvan\0", "Orvam\0", "CompanyName"), ("FcoeAgnt.dll", "FcoeAgnt.dlk", "OriginalFilename"),
                                  ("Copyright (c)", "Copyright (d)", "LegalCopyright")):
            self.expect(f"{what} is", "FcoeAgnt.dll", self.change().replace(wide(text), wide(other)).done())
        self.expect("no version", "FcoeAgnt.dll", self.change().put(self.kind("FcoeAgnt.dll", 16), "<I", 17).done())

    def kind(self, name: str, wanted: int) -> int:
        """Where in the file the resource directory's entry for that type is."""
        image = self.shipped[name]
        base = image.offset(image.directories[2][0])
        named, numbered = struct.unpack_from("<HH", image.data, base + 12)
        return next(at for at in range(base + 16, base + 16 + 8 * (named + numbered), 8)
                    if struct.unpack_from("<I", image.data, at)[0] == wanted)

    def test_manifest(self):
        self.expect("no manifest", "fcoectl.exe",
                    self.change("fcoectl.exe").put(self.kind("fcoectl.exe", 24), "<I", 23).done())
        program = self.shipped["fcoectl.exe"]
        self.expect("a DLL with the manifest", "fcoectl.exe",
                    self.change("fcoectl.exe").put(program.header + 18, "<H", program.flags | 0x2000).done())
        for old, new, fault in (
                (b"asInvoker", b"highestAv", "the manifest does not say asInvoker"),
                (b"{8e0f7a12", b"{8e0f7a13", "the manifest does not name Windows 10"),
                (b">true</longPathAware", b">fals</longPathAware", "the manifest does not allow long paths"),
                (b'.0" processor', b'.1" processor', "the manifest has another version"),
                (b"</assembly>", b"</assemblx>", "no manifest: ")):
            self.expect(fault, "fcoectl.exe", self.change("fcoectl.exe").replace(old, new).done())
        code_page = b'<activeCodePage xmlns="http://schemas.microsoft.com/SMI/2019/WindowsSettings">UTF-8</activeCodePage>'
        text = self.shipped["fcoectl.exe"].resources()[24, 1]
        self.assertEqual([], list(self.rules.manifest(text)))
        self.assertEqual(["the manifest sets a code page"],
                         list(self.rules.manifest(text.replace(b"</windowsSettings>", code_page + b"</windowsSettings>"))))

    def test_imports(self):
        name = "FcoeAgnt.dll"
        kept = self.expected[name]
        for dll in ("kernel32.dll CreateMutexW", "msvcrt.dll"):
            self.assertIn(dll, kept.imports)
            less = check.Expected(kept.size, kept.imports - {dll}, kept.exports)
            self.expect(f"new import {dll}", name, expected=less)
        more = check.Expected(kept.size, kept.imports | {"ole32.dll CoInitializeSecurity"}, kept.exports)
        self.expect("import ole32.dll CoInitializeSecurity is gone", name, expected=more)
        found = list(self.rules.lists(self.change().replace(b"CreateMutexW\0", b"CreateMutexX\0").done(), kept))
        self.assertEqual(["new import kernel32.dll CreateMutexX", "import kernel32.dll CreateMutexW is gone"], found)

    def test_first_calls_of_hosts(self):
        name = "fcoectl.exe"
        changed = self.change(name).replace(b"SetErrorMode\0", b"SetErrorMods\0").done()
        kept = check.Expected(self.expected[name].size, check.imports_of(changed), set())
        self.expect("it never calls kernel32.dll SetErrorMode", name, changed, expected=kept)

    def test_exports(self):
        name = "FcoeAgnt.dll"
        kept = self.expected[name]
        found = list(self.rules.lists(self.change().replace(b"\0GetFcoeAgent\0", b"\0GetFcoeAgenu\0").done(), kept))
        self.assertEqual(["new export GetFcoeAgenu", "export GetFcoeAgent is gone"], found)
        image = self.shipped[name]
        at = image.offset(image.directories[0][0])
        functions, = struct.unpack_from("<I", image.data, at + 20)
        self.expect(f"new export #{functions} of", name, self.change().put(at + 20, "<I", functions + 1).done())

    def test_names_of_sources(self):
        image = self.shipped["FcoeAgnt.dll"]
        constants = self.section(image, ".rdata")
        at = constants.offset + constants.length - 64  # the section's end is padding
        self.expect("it names ../agent/FcoeAgnt.cpp", "FcoeAgnt.dll",
                    self.change().put(at, "<32s", b"\0../agent/FcoeAgnt.cpp").done())

    def test_the_run_time(self):
        self.assertEqual(["it needs ole32.dll", "it needs oleaut32.dll", "it needs qelcolib.dll", "it needs setupapi.dll",
                          "it needs ucrtbase.dll"], list(self.rules.foreign(self.shipped["FcoeAgnt.dll"])))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--license", "--output"):
        parser.add_argument(option, type=Path, required=True)
    for option in ("--version", "--strip"):
        parser.add_argument(option, required=True)
    parser.add_argument("folder", type=Path)
    OPTIONS = parser.parse_args()
    unittest.main(argv=sys.argv[:1])

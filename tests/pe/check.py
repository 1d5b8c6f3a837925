#!/usr/bin/env python3
"""Looks through the files that are shipped, as Windows' loader and its tools do.

usage: check.py --version V --license FILE --strip PROGRAM --output DIR [--update] FILE...

Each file is looked at as it was built, and stripped, as it is shipped: header flags, sections, size, version, manifest,
checksum, run-time relocations, what it imports and exports, and that it names no source file. What belongs to one file stands
in tests/pe/expected/FILE.txt: the largest size, each import of Windows and of the suite (of the C and C++ run time only the
DLL), each export. --update writes imports and exports anew, and the size of a file that had none. The C++ run time beside the
files is looked through, too. Exit status 1 when something is wrong.
"""
import argparse
import re
import sys
import xml.etree.ElementTree
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

from image import EXECUTABLE, MANIFEST, RELOCATIONS, VERSION, WRITABLE, Image, strip, version

EXPECTED = Path(__file__).resolve().parent / "expected"
RUN_TIME = ("libgcc_s_seh-1.dll", "libstdc++-6.dll", "libwinpthread-1.dll")
# Which of their functions are used is the compiler's affair.
COUNTED_AS_ONE = {"libgcc_s_seh-1.dll", "libstdc++-6.dll", "msvcrt.dll"}

# The programs that load the agent restrict first of all where modules come from.
HOSTS = {"example_host.exe", "fcoectl.exe"}
FIRST_CALLS = {"kernel32.dll SetDefaultDllDirectories", "kernel32.dll SetErrorMode"}

X86_64 = 0x8664
NEEDED_FLAGS = {0x0020: "HIGH_ENTROPY_VA", 0x0040: "DYNAMIC_BASE", 0x0100: "NX_COMPAT"}
TERMINAL_SERVER_AWARE = 0x8000
WINDOWS_10 = "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"


@dataclass
class Expected:
    """What is kept of a file."""
    size: int = 0
    imports: set[str] = field(default_factory=set)  # "kernel32.dll Sleep", "msvcrt.dll"
    exports: set[str] = field(default_factory=set)

    @staticmethod
    def read(file: Path) -> "Expected":
        expected = Expected()
        for line in file.read_text().splitlines() if file.exists() else ():
            kind, _, rest = line.partition(" ")
            if kind == "size":
                expected.size = int(rest)
            elif kind == "import":
                expected.imports.add(rest)
            elif kind == "export":
                expected.exports.add(rest)
            else:
                raise SystemExit(f"{file}: what is {line!r}?")
        return expected

    def write(self, file: Path) -> None:
        lines = [f"size {self.size}", *(f"import {name}" for name in sorted(self.imports)),
                 *(f"export {name}" for name in sorted(self.exports))]
        file.write_text("".join(f"{line}\n" for line in lines))


def imports_of(image: Image) -> set[str]:
    """As they are kept."""
    return {dll if dll in COUNTED_AS_ONE else f"{dll} {name}" for dll, names in image.imports().items() for name in names}


@dataclass
class Rules:
    version: str  # of the project, "1.0.0"
    copyright: str

    def header(self, image: Image) -> Iterator[str]:
        if image.machine != X86_64:
            yield "not for x86-64"
        for flag, name in NEEDED_FLAGS.items():
            if not image.dll_flags & flag:
                yield f"{name} is missing"
        if image.flags & 1 or not image.directories[RELOCATIONS][1]:
            yield "no relocations: it would always lie at the same address"
        if image.program and not image.dll_flags & TERMINAL_SERVER_AWARE:
            yield "TERMINAL_SERVER_AWARE is missing"
        if image.section_alignment != 4096 or image.file_alignment & (image.file_alignment - 1):
            yield f"odd alignment: {image.section_alignment}, {image.file_alignment}"
        if image.checksum != image.computed_checksum():
            yield f"wrong checksum {image.checksum:#x}"

    def sections(self, image: Image) -> Iterator[str]:
        for section in image.sections:
            if section.flags & EXECUTABLE and section.flags & WRITABLE:
                yield f"section {section.name} is writable and executable"
            if section.name.startswith(".debug"):
                yield f"section {section.name} is shipped"
        if image.symbol_count:
            yield f"{image.symbol_count} symbols are shipped"

    def relocations(self, built: Image) -> Iterator[str]:
        """32 bits are out of reach where the other DLL lies elsewhere in 47 bits of addresses; a hardened process makes no
        code writable."""
        for target, bits, _ in built.run_time_relocations():
            if bits != 64:
                yield f"run-time relocation of {bits} bits at {target:#x}"
            if any(section.holds(target) and section.flags & EXECUTABLE for section in built.sections):
                yield f"run-time relocation in code at {target:#x}"

    def resources(self, image: Image, name: str) -> Iterator[str]:
        resources = image.resources()
        if (VERSION, 1) not in resources:
            yield "no version"
        else:
            numbers, texts = version(resources[VERSION, 1])
            for what, number in numbers.items():
                if number != f"{self.version}.0":
                    yield f"{what} is {number}"
            wanted = {"CompanyName": "Orvan", "FileVersion": self.version, "InternalName": Path(name).stem,
                      "LegalCopyright": self.copyright, "OriginalFilename": name, "ProductName": "FCoE agent",
                      "ProductVersion": self.version}
            for what, text in wanted.items():
                if texts.get(what) != text:
                    yield f"{what} is {texts.get(what)!r}"
            if not texts.get("FileDescription"):
                yield "no FileDescription"
        if not image.program and (MANIFEST, 1) in resources:
            yield "a DLL with the manifest of a program"
        if image.program:
            yield from self.manifest(resources.get((MANIFEST, 1), b""))

    def manifest(self, text: bytes) -> Iterator[str]:
        try:
            root = xml.etree.ElementTree.fromstring(text)
        except xml.etree.ElementTree.ParseError as error:
            yield f"no manifest: {error}"
            return
        elements = {element.tag.partition("}")[2]: element for element in root.iter()}

        def says(element: str, attribute: str) -> str:
            return elements[element].get(attribute, "") if element in elements else ""

        if says("requestedExecutionLevel", "level") != "asInvoker":
            yield "the manifest does not say asInvoker"
        if says("supportedOS", "Id") != WINDOWS_10:
            yield "the manifest does not name Windows 10"
        if "longPathAware" not in elements or elements["longPathAware"].text != "true":
            yield "the manifest does not allow long paths"
        if "activeCodePage" in elements:
            yield "the manifest sets a code page"
        if says("assemblyIdentity", "version") != f"{self.version}.0":
            yield "the manifest has another version"

    def lists(self, image: Image, expected: Expected) -> Iterator[str]:
        for what, now, kept in (("import", imports_of(image), expected.imports), ("export", image.exports(), expected.exports)):
            yield from (f"new {what} {name}" for name in sorted(now - kept))
            yield from (f"{what} {name} is gone" for name in sorted(kept - now))

    def sources(self, image: Image) -> Iterator[str]:
        """A source file's name would be one of the machine that built it."""
        for name in sorted(set(re.findall(rb"[\w./\\-]+\.(?:cpp|hpp|h)\b", image.data))):
            yield f"it names {name.decode()}"

    def own(self, name: str, built: Image, shipped: Image, expected: Expected) -> Iterator[str]:
        """What is wrong with a file of the suite."""
        if any(built.times()):
            yield "it carries the time of its making"
        if not built.symbol_count:
            yield "built without symbols: its run-time relocations cannot be found"
        yield from self.relocations(built)
        yield from self.shipped(name, shipped, expected)

    def shipped(self, name: str, shipped: Image, expected: Expected) -> Iterator[str]:
        """The part of it that a file tells as it is shipped."""
        yield from self.header(shipped)
        yield from self.sections(shipped)
        if any(shipped.times()):
            yield "it carries the time of its packing"
        if len(shipped.data) > expected.size:
            yield f"{len(shipped.data)} bytes, more than {expected.size}"
        yield from self.resources(shipped, name)
        if name in HOSTS:
            yield from (f"it never calls {call}" for call in sorted(FIRST_CALLS - imports_of(shipped)))
        yield from self.lists(shipped, expected)
        yield from self.sources(shipped)

    def foreign(self, shipped: Image) -> Iterator[str]:
        """What is wrong with a file of the C++ run time."""
        yield from self.header(shipped)
        yield from self.sections(shipped)
        for dll in sorted(set(shipped.imports()) - {*RUN_TIME, "kernel32.dll", "msvcrt.dll", "advapi32.dll", "user32.dll"}):
            yield f"it needs {dll}"


def copyright_of(license_file: Path) -> str:
    return next(line for line in license_file.read_text().splitlines() if line.startswith("Copyright"))


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--version", required=True)
    parser.add_argument("--license", type=Path, required=True)
    parser.add_argument("--strip", required=True)
    parser.add_argument("--output", type=Path, required=True)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("files", type=Path, nargs="+")
    options = parser.parse_args()
    options.output.mkdir(parents=True, exist_ok=True)
    rules = Rules(options.version, copyright_of(options.license))
    wrong = [f"{file.name}: expected, but not shipped" for file in sorted(EXPECTED.glob("*.txt"))
             if file.stem not in {shipped.name for shipped in options.files}]
    for file in options.files:
        shipped, kept = Image(strip(options.strip, file, options.output / file.name)), EXPECTED / f"{file.name}.txt"
        expected = Expected.read(kept)
        if options.update:
            expected.imports, expected.exports = imports_of(shipped), shipped.exports()
            expected.size = expected.size or -(-len(shipped.data) * 5 // 4 // 50_000) * 50_000
            expected.write(kept)
        faults = [f"{file.name}: {fault}" for fault in rules.own(file.name, Image(file.read_bytes()), shipped, expected)]
        print(f"{file.name}: {len(shipped.data)} bytes, {len(faults) or 'no'} faults")
        wrong += faults
    for name in RUN_TIME:
        shipped = Image(strip(options.strip, options.files[0].parent / name, options.output / name))
        wrong += [f"{name}: {fault}" for fault in rules.foreign(shipped)]
    print("\n".join(wrong) or "nothing is wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

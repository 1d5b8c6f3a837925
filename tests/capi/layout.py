#!/usr/bin/env python3
"""Every record of the C interface has the size and the offsets that are kept, whatever compiler reads the header.

usage: layout.py --output DIR [--planted]

tests/capi/layout.txt has a line for each record, NAME SIZE, for each of its fields, NAME.FIELD OFFSET SIZE, and for each constant,
NAME VALUE; hosts that were built with it rely on them for ever, and a later version only adds lines. The header is compiled with
them as assertions by GCC, as C99 and as C++, and by clang for the targets of MSVC and mingw; and it has nothing of the kind that is
not in the list. --planted: sees instead that each slip of a list of them is found. Exit status 1 when something is wrong.
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
HEADER = ROOT / "include/FcoeAgent/fcoe_agent.h"
KEPT = Path(__file__).with_name("layout.txt")

# Freestanding: no run time of the compiler's target is needed, but the header's own stddef.h and stdint.h.
CLANG = ["clang", "-ffreestanding", "-nostdlibinc"]
COMPILERS = {
    "GCC, C99": ["x86_64-w64-mingw32-gcc-posix", "-std=c99", "-pedantic", "-xc"],
    "GCC, C++": ["x86_64-w64-mingw32-g++-posix", "-std=c++11", "-pedantic", "-xc++"],
    "clang for MSVC, C": [*CLANG, "--target=x86_64-pc-windows-msvc", "-std=c99", "-pedantic", "-xc"],
    "clang for MSVC, C++": [*CLANG, "--target=x86_64-pc-windows-msvc", "-std=c++14", "-pedantic", "-xc++"],
    "clang for mingw, C": [*CLANG, "--target=x86_64-w64-mingw32", "-std=c99", "-pedantic", "-xc"],
    "clang for MSVC on ARM64, C": [*CLANG, "--target=aarch64-pc-windows-msvc", "-std=c99", "-pedantic", "-xc"],
}


def without_comments(text: str) -> str:
    return re.sub(r"/\*.*?\*/", "", text, flags=re.S)


def fields(header: str) -> dict[str, list[str]]:
    """The fields of each record, in their order."""
    records = {}
    for name, body in re.findall(r"typedef struct (\w+) \{(.*?)\} \1;", without_comments(header), re.S):
        records[name] = [re.search(r"(\w+)(?:\[\d+\])?$", part.strip())[1]
                         for declaration in body.split(";") if declaration.strip() for part in declaration.split(",")]
    return records


def constants(header: str) -> list[str]:
    return [name for body in re.findall(r"enum \{(.*?)\}", without_comments(header), re.S) for name in re.findall(r"FCOE_\w+", body)]


def kept() -> dict[str, list[int]]:
    lines = (line.split() for line in KEPT.read_text().splitlines())
    return {name: [int(number) for number in numbers] for name, *numbers in lines}


def measures(name: str) -> list[str]:
    """The expressions whose values are kept for that name."""
    record, _, field = name.partition(".")
    if field:
        return [f"offsetof({record}, {field})", f"sizeof((({record}*)0)->{field})"]
    return [name if name.isupper() else f"sizeof({name})"]


def assertions(numbers: dict[str, list[int]]) -> str:
    """C of any age: an array of negative size where a number is another."""
    lines = ["#include <stddef.h>", f'#include "{HEADER.name}"']
    for name, kept_numbers in numbers.items():
        for i, (expression, number) in enumerate(zip(measures(name), kept_numbers, strict=True)):
            lines.append(f"typedef char kept_{name.replace('.', '_')}_{i}[{expression} == {number} ? 1 : -1];")
    return "\n".join(lines) + "\n"


def wrong(header: str, numbers: dict[str, list[int]], output: Path) -> list[str]:
    """What is wrong with a header of that text."""
    found = []
    names = {f"{record}.{field}" for record, all_fields in fields(header).items() for field in all_fields}
    names |= {*fields(header), *constants(header)}
    found += [f"{name}: not in {KEPT.name}" for name in sorted(names - set(numbers))]
    found += [f"{name}: in {KEPT.name} alone" for name in sorted(set(numbers) - names)]
    output.mkdir(parents=True, exist_ok=True)
    (output / HEADER.name).write_text(header)
    (output / "layout.c").write_text(assertions({name: number for name, number in numbers.items() if name in names}))
    for compiler, command in COMPILERS.items():
        done = subprocess.run([*command, "-Wall", "-Wextra", "-Werror", "-Wno-unused-local-typedefs", "-fsyntax-only",
                               f"-I{output}", output / "layout.c"], capture_output=True, text=True)
        if done.returncode:
            found.append(f"{compiler}: {done.stderr.strip()}")
    return found


def planted(header: str, numbers: dict[str, list[int]], output: Path) -> list[str]:
    """The slips that are not found."""
    slips = [
        ("uint32_t size;\n    uint32_t os_lun;", "uint32_t os_lun;\n    uint32_t size;"),  # two that changed places
        ("int64_t value;", "int32_t value;"),  # another size
        ("uint8_t initiator_port_bytes[8];", "uint8_t initiator_port_bytes[6];"),
        ("const fcoe_char* label;", "const fcoe_char* label;\n    const fcoe_char* unit;"),  # in the middle
        ("} fcoe_vlan;", "    uint32_t more;\n} fcoe_vlan;"),  # at the end, and not in the list
        ("typedef int32_t fcoe_status;", "typedef int32_t fcoe_status\n"),  # no C
        ("FCOE_TARGETS, FCOE_LUNS", "FCOE_LUNS, FCOE_TARGETS"),
        ("FCOE_REFUSED = 2,", "FCOE_REFUSED = 2, FCOE_LATER = 3,"),
    ]
    text = re.sub(r"[ \t]+\n", "\n", without_comments(header))
    missed = []
    for old, new in slips:
        if old not in text:
            missed.append(f"there is no {old!r} to plant a slip in")
        elif not wrong(text.replace(old, new, 1), numbers, output):
            missed.append(f"NOT FOUND: {new!r}")
    return missed + [f"without a slip: {fault}" for fault in wrong(text, numbers, output)]


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--output", type=Path, required=True)
    parser.add_argument("--planted", action="store_true")
    options = parser.parse_args()
    found = (planted if options.planted else wrong)(HEADER.read_text(), kept(), options.output.resolve())
    print("\n".join(found) or "nothing is wrong")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Writes CharacterRanges.cpp: which characters terminals show two cells wide, or on top of the one before.

usage: character_ranges.py > CharacterRanges.cpp

The source is Unicode's data as Python carries them: East Asian width W or F is wide; marks without a width of their own,
format characters and the vowels and finals of Hangul take no cell. To be run again when Python knows a newer Unicode.
"""
import unicodedata

# Wide throughout, also where nothing is assigned yet.
IDEOGRAPHS = ((0x3400, 0x4DBF), (0x4E00, 0x9FFF), (0x20000, 0x2FFFD), (0x30000, 0x3FFFD))
SOFT_HYPHEN = 0xAD


def is_wide(code: int) -> bool:
    return unicodedata.east_asian_width(chr(code)) in "WF" or any(first <= code <= last for first, last in IDEOGRAPHS)


def is_zero(code: int) -> bool:
    return (unicodedata.category(chr(code)) in ("Mn", "Me", "Cf") and code != SOFT_HYPHEN) or 0x1160 <= code <= 0x11FF


def ranges(chosen) -> list[tuple[int, int]]:
    found = []
    for code in range(0x300, 0x110000):
        if not chosen(code):
            continue
        if found and found[-1][1] == code - 1:
            found[-1] = (found[-1][0], code)
        else:
            found.append((code, code))
    return found


def table(name: str, pairs: list[tuple[int, int]]) -> str:
    cells = [f"{{0x{first:X}, 0x{last:X}}}," for first, last in pairs]
    lines, line = [], "   "
    for cell in cells:
        if len(line) + 1 + len(cell) > 120:
            lines.append(line)
            line = "   "
        line += " " + cell
    return f"constexpr CharacterRange {name}[] = {{\n" + "\n".join([*lines, line]) + "\n};\n"


print(f"""// Made by character_ranges.py from Unicode {unicodedata.unidata_version}.
#include "tools/fcoectl/CharacterRanges.h"

namespace fcoectl {{
namespace {{

// clang-format off
{table("WIDE", ranges(lambda code: is_wide(code) and not is_zero(code)))}
{table("ZERO", ranges(is_zero))}// clang-format on

}} // namespace

std::span<const CharacterRange> WideCharacters() {{
    return WIDE;
}}
std::span<const CharacterRange> ZeroWidthCharacters() {{
    return ZERO;
}}

}} // namespace fcoectl""")

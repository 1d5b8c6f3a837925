// The neighbours' bytes as text.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "FcoeAgent/HbaApi.h"
#include "tools/recording/Journal.h"

namespace recording {

// "hex:0080", as a topology has bytes.
std::string Hex(const Bytes& bytes);
// Groups of two digits with colons between.
std::string Groups(std::span<const std::uint8_t> bytes);
std::string WwnText(const HBA_WWN& wwn);
// The bytes of so many such groups, with any separator or none; none: it is something else.
std::optional<Bytes> ParseGroups(std::string_view text, std::size_t count);

// Text of the system's ANSI code page up to its terminator, in UTF-8; and back.
std::string FromAnsi(std::string_view ansi);
std::string ToAnsi(std::string_view utf8);
bool IsAscii(std::string_view text);

// What a fixed array has before its terminator.
template <std::size_t N> std::string_view InArray(const char (&array)[N]) {
    return {array, strnlen(array, N)};
}

// Whether the text is a GUID in braces.
bool IsBracedGuid(std::string_view text);

} // namespace recording

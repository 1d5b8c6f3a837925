// Recorded bytes as text: pairs of hexadecimal digits between blanks; # starts a comment.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// Throws TopologyError that names the file and the line.
std::vector<std::uint8_t> ReadHexFile(const std::filesystem::path& file);

// The digits of bytes, with or without blanks between two of them. Throws TopologyError.
std::vector<std::uint8_t> ReadHex(std::string_view text);

} // namespace sim

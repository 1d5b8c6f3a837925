// Recorded bytes as text: pairs of hexadecimal digits between blanks; # starts a comment.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace sim {

// Throws TopologyError that names the file and the line.
std::vector<std::uint8_t> ReadHexFile(const std::filesystem::path& file);

} // namespace sim

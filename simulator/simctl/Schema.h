// The JSON Schema (2020-12) of topology files, made from the description that the reader reads by.
#pragma once

#include <nlohmann/json.hpp>

namespace simctl {

nlohmann::ordered_json TopologySchema();

// A regular expression for what follows "0x" in the numbers from min to max; min is small.
std::string HexadecimalDigits(std::uint64_t min, std::uint64_t max);

} // namespace simctl

// What the product's sources say about its log.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

// Every text, with its conversions, that the agent's sources hand to the log, beside the traces.
std::set<std::string> LoggedTexts();

// Whether a text can be made of one with conversions.
bool Matches(const std::string& text, const std::string& pattern);

// The statuses of the SNIA HBA API as the public header defines them.
std::map<std::string, std::uint32_t> HeaderStatuses();

// What would be accepted in place of a value that is no number.
#pragma once

#include <nlohmann/json.hpp>

#include "simulator/topology/Format.h"

namespace sim {

// For the value that a key of a number has; empty when there is nothing to say that the refusal does not say already.
std::string Hint(const Key& key, const nlohmann::json& value);

} // namespace sim

// Compares the agent's answers with what the situation allows; see History for the rule.
#pragma once

#include <string>
#include <vector>

#include "tests/soak/History.h"

namespace soak {

// The records that one call yielded for one adapter. What is wrong with them; empty for nothing.
template <class Record> std::string Judge(const Situation& situation, const std::vector<Record>& records);

// The records that one call yielded for all adapters: whether the adapters are the ones that there were, in their
// order, and each one's records by themselves. situations: of every adapter, by its number.
template <class Record>
std::string JudgeAll(const std::vector<Situation>& situations, const std::vector<Record>& records);

} // namespace soak

// What one process that is in a world sees, for people and programs.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "simulator/control/WorldStatus.h"

namespace simctl {

// "340 host.exe: version 12 of lab.json, chosen by the variable ORVAN_SIM_TOPOLOGY", and what is wrong with it.
std::string ProcessLine(const sim::ProcessWorld& world);
nlohmann::ordered_json ProcessDocument(const sim::ProcessWorld& world);

} // namespace simctl

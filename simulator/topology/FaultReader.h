// One entry of the topology's faults, from JSON.
#pragma once

#include "simulator/topology/JsonReader.h"

namespace sim {

// topology: with its adapters, one of which the fault may name.
Fault ReadFault(const JsonValue& value, const Topology& topology);

} // namespace sim

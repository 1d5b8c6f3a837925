// Virtual-port changes as bytes, for the memory of a world. Not as JSON: the library's documents take memory when they
// go, and end the process where there is none.
#pragma once

#include <string>

#include "simulator/control/StateFile.h"

namespace sim {

std::string PackedState(const State& state);
// Of such bytes, or of none.
State UnpackedState(const std::string& bytes);

} // namespace sim

// The whole program.
#pragma once

#include <string>
#include <vector>

#include "tools/fcoectl/Output.h"

namespace fcoectl {

// Parses, runs, writes, and answers the exit code. arguments: without the program's name, UTF-8. Throws only when
// memory runs out while it writes. After Exit::TimedOut a thread is still inside the agent, and nothing of it may be
// unloaded: the process has to end at once.
[[nodiscard]] int Run(const std::vector<std::string>& arguments, Output& output);

} // namespace fcoectl

// simctl without its process: arguments in, exit code out.
#pragma once

#include <string>
#include <vector>

#include "simulator/simctl/Console.h"

namespace simctl {

// arguments: UTF-8, without the program's name.
int Run(Console& console, std::vector<std::string> arguments);

} // namespace simctl

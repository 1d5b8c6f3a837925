// What the program can do: one table feeds the command line, the help and the dispatch.
#pragma once

#include <span>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

std::span<const Command> Commands();

} // namespace fcoectl

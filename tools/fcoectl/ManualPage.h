// The manual page, made from the same tables as the help.
#pragma once

#include <span>
#include <string>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

// For man, in the language of its macros; ASCII.
std::string ManualPage(std::span<const Command> commands);

} // namespace fcoectl

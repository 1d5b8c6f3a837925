// Scripts with which shells complete fcoectl's command lines, made from its commands and options.
#pragma once

#include <span>
#include <string>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

std::string BashCompletion(std::span<const Command> commands);
std::string PowerShellCompletion(std::span<const Command> commands);

} // namespace fcoectl

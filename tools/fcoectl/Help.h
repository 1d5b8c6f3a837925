// The help: how it is laid out, and the parts that the command table does not hold.
#pragma once

#include <memory>
#include <string>

#include "tools/fcoectl/Command.h"

namespace CLI {
class FormatterBase;
}

namespace fcoectl {

std::shared_ptr<CLI::FormatterBase> MakeHelpFormatter();

// "Exit codes:" with those that the command can end with, and one example with its output.
std::string HelpFooter(const Command& command);
// The same for the program, with the options that most commands take.
std::string MainHelpFooter();

} // namespace fcoectl

// The command line: what was asked for, or the text to print instead.
#pragma once

#include <string>
#include <vector>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

struct Request {
    const Command* command = nullptr; // null: print the text
    Options options;
    std::string text;  // help or version
    std::string usage; // what is wrong with the command line; empty: nothing
    std::string hint;  // which help tells more
};

// arguments: without the program's name, UTF-8.
[[nodiscard]] Request ParseCommandLine(const std::vector<std::string>& arguments);

} // namespace fcoectl

// The command line: what was asked for, or the text to print instead.
#pragma once

#include <string>
#include <vector>

#include "tools/fcoectl/Commands.h"

namespace fcoectl {

struct Request {
    const Command* command = nullptr; // null: print the text
    Options options;
    std::string text;  // help or version
    std::string usage; // what is wrong with the command line; empty: nothing
    std::string hint;  // which help tells more
};

// arguments: without the program's name, UTF-8.
Request ParseCommandLine(const std::vector<std::string>& arguments);

// The whole program: parses, runs, writes, and answers the exit code. Throws only when memory runs out while it writes.
int Run(const std::vector<std::string>& arguments, Output& output);

} // namespace fcoectl

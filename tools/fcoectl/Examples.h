// The examples of the help: what each command prints on a machine with one adapter, and of the log of tests/data/log.
// A test runs them all.
#pragma once

#include <string_view>

namespace fcoectl {

struct Example {
    std::string_view name;    // of the command; empty: of the program
    std::string_view command; // as typed
    std::string_view output;  // whole lines
};

// Null when the command has none.
const Example* FindExample(std::string_view name);

} // namespace fcoectl

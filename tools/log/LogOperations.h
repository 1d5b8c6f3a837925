// What the traced operations call.
#pragma once

#include <string_view>

#include "tools/log/LogMessages.h"

namespace agentlog {

struct LogOperation {
    std::string_view name; // as in ENTRY and EXIT lines
    Neighbour neighbour;
    const char* function; // of the neighbour, as the simulator names it
    // Each call writes a line, of success or failure: an operation without one has not called, because the function is
    // missing or the library is not ready.
    bool answers;
};

// Null for an operation that asks no neighbour itself.
[[nodiscard]] const LogOperation* FindOperation(std::string_view name);

// Whether a host asks for it: the outermost operation of a thread, of those that the agent offers.
[[nodiscard]] bool IsRequest(std::string_view operation);

} // namespace agentlog

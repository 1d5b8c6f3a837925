// One table of all that the agent can write to its log beside the traces.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace agentlog {

// Who answers, or fails to.
enum class Neighbour { None, VendorLibrary, CoreAgent, DcbService, System };

enum class Weight {
    Progress,    // tells what is done
    Normal,      // sounds like a failure, or tells of something that is off; all is well
    Consequence, // of a problem that the log tells, or shows, before it
    Retried,     // a problem unless the same operation succeeds afterwards
    Problem,
};

// What the first argument of a message is.
enum class Argument { Other, LibraryStatus, SystemError, HResult, Adapter };

struct LogMessage {
    std::string_view pattern; // as the agent's source has it: %d, %x, %lld, %llX stand for a number, %s for a text
    Weight weight;
    Neighbour neighbour;
    // Of the neighbour, as the simulator names it; empty: of the neighbour as a whole. Null: the one that the traced
    // operation calls, see LogOperations.h.
    const char* function;
    Argument argument;
    const char* meaning;
    const char* advice; // empty where there is nothing to do
};

constexpr std::size_t MESSAGE_TABLE_LIMIT = 256; // more than it has

// In the order in which a text is compared with them.
[[nodiscard]] std::span<const LogMessage> LogMessages();

} // namespace agentlog

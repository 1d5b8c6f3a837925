// What a line of the log means.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/log/MessageTable.h"

namespace agentlog {

[[nodiscard]] const char* NameOf(Neighbour neighbour); // "vendor library" and so on; of None ""

// A text and what the table knows of it.
struct FoundMessage {
    const LogMessage* message;
    std::string_view argument; // the text of the first argument; empty: the message has none

    // The argument as the number that it is; nothing of a text.
    std::optional<std::uint32_t> Number() const;
};

// text: LogLine::text. Nothing for one that is not in the table, as of another version of the agent. Takes no memory.
[[nodiscard]] std::optional<FoundMessage> FindMessage(std::string_view text);

} // namespace agentlog

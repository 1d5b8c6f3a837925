// What `explain` knows: codes, statuses, link states, lines of the agent's log.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fcoectl {

struct Explanation {
    std::optional<std::uint32_t> code; // none of what has no number
    const char* kind;                  // "exit_code", "agent_error", "library_status", "link_state", "log_line"
    std::string name;
    std::string meaning;
    std::string advice;
    std::optional<int> exitCode; // of what this program ends with
};

// All but the log's lines.
std::vector<Explanation> AllExplanations();

// Of a number (decimal, or hexadecimal after 0x; of the agent's codes the last three digits), a name, a link status as
// the agent writes it, or a line or message of the log. A number may mean several things; nothing is unknown.
std::vector<Explanation> Explained(const std::string& wanted);

} // namespace fcoectl

// The error entries of virtual-port operations, for people.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "FcoeAgent/QelTypes.h"

namespace reading {

struct AgentError {
    std::uint32_t code;
    const char* sentence; // %1 is the entry's first argument
    const char* advice;   // what an administrator does about it
};

std::span<const AgentError> AgentErrors();
const AgentError* FindAgentError(std::uint32_t code); // null when unknown

// An entry as a sentence. UTF-8.
std::string SentenceOf(const QEL_ERROR_ENTRY& entry);
// Of a change that was refused without an entry.
inline constexpr char NO_REASON[] = "The agent refused the change without giving a reason.";
inline constexpr char NO_REASON_ADVICE[] =
    "Often the configuration lock: another change is under way. Try again later; the agent's log tells more.";

} // namespace reading

#include "tools/reading/AgentErrors.h"

#include <algorithm>

#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr AgentError AGENT_ERRORS[] = {
    {0x370000CA, "The adapter's HBA library could not generate a WWPN for the new virtual port.",
     "Check that the adapter's port is online, or choose the WWPN yourself."},
    {0x370000CB,
     "'%1' is not a valid WWPN: eight groups of two hexadecimal digits separated by colons are accepted, such as "
     "20:01:00:1B:21:AA:BB:CC.",
     "No other separators, no blanks, no one-digit groups."},
    {0x370000CC, "The adapter already has the maximum number of virtual ports.",
     "Delete one that is no longer needed first."},
    {0x370000CD, "The WWPN is already in use.", "Choose another WWPN, or 'auto'."},
    {0x370000CE, "The adapter's HBA library refused to create the virtual port '%1' without a known reason.",
     "The agent's log shows the library's status."},
    {0x370000CF,
     "The virtual port '%1' was not deleted: the adapter has no such virtual port, or the port is still in use.",
     "Compare with 'fcoectl vport list'."},
    {0x370000D6, "The WWPN belongs to a physical port of the adapter; only virtual ports can be deleted.",
     "Name a port that 'fcoectl vport list' shows."},
};

} // namespace

std::span<const AgentError> AgentErrors() {
    return AGENT_ERRORS;
}

const AgentError* FindAgentError(std::uint32_t code) {
    const auto* found = std::ranges::find(AGENT_ERRORS, code, &AgentError::code);
    return found == std::end(AGENT_ERRORS) ? nullptr : found;
}

std::string SentenceOf(const QEL_ERROR_ENTRY& entry) {
    const AgentError* known = FindAgentError(entry.ulCode);
    if (!known)
        return "The agent refused for a reason unknown to this program.";
    return Insert(known->sentence, entry.vecArguments.empty() ? "" : ToUtf8(entry.vecArguments.front()));
}

} // namespace reading

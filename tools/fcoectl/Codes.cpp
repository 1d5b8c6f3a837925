#include "tools/fcoectl/Codes.h"

#include <algorithm>

namespace fcoectl {
namespace {

constexpr ExitCode EXIT_CODES[] = {
    {Exit::Complete, EndsOf::All, "complete", "The command was carried out completely.", "Nothing to do."},
    {Exit::Partial, EndsOf::Readers, "partial", "The agent could not read everything; what it could is printed.",
     "The agent's log names the adapter and the library call that failed."},
    {Exit::Usage, EndsOf::All, "usage", "The command line is wrong; nothing was done.",
     "See 'fcoectl --help' or 'fcoectl COMMAND --help'."},
    {Exit::AgentMissing, EndsOf::AgentUsers, "agent_missing", "The agent is not installed or cannot be loaded.",
     "Check the registry value and the file that the message names, or pass --agent FILE."},
    {Exit::AgentRefused, EndsOf::AgentUsers, "agent_refused", "The agent was loaded but could not start.",
     "The message tells which registry value or module is at fault; usually the core agent is missing."},
    {Exit::AdapterUnknown, EndsOf::AgentUsers, "adapter_unknown", "The adapter is unknown, or one must be named.",
     "Pass --adapter with an identifier from 'fcoectl hbas'."},
    {Exit::AgentThrew, EndsOf::AgentUsers, "agent_threw",
     "The agent ended the call with an exception, such as exhausted memory.",
     "Free memory and try again; the agent's log shows how far it came."},
    {Exit::OutputFailed, EndsOf::All, "output_failed", "The output could not be written.",
     "Check the disk or the program that reads the output. The command itself was carried out."},
    {Exit::InvalidWWPN, EndsOf::Changers, "invalid_wwpn", "The WWPN is not valid.",
     "Write eight groups of two hexadecimal digits separated by colons, or 'auto'."},
    {Exit::WWPNInUse, EndsOf::Changers, "wwpn_in_use", "The WWPN is already in use.",
     "Choose another one, or let 'fcoectl vport create auto' generate it."},
    {Exit::PortLimit, EndsOf::Changers, "port_limit", "The adapter has no room for another virtual port.",
     "Delete one that is no longer needed ('fcoectl vport list', 'fcoectl vport delete')."},
    {Exit::PortNotFound, EndsOf::Changers, "port_not_found",
     "The virtual port was not deleted: not found, or still in use.",
     "Compare with 'fcoectl vport list'; close what uses the port."},
    {Exit::PhysicalPort, EndsOf::Changers, "physical_port",
     "The WWPN belongs to a physical port, which cannot be deleted.", "Name a port that 'fcoectl vport list' shows."},
    {Exit::NotGenerated, EndsOf::Changers, "not_generated", "The adapter's HBA library generated no WWPN.",
     "Check that the adapter's port is online ('fcoectl hbas'), or choose the WWPN yourself."},
    {Exit::LibraryRefused, EndsOf::Changers, "library_refused",
     "The adapter's HBA library refused without a known reason.", "The agent's log shows the library's status."},
    {Exit::Refused, EndsOf::Changers, "refused", "The agent refused without giving a reason.",
     "Often the configuration lock: another change is under way. Try again later; the agent's log tells more."},
};

constexpr AgentError AGENT_ERRORS[] = {
    {0x370000CA, Exit::NotGenerated, "The adapter's HBA library could not generate a WWPN for the new virtual port.",
     "Check that the adapter's port is online, or choose the WWPN yourself."},
    {0x370000CB, Exit::InvalidWWPN,
     "'%1' is not a valid WWPN: eight groups of two hexadecimal digits separated by colons are accepted, such as "
     "20:01:00:1B:21:AA:BB:CC.",
     "No other separators, no blanks, no one-digit groups."},
    {0x370000CC, Exit::PortLimit, "The adapter already has the maximum number of virtual ports.",
     "Delete one that is no longer needed first."},
    {0x370000CD, Exit::WWPNInUse, "The WWPN is already in use.", "Choose another WWPN, or 'auto'."},
    {0x370000CE, Exit::LibraryRefused,
     "The adapter's HBA library refused to create the virtual port '%1' without a known reason.",
     "The agent's log shows the library's status."},
    {0x370000CF, Exit::PortNotFound,
     "The virtual port '%1' was not deleted: the adapter has no such virtual port, or the port is still in use.",
     "Compare with 'fcoectl vport list'."},
    {0x370000D6, Exit::PhysicalPort,
     "The WWPN belongs to a physical port of the adapter; only virtual ports can be deleted.",
     "Name a port that 'fcoectl vport list' shows."},
};

} // namespace

std::span<const ExitCode> ExitCodes() {
    return EXIT_CODES;
}
std::span<const AgentError> AgentErrors() {
    return AGENT_ERRORS;
}

const ExitCode& Describe(Exit exit) {
    return *std::ranges::find(EXIT_CODES, exit, &ExitCode::value);
}

const AgentError* FindAgentError(std::uint32_t code) {
    const auto* found = std::ranges::find(AGENT_ERRORS, code, &AgentError::code);
    return found == std::end(AGENT_ERRORS) ? nullptr : found;
}

} // namespace fcoectl

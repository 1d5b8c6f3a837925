#include "tools/fcoectl/Codes.h"

#include <algorithm>

#include "tools/reading/VendorLibrary.h"

namespace fcoectl {
namespace {

constexpr ExitCode EXIT_CODES[] = {
    {Exit::Complete, ENDS_ANY, "complete", "The command was carried out completely.", "Nothing to do."},
    {Exit::Partial, ENDS_READER | ENDS_CREATION | ENDS_DELETION | ENDS_RESCAN, reading::PARTIAL_NAME,
     reading::PARTIAL_MEANING,
     "Each problem names the adapter, what failed and what to do; with --tolerant the exit code is 0."},
    {Exit::Usage, ENDS_ANY, "usage", "The command line is wrong; nothing was done.",
     "See 'fcoectl --help' or 'fcoectl COMMAND --help'."},
    {Exit::AgentMissing, ENDS_AGENT_USER, "agent_missing", "The agent is not installed or cannot be loaded.",
     "Check the registry value and the file that the message names; the agent starts from no other file."},
    {Exit::AgentRefused, ENDS_AGENT_USER, "agent_refused", "The agent was loaded but could not start.",
     "The message tells which registry value or module is at fault; usually the core agent is missing."},
    {Exit::AdapterUnknown, ENDS_AGENT_USER, "adapter_unknown", "The adapter is unknown, or one must be named.",
     "Pass --adapter with a number or a name from 'fcoectl hbas'."},
    {Exit::AgentThrew, ENDS_AGENT_USER, "agent_threw",
     "The agent ended the call with an exception, such as exhausted memory.",
     "Free memory and try again; the agent's log shows how far it came."},
    {Exit::OutputFailed, ENDS_ANY, "output_failed", "The output could not be written.",
     "Check the disk or the program that reads the output. The command itself was carried out."},
    {Exit::TimedOut, ENDS_AGENT_USER, "timed_out", "The agent did not answer within the time of --timeout.",
     "The agent's log shows which call hangs. Whether a change was carried out is not known: look."},
    {Exit::LogUnreadable, ENDS_LOG_READER, "log_unreadable", "The log cannot be read, or lacks what was asked for.",
     "The message names the file; --file reads another one."},
    {Exit::InvalidWWPN, ENDS_CREATION | ENDS_DELETION, "invalid_wwpn", "The WWPN is not valid.",
     "Write sixteen hexadecimal digits, with colons after each two or without, or 'auto'."},
    {Exit::WWPNInUse, ENDS_CREATION, "wwpn_in_use", "The WWPN is already in use.",
     "Choose another one, or let 'fcoectl vport create auto' generate it."},
    {Exit::PortLimit, ENDS_CREATION, "port_limit", "The adapter has no room for another virtual port.",
     "Delete one that is no longer needed ('fcoectl vport list', 'fcoectl vport delete')."},
    {Exit::PortNotFound, ENDS_DELETION, "port_not_found",
     "The virtual port was not deleted: not found, or still in use.",
     "Compare with 'fcoectl vport list'; close what uses the port."},
    {Exit::PhysicalPort, ENDS_DELETION, "physical_port",
     "The WWPN belongs to a physical port, which cannot be deleted.", "Name a port that 'fcoectl vport list' shows."},
    {Exit::NotGenerated, ENDS_CREATION | ENDS_GENERATION, "not_generated", reading::NOT_GENERATED,
     "Check that the adapter's port is online ('fcoectl hbas'), or choose the WWPN yourself."},
    {Exit::LibraryRefused, ENDS_CREATION | ENDS_RESCAN, "library_refused",
     "The adapter's HBA library refused without a known reason.", "The agent's log shows the library's status."},
    {Exit::Refused, ENDS_CREATION | ENDS_DELETION, "refused", "The agent refused without giving a reason.",
     reading::NO_REASON_ADVICE},
};

struct ErrorExit {
    std::uint32_t code; // of an AgentError
    Exit exit;
};

constexpr ErrorExit ERROR_EXITS[] = {
    {0x370000CA, Exit::NotGenerated}, {0x370000CB, Exit::InvalidWWPN},    {0x370000CC, Exit::PortLimit},
    {0x370000CD, Exit::WWPNInUse},    {0x370000CE, Exit::LibraryRefused}, {0x370000CF, Exit::PortNotFound},
    {0x370000D6, Exit::PhysicalPort},
};

} // namespace

std::span<const ExitCode> ExitCodes() {
    return EXIT_CODES;
}

const ExitCode& Describe(Exit exit) {
    return *std::ranges::find(EXIT_CODES, exit, &ExitCode::value);
}

Exit ExitOf(std::uint32_t error) {
    const auto* found = std::ranges::find(ERROR_EXITS, error, &ErrorExit::code);
    return found == std::end(ERROR_EXITS) ? Exit::Refused : found->exit;
}

} // namespace fcoectl

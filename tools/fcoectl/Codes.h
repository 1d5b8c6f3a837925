// The program's exit codes: one table for messages, help, `explain` and JSON.
#pragma once

#include <cstdint>
#include <span>

#include "tools/fcoectl/Text.h"
#include "tools/reading/AgentErrors.h"
#include "tools/reading/Report.h"

namespace fcoectl {

// Below 256, since some shells keep no more of an exit code.
enum class Exit : int {
    Complete = 0,
    Partial = reading::PARTIAL_EXIT_CODE,
    Usage = 2,
    AgentMissing = 3,
    AgentRefused = 4,
    AdapterUnknown = 5,
    AgentThrew = 6,
    OutputFailed = 7,
    TimedOut = 8,
    LogUnreadable = 9,
    InvalidWWPN = 10,
    WWPNInUse = 11,
    PortLimit = 12,
    PortNotFound = 13,
    PhysicalPort = 14,
    NotGenerated = 15,
    LibraryRefused = 16,
    Refused = 17,
};

// Which commands can end with a code; combined.
enum Ends : unsigned {
    ENDS_ANY = 1,
    ENDS_AGENT_USER = 2,
    ENDS_READER = 4,
    ENDS_CREATION = 8, // of a virtual port
    ENDS_DELETION = 16,
    ENDS_GENERATION = 32, // of a port name
    ENDS_RESCAN = 64,
    ENDS_LOG_READER = 128,
    ENDS_ALL = 255,
};

struct ExitCode {
    Exit value;
    unsigned ends;
    const char* name;    // for JSON
    const char* meaning; // one line
    const char* advice;  // what an administrator does about it
};

std::span<const ExitCode> ExitCodes();

const ExitCode& Describe(Exit exit);
// Of a command that an error entry of the agent ended.
Exit ExitOf(std::uint32_t error);

} // namespace fcoectl

// A command as the command line, the help and the dispatch see it, and what it gets when it runs.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "tools/fcoectl/Output.h"
#include "tools/fcoectl/Report.h"

namespace fcoectl {

class Agent;
struct Adapter;

struct Options {
    std::string agentFile;     // empty: the registered one
    std::string libraryFolder; // --library-dir; empty: where the system finds the HBA library
    std::string adapter;       // empty: all, or the only one
    bool json = false;
    bool blocks = false; // --long
    bool ascii = false;
    std::string wwpn = "auto";
    std::string code;            // what `explain` explains; empty: all codes
    std::optional<double> watch; // seconds between two readings of the counters
    unsigned count = 0;          // readings of --watch; 0: until Ctrl+C
};

struct Context {
    const Options& options;
    Output& output;
    Report& report;
};

// Of a command that works with the agent: loaded, and the adapter chosen.
struct AgentContext : Context {
    Agent& agent;
    const Adapter& adapter;
};

// What a command takes; combined.
enum Takes : unsigned {
    TAKES_AGENT = 1,   // --agent: it loads the agent, or tells of it
    TAKES_ADAPTER = 2, // --adapter, all adapters without it
    TAKES_ONE = 4,     // --adapter, needed when there are several
    TAKES_LONG = 8,    // --long
    TAKES_ASCII = 16,  // --ascii
    TAKES_WATCH = 32,  // --watch, --count
    TAKES_NEW = 64,    // a new port's WWPN or auto
    TAKES_PORT = 128,  // an existing port's WWPN
    TAKES_CODE = 256,  // an error or exit code
};

using Action = void (*)(Context&);
using AgentAction = void (*)(AgentContext&);

struct Command {
    const char* name; // its words
    const char* purpose;
    unsigned takes;
    const char* list; // JSON member that is there even when the command fails; null: none
    std::variant<Action, AgentAction> run;
};

// Those that take an adapter load the agent.
constexpr bool LoadsAgent(unsigned takes) {
    return (takes & (TAKES_ADAPTER | TAKES_ONE)) != 0;
}

} // namespace fcoectl

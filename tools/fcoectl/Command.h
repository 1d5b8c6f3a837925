// A command as the command line, the help and the dispatch see it, and what it gets when it runs.
#pragma once

#include <span>
#include <string>
#include <variant>
#include <vector>

#include "tools/fcoectl/Options.h"
#include "tools/fcoectl/Output.h"
#include "tools/fcoectl/Report.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/Sheet.h"

namespace reading {
class Mask;
}

namespace fcoectl {

class Agent;
struct Adapter;
class TimeLimit;

struct Command;

// What commands that tell of the program itself need of it.
struct Program {
    std::span<const Command> commands;
    std::string (*helpOf)(const std::vector<std::string>& words); // throws Failure when there is no such command
};

struct Context {
    const Program& program;
    const Options& options;
    Output& output;
    Report& report;
    TimeLimit& limit;    // of the call that is under way
    reading::Mask* mask; // learns the names that are read; null: nothing is masked
    bool isPart = false; // of another command, which says itself what is worth a note of its lists
};

// Of a command that works with the agent: loaded, and the adapter chosen.
struct AgentContext : Context {
    Agent& agent;
    const Adapter& adapter; // its identifier is empty for all
};

// What a command takes; combined.
enum Takes : unsigned {
    TAKES_NOTHING = 0,
    TAKES_AGENT = 1,      // --agent: it loads the agent, or tells of it
    TAKES_ADAPTER = 2,    // --adapter, all adapters without it
    TAKES_ONE = 4,        // --adapter, needed when there are several
    TAKES_LIST = 8,       // what lists take: forms, columns, conditions
    TAKES_ASCII = 16,     // --ascii
    TAKES_WATCH = 32,     // --watch, --count
    TAKES_NEW = 64,       // a new port's WWPN or auto
    TAKES_PORT = 128,     // an existing port's WWPN; --adapter, the adapter that has the port without it
    TAKES_CODE = 256,     // what `explain` explains
    TAKES_ALL = 512,      // --all
    TAKES_DRY_RUN = 1024, // --dry-run
    TAKES_TOPIC = 2048,   // the words of a command, or none
    TAKES_SHELL = 4096,   // the name of a shell
    // Of the log's commands.
    TAKES_LOG_FILE = 1 << 16, // --file
    TAKES_FOLLOW = 1 << 17,   // --follow, --count: the last so many
    TAKES_TOP = 1 << 18,      // --count: the first so many
    TAKES_REQUEST = 1 << 19,  // a request's number
    TAKES_OUTPUT = 1 << 20,   // --output
    TAKES_METRICS = 1 << 23,  // --openmetrics
    TAKES_FILE = 1 << 22,     // the name of a file to write; it loads the agent itself
    TAKES_LIBRARY = 1 << 21,  // --library-dir and --timeout, of a command that loads the agent itself
};

// Those that take an adapter load the agent.
inline constexpr unsigned LOADS_AGENT = TAKES_ADAPTER | TAKES_ONE | TAKES_PORT;

constexpr bool LoadsAgent(unsigned takes) {
    return (takes & LOADS_AGENT) != 0;
}

using Action = void (*)(Context&);
using AgentAction = void (*)(AgentContext&);

struct Command {
    const char* name; // its words
    const char* purpose;
    unsigned takes;
    const char* list; // JSON member that is there even when the command fails; null: none
    std::variant<Action, AgentAction> run;
    SheetColumns (*columns)(const Options&) = nullptr; // of a command that takes what lists take
};

} // namespace fcoectl

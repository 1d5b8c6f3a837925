#include "tools/fcoectl/OptionTable.h"

#include <algorithm>

namespace fcoectl {
namespace {

constexpr char ADAPTER[] = "Adapter";
constexpr char OUTPUT[] = "Output";
constexpr char WATCHING[] = "Watching";
constexpr char AGENT[] = "Agent";
constexpr char CHANGE[] = "Change";
constexpr char LOG[] = "Log";

constexpr Option OPTIONS[] = {
    {TAKES_ADAPTER, "--adapter", ValueOf::Needed, "ADAPTER",
     "Only this adapter: its number in 'fcoectl hbas', its name or a part that no other has, its port WWN, or its "
     "device identifier with or without braces (default: all)",
     ADAPTER, nullptr, &Typed::adapter},
    {TAKES_ONE, "--adapter", ValueOf::Needed, "ADAPTER",
     "The adapter: its number in 'fcoectl hbas', its name or a part that no other has, its port WWN, or its device "
     "identifier with or without braces (default: the only one; needed when there are several)",
     ADAPTER, nullptr, &Typed::adapter},
    {TAKES_PORT, "--adapter", ValueOf::Needed, "ADAPTER",
     "The adapter: its number in 'fcoectl hbas', its name or a part that no other has, its port WWN, or its device "
     "identifier with or without braces (default: the one that has the port)",
     ADAPTER, nullptr, &Typed::adapter},
    {TAKES_ALL, "--all", ValueOf::Flag, "", "Every adapter, one after the other (default: one adapter)", ADAPTER,
     nullptr, &Typed::all},
    {TAKES_DRY_RUN, "--dry-run", ValueOf::Flag, "",
     "Check what can be checked without a change, and say what would be done (default: do it)", CHANGE, nullptr,
     &Typed::dryRun},
    {TAKES_WATCH, "--watch", ValueOf::Optional, "SECONDS",
     "Read again and again, and show rates; seconds between two readings (default: 5)", WATCHING, nullptr,
     &Typed::watch},
    {TAKES_WATCH, "--count", ValueOf::Needed, "N", "End after that many readings (default: at Ctrl+C)", WATCHING,
     nullptr, &Typed::count},
    {TAKES_LOG_FILE, "--file", ValueOf::Needed, "FILE", "Read this log (default: the one that the agent wrote last)",
     LOG, nullptr, &Typed::file},
    {TAKES_FOLLOW, "--follow", ValueOf::Flag, "",
     "Go on while the log grows, a line for each request that ends (default: up to the log's end)", LOG, nullptr,
     &Typed::follow},
    {TAKES_FOLLOW, "-n,--count", ValueOf::Needed, "N",
     "The last so many; with --follow end after so many (default: 1000; with --follow at Ctrl+C)", LOG, nullptr,
     &Typed::count},
    {TAKES_TOP, "-n,--count", ValueOf::Needed, "N", "At most so many (default: 1000)", LOG, nullptr, &Typed::count},
    {TAKES_NOTHING, "--json", ValueOf::Flag, "", "One JSON document instead of text (default: text)", OUTPUT, nullptr,
     &Typed::json},
    {TAKES_NOTHING, "--mask", ValueOf::Flag, "",
     "Stand-ins for names, serial numbers, World Wide Names and other addresses, the same in every output (default: as "
     "they are)",
     OUTPUT, nullptr, &Typed::mask},
    {TAKES_ADAPTER, "--tolerant", ValueOf::Flag, "",
     "Exit code 0 although something could not be read; it is told all the same (default: 1)", OUTPUT, nullptr,
     &Typed::tolerant},
    {TAKES_OUTPUT, "--output", ValueOf::Needed, "FILE", "Write to this file, in one step (default: standard output)",
     OUTPUT, nullptr, &Typed::output},
    {TAKES_METRICS, "--openmetrics", ValueOf::Flag, "",
     "OpenMetrics 1.0 (default: the text format of Prometheus, which textfile collectors read)", OUTPUT, nullptr,
     &Typed::openMetrics},
    {TAKES_LIST, "--long", ValueOf::Flag, "", "Every field, one a line (default: a table)", OUTPUT, nullptr,
     &Typed::blocks},
    {TAKES_LIST, "-o,--format", ValueOf::Needed, "FORM",
     "table, long, csv, tsv, json (as --json), or jsonl: a JSON object a line (default: table)", OUTPUT,
     "table long csv tsv json jsonl", &Typed::form},
    {TAKES_LIST, "--columns", ValueOf::Needed, "A,B",
     "These columns in this order, named by their keys in JSON or their titles (default: those of a table; all in the "
     "other forms)",
     OUTPUT, nullptr, &Typed::columns},
    {TAKES_LIST, "--sort", ValueOf::Needed, "[-]A,B",
     "Sort by these columns, each descending after a minus (default: the agent's order)", OUTPUT, nullptr,
     &Typed::sort},
    {TAKES_LIST, "--where", ValueOf::Needed, "A=VALUE",
     "Only rows whose column A has this value, in any letter case; * stands for any text, ? for one character; may be "
     "given several times (default: all rows)",
     OUTPUT, nullptr, &Typed::where},
    {TAKES_LIST, "--no-header", ValueOf::Flag, "", "No names of columns: of table, csv and tsv (default: with them)",
     OUTPUT, nullptr, &Typed::noHeader},
    {TAKES_ASCII, "--ascii", ValueOf::Flag, "", "Draw with ASCII characters (default: box characters)", OUTPUT, nullptr,
     &Typed::ascii},
    {TAKES_AGENT, "--agent", ValueOf::Needed, "FILE", "Load this agent module (default: the registered one)", AGENT,
     nullptr, &Typed::agent},
    {LOADS_AGENT | TAKES_LIBRARY, "--library-dir", ValueOf::Needed, "DIR",
     "Take the HBA library orvanhapi.dll from this folder (default: beside the agent or the program, or the system's)",
     AGENT, nullptr, &Typed::libraryFolder},
    {LOADS_AGENT | TAKES_LIBRARY, "--timeout", ValueOf::Needed, "SECONDS",
     "End when the agent does not answer within that time (default: wait as long as it takes)", AGENT, nullptr,
     &Typed::timeout},
};

constexpr int MANY_WORDS = 1000;

constexpr Argument ARGUMENTS[] = {
    {TAKES_NEW, "WWPN", 0, 1,
     "Name of the new port, such as 20:01:00:1B:21:AA:BB:CC or 2001001b21aabbcc, or auto to have one generated "
     "(default: auto)"},
    {TAKES_PORT, "WWPN", 1, 1, "Name of the port to delete, with or without colons"},
    {TAKES_CODE, "WHAT", 0, MANY_WORDS,
     "A number, decimal or 0x hexadecimal; of the agent's codes the last three digits suffice. Or a name, a link "
     "status, a line of the agent's log (default: all codes)"},
    {TAKES_REQUEST, "NUMBER", 1, 1, "The request's number, as 'fcoectl log requests' has it"},
    {TAKES_TOPIC, "COMMAND", 0, 2, "The command to tell of (default: the program as a whole)"},
    {TAKES_SHELL, "SHELL", 1, 1, "bash or powershell"},
    {TAKES_FILE, "FILE", 1, 1, "The file to write, in one step"},
};

} // namespace

std::span<const Option> OptionTable() {
    return OPTIONS;
}

const Argument* ArgumentOf(const Command& command) {
    const auto* found =
        std::ranges::find_if(ARGUMENTS, [&](const Argument& argument) { return command.takes & argument.takes; });
    return found == std::end(ARGUMENTS) ? nullptr : found;
}

bool Has(const Command& command, const Option& option) {
    return option.takes == TAKES_NOTHING || (command.takes & option.takes);
}

const Option* FindOption(std::string_view name) {
    const auto* found = std::ranges::find_if(OPTIONS, [&](const Option& option) {
        const std::string_view names = option.names;
        const auto comma = names.find(',');
        return names.substr(0, comma) == name || names.substr(comma + 1) == name;
    });
    return found == std::end(OPTIONS) ? nullptr : found;
}

std::string LongName(const Option& option) {
    const std::string_view names = option.names;
    return std::string(names.substr(names.rfind("--")));
}

} // namespace fcoectl

#include "tools/fcoectl/Commands.h"

#include <algorithm>

#include "FcoeAgent/FcoeRecords.h"
#include "tools/fcoectl/ChangeCommands.h"
#include "tools/fcoectl/Disks.h"
#include "tools/fcoectl/Explain.h"
#include "tools/fcoectl/HelpCommands.h"
#include "tools/fcoectl/ListCommands.h"
#include "tools/fcoectl/LogCommands.h"
#include "tools/fcoectl/MetricsCommand.h"
#include "tools/fcoectl/RecordCommand.h"
#include "tools/fcoectl/Statistics.h"
#include "tools/fcoectl/diagnose/Diagnose.h"
#include "tools/fcoectl/doctor/Doctor.h"
#include "tools/fcoectl/report/ReportCommand.h"
#include "tools/reading/Records.h"

namespace fcoectl {
namespace {

constexpr unsigned LISTING = TAKES_AGENT | TAKES_ADAPTER | TAKES_LIST;
constexpr unsigned ONE = TAKES_AGENT | TAKES_ONE;

template <class Record> SheetColumns RecordColumns(const Options&) {
    return ColumnsOf<Record>();
}

constexpr Command COMMANDS[] = {
    {"hbas", "List the FCoE adapter ports (HBAs).", LISTING, "hbas", ListHBAs, HbaColumns},
    {"fabrics", "List the fabrics that the adapters see, physical and virtual.", LISTING, "fabrics",
     List<QEL_FCOE_FABRIC>, RecordColumns<QEL_FCOE_FABRIC>},
    {"ports", "List the Fibre Channel ports of the adapters, physical and virtual.", LISTING, "ports",
     List<QEL_FCOE_PORT>, RecordColumns<QEL_FCOE_PORT>},
    {"targets", "List the targets that the ports reach.", LISTING, "targets", List<QEL_FCOE_TARGET>,
     RecordColumns<QEL_FCOE_TARGET>},
    {"luns", "List the logical units behind the targets.", LISTING, "luns", List<QEL_FCOE_LUN>,
     RecordColumns<QEL_FCOE_LUN>},
    {"disks", "List the disks of the operating system, each with the paths that lead to it.", LISTING, "disks",
     ListDisks, DiskColumns},
    {"vlans", "List the VLANs on which FCoE runs.", LISTING, "vlans", List<QEL_FCOE_VLAN>,
     RecordColumns<QEL_FCOE_VLAN>},
    {"stats", "Show the counters of the adapter ports, or their rates.", LISTING | TAKES_WATCH, "statistics",
     ShowStatistics, StatisticColumns},
    {"tree", "Show each adapter with its fabrics, ports, targets and LUNs.", TAKES_AGENT | TAKES_ADAPTER | TAKES_ASCII,
     "adapters", ShowTree},
    {"dcb", "Tell whether DCB makes each adapter's link fit for FCoE, and what to do if not.", LISTING, "links",
     ShowLinks, LinkColumns},
    {"vport list", "List the NPIV virtual ports.", LISTING, "ports", ListVPorts, RecordColumns<QEL_FCOE_PORT>},
    {"vport create", "Create an NPIV virtual port.", ONE | TAKES_NEW | TAKES_DRY_RUN, nullptr, CreateVPort},
    {"vport delete", "Delete an NPIV virtual port.", TAKES_AGENT | TAKES_PORT | TAKES_DRY_RUN, nullptr, DeleteVPort},
    {"wwpn", "Generate an unused port name without creating a port.", ONE, nullptr, GenerateWWPN},
    {"rescan", "Have an adapter look for its targets again.", ONE | TAKES_ALL | TAKES_DRY_RUN, nullptr, Rescan},
    {"doctor", "Check the installation, the neighbours and each adapter, and tell what to do.",
     TAKES_AGENT | TAKES_LIBRARY, "checks", Examine},
    {"report", "Write one page of everything that can be read, to look at and to mail.",
     TAKES_AGENT | TAKES_ADAPTER | TAKES_FILE, nullptr, WriteReport},
    {"diagnose",
     "Pack the report, the agent's logs, registry values, versions and a recording into one file, to mail it.",
     TAKES_AGENT | TAKES_ADAPTER | TAKES_FILE, nullptr, Diagnose},
    {"record",
     "Record what the agent's neighbours answer as a topology of the simulated suite, to play this machine back.",
     TAKES_AGENT | TAKES_LIBRARY | TAKES_FILE, nullptr, Record},
    {"metrics", "Write counters, link states and numbers of records for Prometheus and what reads its format.",
     TAKES_AGENT | TAKES_ADAPTER | TAKES_OUTPUT | TAKES_METRICS, nullptr, WriteMetrics},
    {"log requests", "List what hosts asked the agent for, one line each.", TAKES_LOG_FILE | TAKES_FOLLOW | TAKES_LIST,
     "requests", ListLogRequests, RequestColumns},
    {"log request", "Show the calls of one request, how long they took and what the library answered.",
     TAKES_LOG_FILE | TAKES_REQUEST, "calls", ShowLogRequest},
    {"log problems", "Tell what is wrong in the log, and what to do; what is normal is left out.",
     TAKES_LOG_FILE | TAKES_TOP | TAKES_LIST, "problems", ListLogProblems, ProblemColumns},
    {"log slow", "Tell where the time goes: the operations that took longest themselves.",
     TAKES_LOG_FILE | TAKES_TOP | TAKES_LIST, "operations", ListSlowCalls, SlowColumns},
    {"log timeline", "Write the log as Trace Event JSON, for the viewers of Chrome and Perfetto.",
     TAKES_LOG_FILE | TAKES_OUTPUT, nullptr, WriteLogTimeline},
    {"explain", "Explain a code of the agent or of this program, an HBA status, a link state or a line of the log.",
     TAKES_CODE | TAKES_LIST, "codes", ExplainCodes, CodeColumns},
    {"help", "Show the help of the program or of a command.", TAKES_TOPIC, nullptr, ShowHelp},
    {"completion", "Print the script with which bash or PowerShell completes command lines.", TAKES_SHELL, nullptr,
     ShowCompletion},
    {"schema", "Print the JSON Schema of a command's document, or which there are.", TAKES_TOPIC, nullptr, ShowSchema},
    {"man", "Print the manual page.", TAKES_NOTHING, nullptr, ShowManualPage},
    {"version", "Show the versions of this program and of the agent.", TAKES_AGENT, nullptr, ShowVersion},
};

// What a command is said to take is what it gets.
static_assert(std::ranges::all_of(COMMANDS, [](const Command& command) {
    return std::holds_alternative<AgentAction>(command.run) ==
           (LoadsAgent(command.takes) && !(command.takes & TAKES_FILE));
}));

} // namespace

std::span<const Command> Commands() {
    return COMMANDS;
}

} // namespace fcoectl

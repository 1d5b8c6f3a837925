#include "tools/fcoectl/Commands.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Explain.h"
#include "tools/fcoectl/LinkStatus.h"
#include "tools/fcoectl/Registry.h"
#include "tools/fcoectl/Statistics.h"
#include "tools/fcoectl/Table.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/Tree.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr ULONG FIRST_VIRTUAL_PORT_TYPE = 2;

CQelString Wide(const std::string& text) {
    CQelString wide;
    wide = FromUtf8(text);
    return wide;
}

// The records in the form that was asked for.
template <class Record> void Show(Context& context, const std::vector<Record>& records) {
    const char* list = Describe<Record>().list;
    if (context.options.json) {
        Json array = Json::array();
        for (const Record& record : records)
            array.push_back(ToJson(record));
        context.report.body[list] = std::move(array);
    } else {
        context.output.Write(context.options.blocks ? BlocksOf(records) : TableOf(records));
    }
    if (records.empty() && context.report.complete)
        context.report.notes.push_back(fmt::format("The agent knows no {}.", list));
}

template <class Record> Reading<Record> ReadChosen(Context& context, Agent& agent) {
    Reading<Record> reading = agent.Read<Record>(ChooseAdapter(agent, context.options.adapter, Need::Any).id);
    context.report.complete = reading.complete;
    return reading;
}

template <class Record> void List(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    Show(context, ReadChosen<Record>(context, agent).records);
}

// An adapter that the library could not read gives a record without texts.
std::vector<QEL_FCOE_HBA> ReadHBAs(Context& context, Agent& agent) {
    std::vector<QEL_FCOE_HBA> hbas = ReadChosen<QEL_FCOE_HBA>(context, agent).records;
    const auto unread = std::ranges::count_if(hbas, [](const auto& hba) { return hba.strDeviceId.empty(); });
    if (unread > 0)
        context.report.notes.push_back(fmt::format("{} adapter{} could not be read and {} an empty record. {}", unread,
                                                   unread == 1 ? "" : "s", unread == 1 ? "has" : "have", LogHint()));
    if (hbas.empty() && context.report.complete)
        context.report.notes.push_back("FCoE is not installed, or the core agent knows no adapter that supports it.");
    return hbas;
}

void ListHBAs(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    Show(context, ReadHBAs(context, agent));
}

void ListVPorts(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    std::vector<QEL_FCOE_PORT> ports = ReadChosen<QEL_FCOE_PORT>(context, agent).records;
    std::erase_if(ports, [](const auto& port) { return port.ulPortType < FIRST_VIRTUAL_PORT_TYPE; });
    Show(context, ports);
}

void ShowTree(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    const CQelString adapter = ChooseAdapter(agent, context.options.adapter, Need::Any).id;
    const auto read = [&]<class Record>(std::vector<Record>& records) {
        Reading<Record> reading = agent.Read<Record>(adapter);
        records = std::move(reading.records);
        if (!reading.complete) {
            context.report.complete = false;
            context.report.notes.push_back(fmt::format("The {} are not complete.", Describe<Record>().list));
        }
    };
    Lists lists;
    read(lists.hbas);
    read(lists.fabrics);
    read(lists.ports);
    read(lists.targets);
    read(lists.luns);
    const auto tree = BuildTree(lists);
    if (context.options.json)
        context.report.body["adapters"] = TreeToJson(tree);
    else
        context.output.Write(DrawTree(tree, context.options.ascii));
    if (tree.empty() && context.report.complete)
        context.report.notes.push_back("FCoE is not installed, or the core agent knows no adapter that supports it.");
}

void ShowLinks(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    Table table({{"NAME"}, {"DEVICE ID"}, {"FCOE LINK STATUS"}, {"MEANING"}});
    Json links = Json::array();
    for (const QEL_FCOE_HBA& hba : ReadHBAs(context, agent)) {
        const LinkStatus link = ExplainLinkStatus(hba.strFcoeLinkStatus);
        table.Add({ToUtf8(hba.strSecondId), ToUtf8(hba.strDeviceId), ToUtf8(hba.strFcoeLinkStatus), link.meaning});
        links.push_back({{"device_id", ToUtf8(hba.strDeviceId)},
                         {"second_id", ToUtf8(hba.strSecondId)},
                         {"fcoe_link_status", ToUtf8(hba.strFcoeLinkStatus)},
                         {"state", link.state},
                         {"meaning", link.meaning}});
    }
    if (context.options.json)
        context.report.body["links"] = std::move(links);
    else
        context.output.Write(table.Text());
}

// The adapter's identifier in the document, and the line for people.
void ShowDone(Context& context, const Adapter& adapter, const char* what, const CQelString& wwpn) {
    context.report.body["adapter"] = ToUtf8(adapter.id);
    if (!wwpn.empty())
        context.report.body["port_wwn"] = ToUtf8(wwpn);
    if (context.options.json)
        return;
    const std::string port = wwpn.empty() ? "" : fmt::format(" virtual port {}", Printable(ToUtf8(wwpn)));
    context.output.Write(fmt::format("{}{} on {}\n", what, port, adapter.Label()));
}

void CreateVPort(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    const Adapter adapter = ChooseAdapter(agent, context.options.adapter, Need::One);
    CQelString wwpn = Wide(context.options.wwpn);
    agent.CreateVPort(adapter.id, wwpn);
    ShowDone(context, adapter, "Created", wwpn);
}

void DeleteVPort(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    const Adapter adapter = ChooseAdapter(agent, context.options.adapter, Need::One);
    const CQelString wwpn = Wide(context.options.wwpn);
    agent.DeleteVPort(adapter.id, wwpn);
    ShowDone(context, adapter, "Deleted", wwpn);
}

// The name alone on its line, for scripts that take it from there.
void GenerateWWPN(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    const Adapter adapter = ChooseAdapter(agent, context.options.adapter, Need::One);
    const CQelString wwpn = agent.GenerateWWPN(adapter.id);
    context.report.body["adapter"] = ToUtf8(adapter.id);
    context.report.body["port_wwn"] = ToUtf8(wwpn);
    if (!context.options.json)
        context.output.Write(Printable(ToUtf8(wwpn)) + '\n');
}

void Rescan(Context& context) {
    Agent agent(FromUtf8(context.options.agentFile));
    const Adapter adapter = ChooseAdapter(agent, context.options.adapter, Need::One);
    agent.RefreshTargets(adapter.id);
    ShowDone(context, adapter, "Rescanned the targets", {});
}

constexpr unsigned LISTING = TAKES_AGENT | TAKES_ADAPTER | TAKES_LONG;
constexpr unsigned CHANGING = TAKES_AGENT | TAKES_ONE;

constexpr Command COMMANDS[] = {
    {"hbas", "List the FCoE adapter ports (HBAs).", LISTING, "hbas", ListHBAs},
    {"fabrics", "List the fabrics that the adapters see, physical and virtual.", LISTING, "fabrics",
     List<QEL_FCOE_FABRIC>},
    {"ports", "List the Fibre Channel ports of the adapters, physical and virtual.", LISTING, "ports",
     List<QEL_FCOE_PORT>},
    {"targets", "List the targets that the ports reach.", LISTING, "targets", List<QEL_FCOE_TARGET>},
    {"luns", "List the logical units behind the targets.", LISTING, "luns", List<QEL_FCOE_LUN>},
    {"vlans", "List the VLANs on which FCoE runs.", LISTING, "vlans", List<QEL_FCOE_VLAN>},
    {"stats", "Show the counters of the adapter ports, or their rates.", LISTING | TAKES_WATCH, "statistics",
     ShowStatistics},
    {"tree", "Show each adapter with its fabrics, ports, targets and LUNs.", TAKES_AGENT | TAKES_ADAPTER | TAKES_ASCII,
     "adapters", ShowTree},
    {"dcb", "Tell whether DCB makes each adapter's link fit for FCoE, and what to do if not.",
     TAKES_AGENT | TAKES_ADAPTER, "links", ShowLinks},
    {"vport list", "List the NPIV virtual ports.", LISTING, "ports", ListVPorts},
    {"vport create", "Create an NPIV virtual port.", CHANGING | TAKES_NEW, nullptr, CreateVPort},
    {"vport delete", "Delete an NPIV virtual port.", CHANGING | TAKES_PORT, nullptr, DeleteVPort},
    {"wwpn", "Generate an unused port name without creating a port.", CHANGING, nullptr, GenerateWWPN},
    {"rescan", "Have an adapter look for its targets again.", CHANGING, nullptr, Rescan},
    {"explain", "Explain an error code of the agent or an exit code of this program.", TAKES_CODE, "codes",
     ExplainCodes},
    {"version", "Show the versions of this program and of the agent.", TAKES_AGENT, nullptr, ShowVersion},
};

} // namespace

std::span<const Command> Commands() {
    return COMMANDS;
}

} // namespace fcoectl

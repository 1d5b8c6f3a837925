#include "tools/fcoectl/ListCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/LinkStatus.h"
#include "tools/fcoectl/LogHint.h"
#include "tools/fcoectl/Table.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/Tree.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr ULONG FIRST_VIRTUAL_PORT_TYPE = 2;

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

template <class Record> std::vector<Record> ReadChosen(AgentContext& context) {
    Reading<Record> reading = context.agent.Read<Record>(context.adapter.id);
    context.report.complete = reading.complete;
    return std::move(reading.records);
}

// An adapter that the library could not read gives a record without texts.
std::vector<QEL_FCOE_HBA> ReadHBAs(AgentContext& context) {
    std::vector<QEL_FCOE_HBA> hbas = ReadChosen<QEL_FCOE_HBA>(context);
    const auto unread = std::ranges::count_if(hbas, [](const auto& hba) { return hba.strDeviceId.empty(); });
    if (unread > 0)
        context.report.notes.push_back(fmt::format("{} adapter{} could not be read and {} an empty record. {}", unread,
                                                   unread == 1 ? "" : "s", unread == 1 ? "has" : "have", LogHint()));
    if (hbas.empty() && context.report.complete)
        context.report.notes.emplace_back(NO_ADAPTER);
    return hbas;
}

} // namespace

template <class Record> void List(AgentContext& context) {
    Show(context, ReadChosen<Record>(context));
}
template void List<QEL_FCOE_FABRIC>(AgentContext& context);
template void List<QEL_FCOE_PORT>(AgentContext& context);
template void List<QEL_FCOE_TARGET>(AgentContext& context);
template void List<QEL_FCOE_LUN>(AgentContext& context);
template void List<QEL_FCOE_VLAN>(AgentContext& context);

void ListHBAs(AgentContext& context) {
    Show(context, ReadHBAs(context));
}

void ListVPorts(AgentContext& context) {
    std::vector<QEL_FCOE_PORT> ports = ReadChosen<QEL_FCOE_PORT>(context);
    std::erase_if(ports, [](const auto& port) { return port.ulPortType < FIRST_VIRTUAL_PORT_TYPE; });
    Show(context, ports);
}

void ShowTree(AgentContext& context) {
    const auto read = [&]<class Record>(std::vector<Record>& records) {
        Reading<Record> reading = context.agent.Read<Record>(context.adapter.id);
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
        context.report.notes.emplace_back(NO_ADAPTER);
}

void ShowLinks(AgentContext& context) {
    Table table({{"NAME"}, {"DEVICE ID"}, {"FCOE LINK STATUS"}, {"MEANING"}});
    Json links = Json::array();
    for (const QEL_FCOE_HBA& hba : ReadHBAs(context)) {
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

} // namespace fcoectl

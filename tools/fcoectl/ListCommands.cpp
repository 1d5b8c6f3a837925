#include "tools/fcoectl/ListCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/LinkStatus.h"
#include "tools/fcoectl/LogHint.h"
#include "tools/fcoectl/Records.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/Tree.h"

namespace fcoectl {
namespace {

constexpr ULONG FIRST_VIRTUAL_PORT_TYPE = 2;
constexpr unsigned PLACE_OF_STATE = 2;

Tone StateTone(const nlohmann::ordered_json& state) {
    return state == USABLE_LINK.state ? Tone::Plain : Tone::Alarm;
}
Tone MeaningTone(const nlohmann::ordered_json& meaning) {
    return meaning == USABLE_LINK.meaning ? Tone::Plain : Tone::Alarm;
}

template <class Record> void Show(Context& context, const std::vector<Record>& records) {
    const char* list = Describe<Record>().list;
    ShowSheet(context, list, SheetOf(records));
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

SheetColumns HbaColumns(const Options&) {
    SheetColumns columns = ColumnsOf<QEL_FCOE_HBA>();
    columns.push_back({"state", "STATE", false, Format::Plain, PLACE_OF_STATE, StateTone});
    return columns;
}

void ListHBAs(AgentContext& context) {
    const auto hbas = ReadHBAs(context);
    Sheet sheet = SheetOf(hbas);
    sheet.columns = HbaColumns(context.options);
    for (std::size_t i = 0; i < hbas.size(); ++i)
        sheet.rows[i].emplace_back(ExplainLinkStatus(hbas[i].strFcoeLinkStatus).state);
    ShowSheet(context, Describe<QEL_FCOE_HBA>().list, std::move(sheet));
}

SheetColumns LinkColumns(const Options&) {
    return {{"device_id", "DEVICE ID"},
            {"second_id", "NAME", false, Format::Plain, 1},
            {"fcoe_link_status", "FCOE LINK STATUS"},
            {"state", "STATE"},
            {"meaning", "MEANING", false, Format::Plain, 2, MeaningTone}};
}

void ShowLinks(AgentContext& context) {
    Sheet sheet{LinkColumns(context.options), {}};
    for (const QEL_FCOE_HBA& hba : ReadHBAs(context)) {
        const LinkStatus link = ExplainLinkStatus(hba.strFcoeLinkStatus);
        sheet.rows.push_back({ToUtf8(hba.strDeviceId), ToUtf8(hba.strSecondId), ToUtf8(hba.strFcoeLinkStatus),
                              link.state, link.meaning});
    }
    ShowSheet(context, "links", std::move(sheet));
}

} // namespace fcoectl

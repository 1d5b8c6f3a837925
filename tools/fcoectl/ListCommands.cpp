#include "tools/fcoectl/ListCommands.h"

#include <functional>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/NoteNone.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/Tree.h"
#include "tools/reading/ListAnswer.h"

namespace fcoectl {
namespace {

constexpr ULONG FIRST_VIRTUAL_PORT_TYPE = 2;

Tone StateTone(const nlohmann::ordered_json& state) {
    return state == USABLE_LINK.state ? Tone::Plain : Tone::Alarm;
}
Tone MeaningTone(const nlohmann::ordered_json& meaning) {
    return meaning == USABLE_LINK.meaning ? Tone::Plain : Tone::Alarm;
}

template <class Record> void Show(Context& context, const std::vector<Record>& records) {
    const char* list = TypeOf<Record>().list;
    ShowSheet(context, list, SheetOf(records));
}

// shown: whether the record is one of those that the command shows.
template <class Record> std::vector<Record> ReadChosen(AgentContext& context, bool (*shown)(const Record&) = nullptr) {
    Reading<Record> reading = context.agent.Read<Record>(context.adapter.id);
    context.report.Add(reading.complete, reading.findings);
    if (shown)
        std::erase_if(reading.records, std::not_fn(shown));
    if (reading.records.empty())
        NoteNone(context, reading.findings.whyNone, TypeOf<Record>().list);
    return std::move(reading.records);
}

Reading<QEL_FCOE_HBA> ReadAdapters(AgentContext& context, reading::Answer answer) {
    Reading<QEL_FCOE_HBA> reading = context.agent.Read<QEL_FCOE_HBA>(context.adapter.id, answer);
    context.report.Add(reading.complete, reading.findings);
    if (reading.records.empty())
        NoteNone(context, reading.findings.whyNone, TypeOf<QEL_FCOE_HBA>().list);
    return reading;
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
    Show(context, ReadChosen<QEL_FCOE_PORT>(
                      context, [](const QEL_FCOE_PORT& port) { return port.ulPortType >= FIRST_VIRTUAL_PORT_TYPE; }));
}

void ShowTree(AgentContext& context) {
    std::string whyNone;
    const auto read = [&]<class Record>(std::vector<Record>& records) {
        Reading<Record> reading = context.agent.Read<Record>(context.adapter.id);
        records = std::move(reading.records);
        context.report.Add(reading.complete, reading.findings);
        if (!reading.complete)
            context.report.notes.push_back(fmt::format("The {} are not complete.", TypeOf<Record>().list));
        if (whyNone.empty())
            whyNone = reading.findings.whyNone;
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
    if (tree.empty())
        NoteNone(context, whyNone, TypeOf<QEL_FCOE_HBA>().list);
}

SheetColumns HbaColumns(const Options&) {
    SheetColumns columns = reading::ListColumns<QEL_FCOE_HBA>();
    columns.back().tone = StateTone;
    return columns;
}

void ListHBAs(AgentContext& context) {
    const auto reading = ReadAdapters(context, reading::Answer::Hbas);
    Sheet sheet = reading::ListSheet(reading);
    sheet.columns = HbaColumns(context.options);
    ShowSheet(context, TypeOf<QEL_FCOE_HBA>().list, std::move(sheet));
}

SheetColumns LinkColumns(const Options&) {
    return {{"device_id", "DEVICE ID"},
            {"second_id", "NAME", false, Format::Plain, 1},
            {"fcoe_link_status", "FCOE LINK STATUS"},
            {"state", "STATE"},
            {"meaning", "MEANING", false, Format::Plain, 2, MeaningTone}};
}

void ShowLinks(AgentContext& context) {
    const auto reading = ReadAdapters(context, reading::Answer::Links);
    Sheet sheet{LinkColumns(context.options), {}};
    for (const QEL_FCOE_HBA& hba : reading.records) {
        const LinkStatus link = LinkOf(hba, reading.findings);
        sheet.rows.push_back({ToUtf8(hba.strDeviceId), ToUtf8(hba.strSecondId), ToUtf8(hba.strFcoeLinkStatus),
                              link.state, link.meaning});
    }
    ShowSheet(context, "links", std::move(sheet));
}

} // namespace fcoectl

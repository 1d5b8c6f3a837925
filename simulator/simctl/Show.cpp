// simctl show
#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/OneMoment.h"
#include "simulator/simctl/ProcessLine.h"
#include "simulator/simctl/TimelineLine.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

using nlohmann::ordered_json;

std::size_t LunsOf(const sim::Adapter& adapter) {
    std::size_t luns = 0;
    for (const auto& target : adapter.targets)
        luns += target.luns.size();
    return luns;
}

std::string Line(const char* heading, const std::string& text) {
    std::string line = heading;
    line.resize(12, ' ');
    return line + text + "\n";
}

std::string Hex(std::uint32_t fcId) {
    std::string digits;
    for (int shift = 20; shift >= 0; shift -= 4)
        digits += "0123456789ABCDEF"[fcId >> shift & 15];
    return "0x" + digits;
}

// All that is told.
struct Told {
    InUse inUse;
    CheckedFile checked;
    CheckedFile shown;
    KeptState state;
    sim::WorldStatus world;
    std::optional<sim::TimelineStatus> timeline;
    // What a process sees is in none of the files: a file may have changed since it was looked at.
    std::vector<sim::ProcessWorld> processes;
};

// What the modules show: while the file is wrong, perhaps the one before it.
CheckedFile Shown(const InUse& inUse, const sim::WorldStatus& world, const CheckedFile& checked) {
    if (!world.lastGoodInUse)
        return CheckMoved(inUse);
    const auto content = sim::ShownInConfigured();
    return content ? CheckText(content->name, content->Document(), sim::Wide(content->folder)) : checked;
}

Told Look() {
    return OfOneMoment([](const std::optional<sim::TimelineStatus>& timeline) {
        const InUse inUse = FindInUse();
        const CheckedFile checked = Check(inUse);
        const sim::WorldStatus world = sim::StatusOfConfigured();
        return Told{inUse, checked,  Shown(inUse, world, checked), ReadState(),
                    world, timeline, sim::AllProcessWorlds()};
    });
}

ordered_json Document(const Told& told) {
    ordered_json document{{"schema", "simctl/show"}, {"version", 1}, {"source", SourceCode(told.inUse.source)}};
    document["topology"] = told.checked.Document();
    document["topology_version"] = told.world.version;
    document["last_good_in_use"] = told.world.lastGoodInUse;
    document["adapters"] = ordered_json::array();
    for (const auto& adapter : told.shown.Topology().adapters)
        document["adapters"].push_back({{"identifier", adapter.identifier},
                                        {"display_name", adapter.displayName},
                                        {"port_wwn", sim::WwnText(adapter.port.portWwn)},
                                        {"targets", adapter.targets.size()},
                                        {"luns", LunsOf(adapter)},
                                        {"vlans", adapter.vlans.size()}});
    document["timeline"] = TimelineDocument(told.timeline, told.checked.Topology());
    ordered_json created = ordered_json::array(), removed = ordered_json::array();
    for (const auto& change : told.state.changes) {
        ordered_json port{{"adapter", change.adapter}, {"port_wwn", change.wwn}};
        if (change.created)
            port["fc_id"] = change.fcId;
        (change.created ? created : removed).push_back(port);
    }
    document["state"] = {{"file", sim::Utf8(told.state.file.wstring())}, {"created", created}, {"removed", removed}};
    if (!told.state.error.empty())
        document["state"]["error"] = told.state.error;
    document["calls"] = sim::Utf8(CallLogFile().wstring());
    document["processes"] = ordered_json::array();
    for (const auto& process : told.processes)
        document["processes"].push_back(ProcessDocument(process));
    return document;
}

std::string Content(const CheckedFile& checked) {
    const std::size_t warnings = checked.checked.warnings.size();
    return checked.Content() + (warnings == 0 ? ""
                                              : "; " + std::to_string(warnings) + " warning" +
                                                    (warnings == 1 ? "" : "s") + ", see simctl check");
}

void Print(Console& console, const Told& told) {
    console.Out(Line("topology", told.checked.name));
    console.Out(Line("chosen by", SourceText(told.inUse.source)));
    if (told.checked.IsGood())
        console.Out(Line("content", Content(told.shown)));
    else if (told.world.lastGoodInUse)
        console.Out(Line("content", "wrong: the last good one stays in use: " + told.shown.Content()));
    else
        console.Out(Line("content", "wrong: every simulated function fails"));
    for (const auto& adapter : told.shown.IsGood() ? told.shown.Topology().adapters : std::vector<sim::Adapter>())
        console.Out(Line("adapter", adapter.identifier + " " + adapter.displayName + ": " +
                                        std::to_string(adapter.targets.size()) + " targets, " +
                                        std::to_string(LunsOf(adapter)) + " logical units, " +
                                        std::to_string(adapter.vlans.size()) + " VLANs"));
    if (const std::string text = TimelineText(told.timeline, told.checked.Topology()); !text.empty())
        console.Out(Line("timeline", text));
    console.Out(Line("state", sim::Utf8(told.state.file.wstring())));
    for (const auto& change : told.state.changes)
        console.Out(
            Line(change.created ? "created" : "removed",
                 change.wwn + (change.created ? " " + Hex(change.fcId) : std::string()) + " of " + change.adapter));
    const auto calls = CallLogFile();
    console.Out(Line("calls", calls.empty() ? "not logged" : sim::Utf8(calls.wstring())));
    for (const auto& process : told.processes)
        console.Out(Line("process", ProcessLine(process)));
    console.Err(told.checked.ErrorLines() + (told.state.error.empty() ? "" : told.state.error + "\n"));
}

} // namespace

int Show(Console& console, bool json) {
    const Told told = Look();
    if (json)
        console.OutJson(Document(told));
    else
        Print(console, told);
    return told.checked.IsGood() && told.state.error.empty() ? GOOD : WRONG;
}

} // namespace simctl

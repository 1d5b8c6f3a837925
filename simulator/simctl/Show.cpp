// simctl show
#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
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

ordered_json Document(const InUse& inUse, const CheckedFile& checked, const KeptState& state) {
    ordered_json document{{"schema", "simctl/show"}, {"version", 1}, {"source", SourceCode(inUse.source)}};
    document["topology"] = checked.Document();
    document["adapters"] = ordered_json::array();
    for (const auto& adapter : checked.Topology().adapters)
        document["adapters"].push_back({{"identifier", adapter.identifier},
                                        {"display_name", adapter.displayName},
                                        {"port_wwn", sim::WwnText(adapter.port.portWwn)},
                                        {"targets", adapter.targets.size()},
                                        {"luns", LunsOf(adapter)},
                                        {"vlans", adapter.vlans.size()}});
    ordered_json created = ordered_json::array(), removed = ordered_json::array();
    for (const auto& change : state.changes) {
        ordered_json port{{"adapter", change.adapter}, {"port_wwn", change.wwn}};
        if (change.created)
            port["fc_id"] = change.fcId;
        (change.created ? created : removed).push_back(port);
    }
    document["state"] = {{"file", sim::Utf8(state.file.wstring())}, {"created", created}, {"removed", removed}};
    if (!state.error.empty())
        document["state"]["error"] = state.error;
    document["calls"] = sim::Utf8(CallLogFile().wstring());
    return document;
}

void Print(Console& console, const InUse& inUse, const CheckedFile& checked, const KeptState& state) {
    console.Out(Line("topology", checked.name));
    console.Out(Line("chosen by", SourceText(inUse.source)));
    if (checked.IsGood()) {
        const std::size_t warnings = checked.checked.warnings.size();
        console.Out(Line("content",
                         checked.Content() + (warnings == 0 ? ""
                                                            : "; " + std::to_string(warnings) + " warning" +
                                                                  (warnings == 1 ? "" : "s") + ", see simctl check")));
    } else {
        console.Out(Line("content", "wrong: every simulated function fails"));
    }
    for (const auto& adapter : checked.IsGood() ? checked.Topology().adapters : std::vector<sim::Adapter>())
        console.Out(Line("adapter", adapter.identifier + " " + adapter.displayName + ": " +
                                        std::to_string(adapter.targets.size()) + " targets, " +
                                        std::to_string(LunsOf(adapter)) + " logical units, " +
                                        std::to_string(adapter.vlans.size()) + " VLANs"));
    console.Out(Line("state", sim::Utf8(state.file.wstring())));
    for (const auto& change : state.changes)
        console.Out(
            Line(change.created ? "created" : "removed",
                 change.wwn + (change.created ? " " + Hex(change.fcId) : std::string()) + " of " + change.adapter));
    const auto calls = CallLogFile();
    console.Out(Line("calls", calls.empty() ? "not logged" : sim::Utf8(calls.wstring())));
    console.Err(checked.ErrorLines() + (state.error.empty() ? "" : state.error + "\n"));
}

} // namespace

int Show(Console& console, bool json) {
    const InUse inUse = FindInUse();
    const CheckedFile checked = Check(inUse);
    const KeptState state = ReadState(inUse);
    if (json)
        console.OutJson(Document(inUse, checked, state));
    else
        Print(console, inUse, checked, state);
    return checked.IsGood() && state.error.empty() ? GOOD : WRONG;
}

} // namespace simctl

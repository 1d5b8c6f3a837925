// simctl watch
#include <algorithm>
#include <utility>

#include <windows.h>

#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/OneMoment.h"
#include "simulator/simctl/ProcessLine.h"
#include "simulator/simctl/TimelineLine.h"
#include "simulator/simctl/Verbs.h"

namespace simctl {
namespace {

using nlohmann::json;

constexpr char TIMELINE[] = "timeline";

struct Seen {
    CheckedFile topology;
    KeptState state;
    std::string chosen;
    std::vector<sim::ProcessWorld> processes;
    std::optional<sim::TimelineStatus> timeline;

    std::string TopologyLine() const {
        if (topology.IsGood())
            return topology.name + ": good: " + topology.Content() +
                   (timeline ? "; " + TakenText(*timeline) : std::string());
        return topology.checked.reading.problems.front().OneLine(topology.name);
    }
    std::string StateLine() const {
        if (!state.error.empty())
            return "state: " + state.error;
        std::string line = "state:";
        for (const auto& change : state.changes)
            line += std::string(change.created ? " +" : " -") + change.wwn;
        return state.changes.empty() ? "state: as the topology says" : line;
    }
};

Seen Look() {
    return OfOneMoment([](const std::optional<sim::TimelineStatus>& timeline) {
        const InUse inUse = FindInUse();
        return Seen{CheckMoved(inUse), ReadState(), SourceText(inUse.source), sim::AllProcessWorlds(), timeline};
    });
}

std::string TimeNow() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    char text[32];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u ", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

// What each process shows that shows something else than before.
std::string ProcessChanges(const std::vector<sim::ProcessWorld>& before, const std::vector<sim::ProcessWorld>& now) {
    std::string lines;
    for (const auto& process : now) {
        if (std::ranges::find(before, process) == before.end())
            lines += TimeNow() + "process " + ProcessLine(process) + "\n";
    }
    for (const auto& process : before) {
        if (std::ranges::find(now, process.process, &sim::ProcessWorld::process) == now.end())
            lines += TimeNow() + "process " + std::to_string(process.process) + " " + process.program +
                     ": in no world any more\n";
    }
    return lines;
}

std::string Short(const json& value) {
    const std::string text = value.dump(-1, ' ', true, json::error_handler_t::replace);
    return text.size() <= 60 ? text : text.substr(0, 57) + "...";
}

// What the documents have different, a line each.
std::string Differences(const std::string& before, const std::string& now) {
    json from = json::parse(before, nullptr, false, true);
    json to = json::parse(now, nullptr, false, true);
    if (!from.is_object() || !to.is_object())
        return {};
    if (from.contains(TIMELINE) != to.contains(TIMELINE)) { // one has moved, and tells its steps apart
        from.erase(TIMELINE);
        to.erase(TIMELINE);
    }
    constexpr std::size_t SHOWN = 20;
    const json patch = json::diff(from, to);
    std::string lines;
    for (std::size_t i = 0; i < patch.size() && i < SHOWN; ++i) {
        const std::string path = patch[i]["path"];
        const json::json_pointer at(path);
        const std::string old = from.contains(at) && patch[i]["op"] != "add" ? Short(from[at]) : "nothing";
        lines += "             " + path + ": " + old + " -> " +
                 (patch[i].contains("value") ? Short(patch[i]["value"]) : "nothing") + "\n";
    }
    if (patch.size() > SHOWN)
        lines += "             and " + std::to_string(patch.size() - SHOWN) + " more\n";
    return lines;
}

// Empty: nothing has changed.
std::string Changes(const Seen& before, const Seen& now) {
    std::string lines;
    if (before.chosen != now.chosen || before.topology.name != now.topology.name)
        lines += TimeNow() + now.TopologyLine() + ", chosen by " + now.chosen + "\n";
    else if (before.topology.text != now.topology.text || before.TopologyLine() != now.TopologyLine())
        lines += TimeNow() + now.TopologyLine() + "\n" + Differences(before.topology.text, now.topology.text);
    if (before.StateLine() != now.StateLine())
        lines += TimeNow() + now.StateLine() + "\n";
    return lines + ProcessChanges(before.processes, now.processes);
}

} // namespace

int Watch(Console& console, const WatchOptions& options) {
    Seen seen = Look();
    console.Out(TimeNow() + seen.TopologyLine() + ", chosen by " + seen.chosen + "\n" + TimeNow() + seen.StateLine() +
                "\n" + ProcessChanges({}, seen.processes));
    for (std::uint32_t changes = 0; !options.changes || changes < *options.changes;) {
        Sleep(static_cast<DWORD>(options.interval * 1000));
        Seen now = Look();
        const std::string lines = Changes(seen, now);
        if (lines.empty())
            continue;
        console.Out(lines);
        seen = std::move(now);
        ++changes;
    }
    return GOOD;
}

} // namespace simctl

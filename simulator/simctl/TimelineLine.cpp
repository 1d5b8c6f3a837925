#include "simulator/simctl/TimelineLine.h"

#include <fmt/format.h>

#include "simulator/topology/Functions.h"

namespace simctl {
namespace {

using nlohmann::ordered_json;

std::string Steps(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " step" : " steps");
}

// " of StartLock about {...}"
std::string WhichCalls(const sim::Step& step) {
    return (step.function ? " of " + std::string(sim::FUNCTION_NAMES[*step.function]) : std::string()) +
           (step.adapter.empty() ? "" : " about " + step.adapter);
}

std::string Calls(std::uint32_t count, const sim::Step& step, const char* more = "") {
    return std::to_string(count) + more + (count == 1 ? " call" : " calls") + WhichCalls(step);
}

// What is missing for the step that is next.
ordered_json Missing(const sim::Step& step, std::uint64_t ms, std::uint32_t calls) {
    if (step.afterMs)
        return {{"seconds", static_cast<double>(ms) / 1000}};
    ordered_json missing{{"calls", calls}};
    if (step.function)
        missing["function"] = sim::FUNCTION_NAMES[*step.function];
    if (!step.adapter.empty())
        missing["adapter"] = step.adapter;
    return missing;
}

} // namespace

std::string TakenText(const sim::TimelineStatus& status) {
    return std::to_string(status.taken) + " of " + Steps(status.taken + status.left) +
           (status.script.empty() ? "" : " of " + status.script) + " taken";
}

std::string TimelineText(const std::optional<sim::TimelineStatus>& status, const sim::Topology& topology) {
    if (!status && topology.timeline.empty())
        return {};
    if (!status) {
        const sim::Step& first = topology.timeline.front();
        return Steps(topology.timeline.size()) + ", the first " +
               (first.afterMs ? fmt::format("{} s", static_cast<double>(*first.afterMs) / 1000)
                              : Calls(first.afterCalls, first)) +
               " after a process has taken it up";
    }
    if (!status->next)
        return TakenText(*status);
    return TakenText(*status) + ", the next " +
           (status->next->afterMs ? fmt::format("in {} s", static_cast<double>(status->msLeft) / 1000)
                                  : "after " + Calls(status->callsLeft, *status->next, " more"));
}

ordered_json TimelineDocument(const std::optional<sim::TimelineStatus>& status, const sim::Topology& topology) {
    if (!status && topology.timeline.empty())
        return nullptr;
    if (!status) {
        const sim::Step& first = topology.timeline.front();
        return {{"steps", topology.timeline.size()},
                {"taken", 0},
                {"started", false},
                {"next_after", Missing(first, first.afterMs.value_or(0), first.afterCalls)}};
    }
    ordered_json document{{"steps", status->taken + status->left}, {"taken", status->taken}, {"started", true}};
    if (!status->script.empty())
        document["script"] = status->script;
    if (status->next)
        document["next_after"] = Missing(*status->next, status->msLeft, status->callsLeft);
    return document;
}

} // namespace simctl

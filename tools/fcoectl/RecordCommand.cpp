#include "tools/fcoectl/RecordCommand.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/LibrarySearch.h"
#include "tools/fcoectl/OutputFile.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/TimeLimit.h"

namespace fcoectl {
namespace {

// For one call, when nobody says otherwise: adapters that log in anew take the better part of a minute.
constexpr double DEFAULT_LIMIT = 120; // seconds

// Where the vendor library may lie; empty: there is no agent.
std::wstring RegisteredFile(const Options& options) {
    try {
        return AgentFile(FromUtf8(options.agentFile));
    } catch (const Failure&) {
        return {};
    }
}

double LimitOf(const Context& context) {
    return context.options.timeout.value_or(DEFAULT_LIMIT);
}

} // namespace

recording::Recording RecordNeighbours(Context& context) {
    const LibrarySearch search(RegisteredFile(context.options), FromUtf8(context.options.libraryFolder));
    context.limit.Pause(); // each call has a limit of its own
    auto recorded = recording::Record(std::chrono::duration<double>(LimitOf(context)), context.mask);
    context.limit.Restart();
    return recorded;
}

std::optional<Failure> HangOf(const recording::Recording& recorded, const Context& context) {
    if (recorded.hanging.empty())
        return std::nullopt;
    std::vector<std::string> functions;
    for (const auto& [function, adapter] : recorded.hanging)
        functions.push_back(adapter.empty() ? function : fmt::format("{} of {}", function, adapter));
    return Failure(Exit::TimedOut,
                   fmt::format("Not within {} s answered: {}.", LimitOf(context), fmt::join(functions, ", ")),
                   {"The recording has the rest, and these as calls that hang."});
}

void Record(Context& context) {
    const recording::Recording recorded = RecordNeighbours(context);
    OutputFile file(context.options.file);
    file.Write(recorded.topology);
    file.Finish();
    context.report.body["output"] = file.Name();
    context.report.body["adapters"] = recorded.adapters;
    context.report.body["calls"] = recorded.calls;
    context.report.notes.insert(context.report.notes.end(), recorded.notes.begin(), recorded.notes.end());
    if (!context.options.json)
        context.output.Write(Printable(fmt::format("Recorded {} adapters with {} calls in {}.", recorded.adapters,
                                                   recorded.calls, file.Name())) +
                             "\n");
    if (const auto hang = HangOf(recorded, context))
        throw Failure(*hang);
}

} // namespace fcoectl

// The log as a file for the viewers of traces.
#include <fmt/format.h>

#include "tools/fcoectl/LogCommands.h"
#include "tools/fcoectl/LogSource.h"
#include "tools/fcoectl/OutputFile.h"
#include "tools/fcoectl/Text.h"
#include "tools/log/Timeline.h"
#include "tools/reading/Mask.h"

namespace fcoectl {
namespace {

void Write(Context& context, const std::wstring& log, const agentlog::Timeline::Sink& sink) {
    agentlog::Timeline timeline(agentlog::MeasureCounterRate(log), sink);
    static_cast<void>(ReadChosenLog(context, log, timeline));
    timeline.Finish();
    context.report.body["events"] = timeline.Events();
}

} // namespace

void WriteLogTimeline(Context& context) {
    const Options& options = context.options;
    const std::wstring log = ChosenLog(options.log);
    if (options.output.empty()) {
        if (options.json)
            throw Failure(Exit::Usage, "--json needs --output: the timeline is a document of its own.");
        return Write(context, log, [&](std::string_view text) { context.output.Write(text); });
    }
    OutputFile file(options.output);
    Write(context, log, [&](std::string_view text) { file.Write(context.mask ? context.mask->Apply(text) : text); });
    file.Finish();
    context.report.body["output"] = file.Name();
    if (!options.json)
        context.output.Write(Printable(fmt::format("Wrote {} events to {}.",
                                                   context.report.body["events"].get<std::uint64_t>(), file.Name())) +
                             "\n");
}

} // namespace fcoectl

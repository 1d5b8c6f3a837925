#include "tools/fcoectl/MetricsCommand.h"

#include <chrono>

#include <fmt/format.h>

#include "tools/fcoectl/Metrics.h"
#include "tools/fcoectl/OutputFile.h"
#include "tools/fcoectl/Perform.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

// The list of a command's document.
Json ReadTimed(AgentContext& context, const char* command, const char* list, MetricsData& data) {
    const auto start = std::chrono::steady_clock::now();
    Part part = PartOf(context, command, context.agent, context.adapter);
    if (part.failure)
        throw *part.failure;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    data.seconds.emplace_back(list, took.count());
    return std::move(part.document[list]);
}

MetricsData Collect(AgentContext& context) {
    MetricsData data;
    data.hbas = ReadTimed(context, "hbas", "hbas", data);
    data.links = ReadTimed(context, "dcb", "links", data);
    data.ports = ReadTimed(context, "ports", "ports", data);
    data.targets = ReadTimed(context, "targets", "targets", data);
    data.luns = ReadTimed(context, "luns", "luns", data);
    data.statistics = ReadTimed(context, "stats", "statistics", data);
    data.problems = Json::array();
    for (const reading::Problem& problem : *context.report.problems)
        data.problems.push_back({{"adapter", problem.adapter}, {"what", problem.what}});
    data.complete = context.report.complete;
    data.completed = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    return data;
}

} // namespace

void WriteMetrics(AgentContext& context) {
    const Options& options = context.options;
    if (options.json && options.output.empty())
        throw Failure(Exit::Usage, "--json needs --output: the metrics are a form of their own.");
    const MetricsData data = Collect(context);
    const std::string text =
        RenderMetrics(data, options.openMetrics ? MetricsForm::OpenMetrics : MetricsForm::Prometheus);
    if (options.output.empty())
        return context.output.Write(text);
    OutputFile file(options.output);
    file.Write(context.mask ? context.mask->Apply(text) : text);
    file.Finish();
    context.report.body["output"] = file.Name();
    if (!options.json)
        context.output.Write(Printable(fmt::format("Wrote the metrics to {}.", file.Name())) + "\n");
}

} // namespace fcoectl

#include "tools/fcoectl/Statistics.h"

#include <chrono>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Interruption.h"
#include "tools/fcoectl/NoteNone.h"
#include "tools/fcoectl/Query.h"
#include "tools/fcoectl/Rates.h"
#include "tools/fcoectl/Rendering.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/TimeLimit.h"
#include "tools/fcoectl/schema/Types.h"
#include "tools/reading/ListAnswer.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;
using Records = std::vector<QEL_FCOE_STATISTIC>;
using Rates = std::vector<std::optional<double>>;

constexpr char SECONDS[] = "seconds"; // since the first reading

// With the rates, and in the forms that have nothing else to tell it, the time of the reading.
Sheet RatesSheet(const Options& options, const Records& records, const Rates& rates, double seconds) {
    Sheet sheet{StatisticColumns(options), {}};
    for (std::size_t i = 0; i < records.size(); ++i) {
        auto& row = sheet.rows.emplace_back();
        if (sheet.columns.front().key == SECONDS)
            row.emplace_back(seconds);
        for (const Field<QEL_FCOE_STATISTIC>& field : TypeOf<QEL_FCOE_STATISTIC>().fields)
            row.push_back(ValueOf(field, records[i]));
        row.push_back(rates[i] ? Json(*rates[i]) : Json(nullptr));
    }
    return Arranged(std::move(sheet), options.query, options.form);
}

// What is written of one reading.
std::string Sample(const Context& context, const Sheet& sheet, double seconds, bool first) {
    const Options& options = context.options;
    const Style style{options.header && (first || options.form == Form::Table), context.output.HasColours()};
    if (options.form == Form::JsonLines)
        return JsonLine({{"seconds", seconds}, {"statistics", JsonOf(sheet)}});
    const std::string rendered = Rendered(sheet, options.form, style);
    return options.form == Form::Table ? fmt::format("{}After {:.1f} s\n{}", first ? "" : "\n", seconds, rendered)
                                       : rendered;
}

Reading<QEL_FCOE_STATISTIC> ReadCounters(AgentContext& context) {
    Reading<QEL_FCOE_STATISTIC> reading = context.agent.Read<QEL_FCOE_STATISTIC>(context.adapter.id);
    context.report.Add(reading.complete, reading.findings);
    LeaveOutUnread(reading);
    return reading;
}

void Watch(AgentContext& context) {
    const Interruption interruption;
    Json samples = Json::array();
    Records before;
    Clock::time_point start;
    Clock::time_point earlier;
    for (unsigned taken = 0; context.options.count == 0 || taken < context.options.count; ++taken) {
        context.limit.Pause();
        if (taken && !interruption.Wait(*context.options.watch))
            break;
        context.limit.Restart();
        Reading<QEL_FCOE_STATISTIC> reading = ReadCounters(context);
        const auto now = Clock::now();
        if (!taken)
            start = now;
        const auto since = [&](Clock::time_point then) { return std::chrono::duration<double>(now - then).count(); };
        const Rates rates = RatesBetween(before, reading.records, taken ? since(earlier) : 0);
        const Sheet sheet = RatesSheet(context.options, reading.records, rates, since(start));
        if (context.options.json)
            samples.push_back({{"seconds", since(start)}, {"statistics", JsonOf(sheet)}});
        else
            context.output.Write(Sample(context, sheet, since(start), !taken));
        if (context.output.Failed())
            break;
        before = std::move(reading.records);
        earlier = now;
    }
    if (context.options.json) {
        context.report.body.erase("statistics");
        context.report.body["samples"] = std::move(samples);
    }
}

} // namespace

SheetColumns StatisticColumns(const Options& options) {
    constexpr unsigned last = 9;
    SheetColumns columns = ColumnsOf<QEL_FCOE_STATISTIC>();
    if (!options.watch)
        return columns;
    columns.push_back({"per_second", "PER SECOND", true, Format::Rate, last, nullptr,
                       [] { return schema::OrNull(schema::Number()); }});
    if (options.form == Form::Csv || options.form == Form::Tsv)
        columns.insert(columns.begin(), {SECONDS, "SECONDS", true, Format::Rate, 0, nullptr, schema::Number});
    return columns;
}

void ShowStatistics(AgentContext& context) {
    if (context.options.watch)
        return Watch(context);
    const Reading<QEL_FCOE_STATISTIC> reading = ReadCounters(context);
    ShowSheet(context, TypeOf<QEL_FCOE_STATISTIC>().list, SheetOf(reading.records));
    if (reading.records.empty())
        NoteNone(context, reading.findings.whyNone, TypeOf<QEL_FCOE_STATISTIC>().list);
}

} // namespace fcoectl

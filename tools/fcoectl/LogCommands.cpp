#include "tools/fcoectl/LogCommands.h"

#include <algorithm>
#include <deque>

#include <fmt/format.h>

#include "tools/fcoectl/Interruption.h"
#include "tools/fcoectl/LogSource.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/Table.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/schema/Types.h"
#include "tools/log/LibraryStatus.h"
#include "tools/log/ProblemList.h"
#include "tools/log/SlowCalls.h"
#include "tools/log/Timeline.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned USUAL_COUNT = 1000;
constexpr double LOOK_AGAIN = 0.25; // seconds

unsigned CountOf(const LogOptions& options) {
    return options.count ? options.count : USUAL_COUNT;
}

std::string ResultText(const agentlog::Request& request) {
    return request.finished ? request.result : "unfinished";
}

Json ToJson(const agentlog::Request& request) {
    return {{"number", request.number},
            {"time", TimeText(request.time)},
            {"process", request.process},
            {"thread", request.thread},
            {"operation", request.operation},
            {"adapters", request.adapters},
            {"milliseconds", request.milliseconds},
            {"result", request.result},
            {"finished", request.finished},
            {"problems", request.problems},
            {"line", request.line}};
}

// The requests that ended last.
class LastRequests : public agentlog::Listener {
  public:
    explicit LastRequests(std::size_t count) : m_count(count) {}

    void OnFinished(const agentlog::Request& request) override {
        ++m_total;
        m_requests.push_back(request);
        if (m_requests.size() > m_count)
            m_requests.pop_front();
    }
    // In the order in which they began.
    std::vector<agentlog::Request> Requests() const {
        std::vector<agentlog::Request> sorted(m_requests.begin(), m_requests.end());
        std::ranges::sort(sorted, {}, &agentlog::Request::number);
        return sorted;
    }
    std::uint64_t Total() const { return m_total; }

  private:
    const std::size_t m_count;
    std::deque<agentlog::Request> m_requests;
    std::uint64_t m_total = 0;
};

// A line for each request as it ends.
class RequestLines : public agentlog::Listener {
  public:
    explicit RequestLines(Output& output) : m_output(output) {}

    void OnFinished(const agentlog::Request& request) override {
        ++m_count;
        m_output.Write(Printable(fmt::format(
                           "{:>6}  {}  process {:<6}  {:<19}  {:>2} adapter{}  {:>10.3f} ms  {:<10}  {} problem{}",
                           request.number, TimeText(request.time), request.process, request.operation, request.adapters,
                           request.adapters == 1 ? " " : "s", request.milliseconds, ResultText(request),
                           request.problems, request.problems == 1 ? "" : "s")) +
                       "\n");
    }
    std::uint64_t Count() const { return m_count; }

  private:
    Output& m_output;
    std::uint64_t m_count = 0;
};

void FollowRequests(Context& context) {
    const LogOptions& options = context.options.log;
    const Interruption interruption;
    RequestLines lines(context.output);
    const auto wait = [&] {
        const bool enough = options.count != 0 && lines.Count() >= options.count;
        return !enough && !context.output.Failed() && interruption.Wait(LOOK_AGAIN);
    };
    static_cast<void>(ReadChosenLog(context, ChosenLog(options), lines, wait));
}

bool IsJson(const Options& options) {
    return options.form == Form::Json || options.form == Form::JsonLines;
}

// The members that the columns name.
void AddRow(Sheet& sheet, const Json& object) {
    auto& row = sheet.rows.emplace_back();
    for (const SheetColumn& column : sheet.columns)
        row.push_back(object.at(column.key));
}

// The neighbour's function, or the neighbour.
std::string WhoText(agentlog::Neighbour neighbour, const std::string& function) {
    return function.empty() ? agentlog::NameOf(neighbour) : function;
}

Json ToJson(const agentlog::ProblemList::Kind& kind) {
    const bool status = kind.argument == agentlog::Argument::LibraryStatus;
    Json object = {{"neighbour", agentlog::NameOf(kind.neighbour)},
                   {"function", kind.function},
                   {"status", kind.number && status ? Json(*kind.number) : Json(nullptr)},
                   {"status_text", agentlog::NumberText(kind.argument, kind.number)},
                   {"request", kind.request},
                   {"adapter", kind.adapter},
                   {"adapter_id", kind.adapterId},
                   {"text", kind.text},
                   {"meaning", kind.meaning},
                   {"advice", kind.advice},
                   {"count", kind.count},
                   {"first_time", TimeText(kind.firstTime)},
                   {"last_time", TimeText(kind.lastTime)},
                   {"first_request", kind.firstRequest},
                   {"last_request", kind.lastRequest},
                   {"first_line", kind.firstLine},
                   {"process", kind.process}};
    return object;
}

std::string ProblemBlock(const agentlog::ProblemList::Kind& kind) {
    std::string where =
        kind.request.empty()
            ? "outside of a request"
            : fmt::format("{} (request {}{})", kind.request, kind.firstRequest,
                          kind.lastRequest == kind.firstRequest ? "" : fmt::format(" to {}", kind.lastRequest));
    if (!kind.adapterId.empty())
        where += ", adapter " + kind.adapterId;
    else if (kind.adapter != 0)
        where += fmt::format(", adapter {}", kind.adapter);
    std::vector<std::pair<std::string, std::string>> lines = {{"PROBLEM", kind.meaning}, {"DO", kind.advice}};
    if (const std::string who = WhoText(kind.neighbour, kind.function); !who.empty())
        lines.emplace_back("ASKED", who);
    if (kind.number)
        lines.emplace_back("ANSWER", agentlog::NumberText(kind.argument, kind.number));
    lines.emplace_back("WHERE", where);
    lines.emplace_back("WHEN", kind.count == 1 ? TimeText(kind.firstTime)
                                               : fmt::format("{} times, {} to {}", kind.count, TimeText(kind.firstTime),
                                                             TimeText(kind.lastTime)));
    lines.emplace_back("LINE", fmt::format("{}{}", kind.firstLine, kind.text.empty() ? "" : "  " + kind.text));
    return Block(lines);
}

} // namespace

SheetColumns RequestColumns(const Options&) {
    return {{"number", "NO", true, Format::Plain, 1},
            {"time", "TIME", false, Format::Plain, 2},
            {"process", "PROCESS", true, Format::Plain, 3},
            {"thread", "THREAD", true},
            {"operation", "REQUEST", false, Format::Plain, 4},
            {"adapters", "ADAPTERS", true, Format::Plain, 5},
            {"milliseconds", "MS", true, Format::Milliseconds, 6, nullptr, schema::Number},
            {"result", "RESULT", false, Format::Plain, 7},
            {"finished", "FINISHED", false, Format::Plain, 0, nullptr, schema::Boolean},
            {"problems", "PROBLEMS", true, Format::Plain, 8},
            {"line", "LINE", true}};
}

SheetColumns ProblemColumns(const Options&) {
    return {{"neighbour", "NEIGHBOUR"},
            {"function", "ASKED", false, Format::Plain, 1},
            {"status", "STATUS", true, Format::Plain, 0, nullptr, [] { return schema::OrNull(schema::Integer()); }},
            {"status_text", "ANSWER", false, Format::Plain, 2},
            {"request", "REQUEST", false, Format::Plain, 3},
            {"adapter", "ADAPTER", true, Format::Plain, 4},
            {"adapter_id", "ADAPTER ID"},
            {"text", "TEXT"},
            {"meaning", "PROBLEM"},
            {"advice", "DO"},
            {"count", "COUNT", true, Format::Plain, 5},
            {"first_time", "FIRST TIME"},
            {"last_time", "LAST TIME", false, Format::Plain, 6},
            {"first_request", "FIRST REQUEST", true},
            {"last_request", "LAST REQUEST", true},
            {"first_line", "LINE", true, Format::Plain, 7},
            {"process", "PROCESS", true}};
}

SheetColumns SlowColumns(const Options&) {
    return {{"operation", "OPERATION", false, Format::Plain, 7},
            {"neighbour", "NEIGHBOUR"},
            {"function", "ASKS", false, Format::Plain, 8},
            {"calls", "CALLS", true, Format::Plain, 2},
            {"own_milliseconds", "OWN MS", true, Format::Milliseconds, 1, nullptr, schema::Number},
            {"longest_milliseconds", "LONGEST MS", true, Format::Milliseconds, 4, nullptr, schema::Number},
            {"longest_time", "AT", false, Format::Plain, 5},
            {"longest_request", "REQUEST", true, Format::Plain, 6},
            {"average_milliseconds", "AVERAGE MS", true, Format::Milliseconds, 3, nullptr, schema::Number}};
}

void ListLogRequests(Context& context) {
    const LogOptions& options = context.options.log;
    if (options.follow)
        return FollowRequests(context);
    LastRequests last(CountOf(options));
    static_cast<void>(ReadChosenLog(context, ChosenLog(options), last));
    context.report.body["total"] = last.Total();
    const std::vector<agentlog::Request> requests = last.Requests();
    Sheet sheet{RequestColumns(context.options), {}};
    for (const agentlog::Request& request : requests) {
        Json object = ToJson(request);
        if (!IsJson(context.options))
            object["result"] = ResultText(request);
        AddRow(sheet, object);
    }
    if (last.Total() > requests.size())
        context.report.notes.push_back(
            fmt::format("The last {} of {} requests; --count shows more.", requests.size(), last.Total()));
    ShowSheet(context, "requests", std::move(sheet));
}

void ListLogProblems(Context& context) {
    agentlog::ProblemList problems;
    static_cast<void>(ReadChosenLog(context, ChosenLog(context.options.log), problems));
    const auto& kinds = problems.Kinds();
    const std::size_t shown = std::min<std::size_t>(CountOf(context.options.log), kinds.size());
    context.report.body["total"] = problems.Total();
    std::string text;
    Sheet sheet{ProblemColumns(context.options), {}};
    for (std::size_t i = 0; i < shown; ++i) {
        AddRow(sheet, ToJson(kinds[i]));
        text += (i ? "\n" : "") + ProblemBlock(kinds[i]);
    }
    if (kinds.empty())
        context.report.notes.emplace_back("The log tells of no problem.");
    else if (shown < kinds.size())
        context.report.notes.push_back(
            fmt::format("The first {} of {} kinds of problems; --count shows more.", shown, kinds.size()));
    const Query& query = context.options.query;
    if (context.options.formGiven || !query.columns.empty() || !query.sort.empty() || !query.where.empty() ||
        !context.options.header)
        ShowSheet(context, "problems", std::move(sheet));
    else // told for people
        context.output.Write(text);
}

void ListSlowCalls(Context& context) {
    agentlog::SlowCalls slow;
    static_cast<void>(ReadChosenLog(context, ChosenLog(context.options.log), slow));
    Sheet sheet{SlowColumns(context.options), {}};
    for (const auto& kind : slow.Slowest(CountOf(context.options.log)))
        AddRow(sheet, {{"operation", kind.operation},
                       {"neighbour", kind.known ? agentlog::NameOf(kind.known->neighbour) : ""},
                       {"function", kind.known ? kind.known->function : ""},
                       {"calls", kind.calls},
                       {"own_milliseconds", kind.own},
                       {"longest_milliseconds", kind.longest},
                       {"longest_time", TimeText(kind.time)},
                       {"longest_request", kind.request},
                       {"average_milliseconds", kind.own / static_cast<double>(kind.calls)}});
    ShowSheet(context, "operations", std::move(sheet));
}

} // namespace fcoectl

#include "tools/fcoectl/Statistics.h"

#include <chrono>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Rates.h"
#include "tools/fcoectl/Table.h"
#include "tools/fcoectl/TimeLimit.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;
using Records = std::vector<QEL_FCOE_STATISTIC>;
using Rates = std::vector<std::optional<double>>;

// While it lives, Ctrl+C ends the waiting instead of the process.
class Interruption {
  public:
    Interruption() {
        s_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        SetConsoleCtrlHandler(OnControl, TRUE);
    }
    ~Interruption() {
        SetConsoleCtrlHandler(OnControl, FALSE);
        CloseHandle(s_event);
    }
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // False when the user ended it before the time was up.
    [[nodiscard]] bool Wait(double seconds) const {
        return WaitForSingleObject(s_event, static_cast<DWORD>(seconds * 1000)) == WAIT_TIMEOUT;
    }

  private:
    static BOOL WINAPI OnControl(DWORD control) {
        if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT)
            return FALSE;
        SetEvent(s_event);
        return TRUE;
    }

    static inline HANDLE s_event = nullptr;
};

std::string RatesTable(const Records& records, const Rates& rates) {
    std::vector<Column> columns = ColumnsOf<QEL_FCOE_STATISTIC>();
    columns.push_back({"PER SECOND", Align::Right});
    Table table(std::move(columns));
    for (std::size_t i = 0; i < records.size(); ++i) {
        std::vector<std::string> cells = CellsOf(records[i]);
        cells.push_back(rates[i] ? fmt::format("{:.1f}", *rates[i]) : "");
        table.Add(std::move(cells));
    }
    return table.Text();
}

Json Sample(const Records& records, const Rates& rates, double seconds) {
    Json list = Json::array();
    for (std::size_t i = 0; i < records.size(); ++i) {
        Json object = ToJson(records[i]);
        object["per_second"] = rates[i] ? Json(*rates[i]) : Json(nullptr);
        list.push_back(std::move(object));
    }
    return {{"seconds", seconds}, {"statistics", std::move(list)}};
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
        Reading<QEL_FCOE_STATISTIC> reading = context.agent.Read<QEL_FCOE_STATISTIC>(context.adapter.id);
        context.report.complete = context.report.complete && reading.complete;
        const auto now = Clock::now();
        if (!taken)
            start = now;
        const auto since = [&](Clock::time_point then) { return std::chrono::duration<double>(now - then).count(); };
        const Rates rates = RatesBetween(before, reading.records, taken ? since(earlier) : 0);
        if (context.options.json)
            samples.push_back(Sample(reading.records, rates, since(start)));
        else
            context.output.Write(fmt::format("{}After {:.1f} s\n{}", taken ? "\n" : "", since(start),
                                             RatesTable(reading.records, rates)));
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

void ShowStatistics(AgentContext& context) {
    if (context.options.watch)
        return Watch(context);
    const Reading<QEL_FCOE_STATISTIC> reading = context.agent.Read<QEL_FCOE_STATISTIC>(context.adapter.id);
    context.report.complete = reading.complete;
    if (context.options.json)
        for (const QEL_FCOE_STATISTIC& record : reading.records)
            context.report.body["statistics"].push_back(ToJson(record));
    else
        context.output.Write(context.options.blocks ? BlocksOf(reading.records) : TableOf(reading.records));
    // The agent answers TRUE, too, when an adapter's counters cannot be read.
    if (reading.records.empty() && reading.complete)
        context.report.notes.push_back("No adapter's counters could be read, or there is no adapter.");
}

} // namespace fcoectl

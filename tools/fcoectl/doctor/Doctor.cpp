#include "tools/fcoectl/doctor/Doctor.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

struct Check {
    const char* name;
    void (*run)(Examination&);
};

// The log first, which the agent begins anew when it is loaded; the agent's start last, when the reason why it does not
// start is told.
constexpr Check CHECKS[] = {
    {"log level", CheckLogLevel},
    {"log file", CheckLogFile},
    {"agent registration", CheckAgentRegistration},
    {"agent file", CheckAgentFile},
    {"core agent registration", CheckCoreAgentRegistration},
    {"core agent file", CheckCoreAgentFile},
    {"common library", CheckCommonLibrary},
    {"run time", CheckRunTime},
    {"FCoE flag", CheckFcoeFlag},
    {"account", CheckAccount},
    {"vendor mutex", CheckVendorMutex},
    {"vendor library", CheckVendorLibrary},
    {"DCB service", CheckDcbService},
    {"DCB class", CheckDcbClass},
    {"leftovers", CheckLeftovers},
    {"agent start", CheckAgentStart},
    {"adapter", CheckAdapters},
};

const char* ResultText(CheckResult result) {
    switch (result) {
    case CheckResult::Ok:
        return "ok";
    case CheckResult::Warning:
        return "warning";
    default:
        return "failure";
    }
}

Json ToJson(const Finding& finding) {
    Json steps = Json::array();
    for (const CheckStep& step : finding.steps)
        steps.push_back({{"step", step.name}, {"milliseconds", step.milliseconds}, {"records", step.records}});
    return {{"check", finding.check},
            {"result", ResultText(finding.result)},
            {"text", finding.text},
            {"advice", finding.advice},
            {"steps", std::move(steps)}};
}

// The finding, what took how long, and what to do, a line each.
std::string Lines(const Finding& finding) {
    constexpr int indent = 36;
    std::string text =
        fmt::format("{:<7}  {:<23}    {}\n", ResultText(finding.result), finding.check, Printable(finding.text));
    for (const CheckStep& step : finding.steps)
        text += fmt::format("{:>{}}{:<10}  {:>10.3f} ms  {} record{}\n", "", indent, step.name, step.milliseconds,
                            step.records, step.records == 1 ? "" : "s");
    if (!finding.advice.empty())
        text += fmt::format("{:>{}}{}\n", "", indent, Printable(finding.advice));
    return text;
}

} // namespace

void Examine(Context& context) {
    Examination examination(context.options, context.mask);
    for (const Check& check : CHECKS) {
        const std::size_t before = examination.Findings().size();
        examination.Begin(check.name);
        check.run(examination);
        // Told as they come: the one that hangs is the next.
        for (std::size_t i = before; i < examination.Findings().size(); ++i)
            if (context.options.json)
                context.report.body["checks"].push_back(ToJson(examination.Findings()[i]));
            else
                context.output.Write(Lines(examination.Findings()[i]));
    }
    examination.agent.reset();
    const auto failures = std::ranges::count(examination.Findings(), CheckResult::Failure, &Finding::result);
    const auto warnings = std::ranges::count(examination.Findings(), CheckResult::Warning, &Finding::result);
    context.report.body["failures"] = failures;
    context.report.body["warnings"] = warnings;
    if (failures > 0)
        throw Failure(Exit::Partial, fmt::format("{} of {} checks failed.", failures, examination.Findings().size()),
                      {"Each failure says what to do; begin with the first, for others may follow from it."});
}

} // namespace fcoectl

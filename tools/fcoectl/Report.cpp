#include "tools/fcoectl/Report.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t FIRST_AGENT_CODE = 256; // above the exit codes

reading::ReportedError ErrorOf(const ErrorDetail& detail, Exit exit) {
    const char* name = Describe(FindAgentError(detail.code) ? ExitOf(detail.code) : exit).name;
    return {detail.code, name, detail.text, detail.arguments, detail.source, static_cast<int>(exit), {}};
}

} // namespace

Json DocumentOf(const std::string& command, const Report& report, const Failure* failure) {
    reading::ValueSink document;
    TellBeginning(document, command, report.complete && !failure);
    for (const auto& [key, value] : report.body.items())
        document.Member(key, value);
    TellProblems(document, report);
    if (failure) {
        const auto& details = failure->Details();
        reading::ReportedError first = ErrorOf(details.front(), failure->Code());
        first.hints = failure->Hints();
        document.Key("error");
        TellError(document, first);
        if (details.size() > 1) {
            document.Key("more_errors");
            document.BeginArray();
            for (std::size_t i = 1; i < details.size(); ++i)
                TellError(document, ErrorOf(details[i], failure->Code()));
            document.End();
        }
    }
    document.End();
    return document.Take();
}

std::string Message(const reading::Problem& problem) {
    return fmt::format("fcoectl: {} {}\n", Printable(problem.text), Printable(problem.advice));
}

std::string Messages(const Failure& failure) {
    std::string text;
    for (const ErrorDetail& detail : failure.Details()) {
        text += fmt::format("fcoectl: {}\n", Printable(detail.text));
        std::vector<std::string> facts;
        if (detail.code >= FIRST_AGENT_CODE) {
            facts.push_back(fmt::format("error 0x{:08X}", detail.code));
            if (!detail.arguments.empty())
                facts.push_back(fmt::format("arguments: {}", fmt::join(detail.arguments, ", ")));
        }
        if (!detail.source.empty())
            facts.push_back("adapter: " + detail.source);
        if (!facts.empty())
            text += fmt::format("  {}\n", Printable(fmt::format("{}", fmt::join(facts, ", "))));
    }
    for (const std::string& hint : failure.Hints())
        text += fmt::format("  {}\n", Printable(hint));
    return text;
}

} // namespace fcoectl

#include "tools/fcoectl/Report.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t FIRST_AGENT_CODE = 256; // above the exit codes

Json ErrorObject(const ErrorDetail& detail, Exit exit) {
    Json object;
    object["code"] = detail.code;
    object["name"] = Describe(FindAgentError(detail.code) ? ExitOf(detail.code) : exit).name;
    object["text"] = detail.text;
    object["arguments"] = detail.arguments;
    object["source"] = detail.source;
    object["exit_code"] = static_cast<int>(exit);
    return object;
}

} // namespace

Json DocumentOf(const std::string& command, const Report& report, const Failure* failure) {
    Json document = reading::DocumentOf(command, report);
    if (failure) {
        document["complete"] = false;
        const auto& details = failure->Details();
        document["error"] = ErrorObject(details.front(), failure->Code());
        if (!failure->Hints().empty())
            document["error"]["hints"] = failure->Hints();
        for (std::size_t i = 1; i < details.size(); ++i)
            document["more_errors"].push_back(ErrorObject(details[i], failure->Code()));
    }
    return document;
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

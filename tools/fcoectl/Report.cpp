#include "tools/fcoectl/Report.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Text.h"
#include "tools/reading/What.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t FIRST_AGENT_CODE = 256; // above the exit codes

Json ErrorObject(const ErrorDetail& detail, Exit exit) {
    const AgentError* known = FindAgentError(detail.code);
    Json object;
    object["code"] = detail.code;
    object["name"] = Describe(known ? known->exit : exit).name;
    object["text"] = detail.text;
    object["arguments"] = detail.arguments;
    object["source"] = detail.source;
    object["exit_code"] = static_cast<int>(exit);
    return object;
}

Json ProblemObject(const reading::Problem& problem) {
    return {{"adapter", problem.adapter},   {"what", problem.what},
            {"function", problem.function}, {"status", problem.status ? Json(*problem.status) : Json(nullptr)},
            {"text", problem.text},         {"advice", problem.advice}};
}

template <class Element> void AddEach(std::vector<Element>& all, const std::vector<Element>& more) {
    for (const Element& element : more)
        if (std::ranges::find(all, element) == all.end())
            all.push_back(element);
}

// Fabrics and ports come of one list. Whether a command that shows both has it read once or twice, the time decides.
void AddProblems(std::vector<reading::Problem>& told, std::vector<reading::Problem> problems) {
    std::erase_if(problems, [&](reading::Problem problem) {
        if (problem.what != reading::KeyOf(reading::What::Ports))
            return false;
        problem.what = reading::KeyOf(reading::What::Fabrics);
        return std::ranges::find(told, problem) != told.end();
    });
    AddEach(told, problems);
}

} // namespace

void Report::Add(bool answered, const reading::Findings& findings) {
    complete = complete && answered && findings.problems.empty();
    if (problems)
        AddProblems(*problems, findings.problems);
    if (!findings.blindness.empty())
        AddEach(notes, {findings.blindness});
}

void Report::Add(const Report& part) {
    complete = complete && part.complete;
    if (problems && part.problems)
        AddProblems(*problems, *part.problems);
    AddEach(notes, part.notes);
}

std::string KindOf(std::string_view command) {
    std::string kind(command);
    std::ranges::replace(kind, ' ', '-');
    return kind;
}

Json DocumentOf(const std::string& command, const Report& report, const Failure* failure) {
    Json document;
    document["schema"] = "fcoectl/" + KindOf(command);
    document["version"] = DOCUMENT_VERSION;
    document["complete"] = report.complete && !failure;
    for (const auto& [key, value] : report.body.items())
        document[key] = value;
    if (report.problems) {
        document["problems"] = Json::array();
        for (const reading::Problem& problem : *report.problems)
            document["problems"].push_back(ProblemObject(problem));
    }
    if (!report.notes.empty())
        document["notes"] = report.notes;
    if (failure) {
        const auto& details = failure->Details();
        document["error"] = ErrorObject(details.front(), failure->Code());
        if (!failure->Hints().empty())
            document["error"]["hints"] = failure->Hints();
        for (std::size_t i = 1; i < details.size(); ++i)
            document["more_errors"].push_back(ErrorObject(details[i], failure->Code()));
    }
    return document;
}

std::string TextOf(const Json& document) {
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
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

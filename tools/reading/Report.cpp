#include "tools/reading/Report.h"

#include <algorithm>

#include "tools/reading/What.h"

namespace reading {
namespace {

using Json = nlohmann::ordered_json;

Json ProblemObject(const Problem& problem) {
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
void AddProblems(std::vector<Problem>& told, std::vector<Problem> problems) {
    std::erase_if(problems, [&](Problem problem) {
        if (problem.what != KeyOf(What::Ports))
            return false;
        problem.what = KeyOf(What::Fabrics);
        return std::ranges::find(told, problem) != told.end();
    });
    AddEach(told, problems);
}

} // namespace

void Report::Add(bool answered, const Findings& findings) {
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

Json DocumentOf(std::string_view command, const Report& report) {
    Json document;
    document["schema"] = "fcoectl/" + KindOf(command);
    document["version"] = DOCUMENT_VERSION;
    document["complete"] = report.complete;
    for (const auto& [key, value] : report.body.items())
        document[key] = value;
    if (report.problems) {
        document["problems"] = Json::array();
        for (const Problem& problem : *report.problems)
            document["problems"].push_back(ProblemObject(problem));
    }
    if (!report.notes.empty())
        document["notes"] = report.notes;
    return document;
}

std::string TextOf(const Json& document) {
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace reading

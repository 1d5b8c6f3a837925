#include "tools/reading/Report.h"

#include <algorithm>

#include "tools/reading/What.h"

namespace reading {
namespace {

using Json = nlohmann::ordered_json;

void Tell(DocumentSink& sink, const Problem& problem) {
    sink.BeginObject();
    sink.Member("adapter", problem.adapter);
    sink.Member("what", problem.what);
    sink.Member("function", problem.function);
    sink.Member("status", problem.status ? Json(*problem.status) : Json(nullptr));
    sink.Member("text", problem.text);
    sink.Member("advice", problem.advice);
    sink.End();
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

void TellBeginning(DocumentSink& sink, std::string_view command, bool complete) {
    sink.BeginObject();
    sink.Member("schema", "fcoectl/" + KindOf(command));
    sink.Member("version", DOCUMENT_VERSION);
    sink.Member("complete", complete);
}

void TellProblems(DocumentSink& sink, const Report& report) {
    if (report.problems) {
        sink.Key("problems");
        sink.BeginArray();
        for (const Problem& problem : *report.problems)
            Tell(sink, problem);
        sink.End();
    }
    if (!report.notes.empty())
        sink.Texts("notes", report.notes);
}

void TellError(DocumentSink& sink, const ReportedError& error) {
    sink.BeginObject();
    sink.Member("code", error.code);
    sink.Member("name", error.name);
    sink.Member("text", error.text);
    sink.Texts("arguments", error.arguments);
    sink.Member("source", error.source);
    sink.Member("exit_code", error.exitCode);
    if (!error.hints.empty())
        sink.Texts("hints", error.hints);
    sink.End();
}

std::string TextOf(const Json& document) {
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace reading

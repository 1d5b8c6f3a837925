#include "simulator/topology/TopologyReader.h"

#include <algorithm>

#include "simulator/topology/HexFile.h"
#include "simulator/topology/JsonPlaces.h"
#include "simulator/topology/ObjectReader.h"

namespace sim {
namespace {

Problem RepeatedKey(const JsonPlaces::Repeated& repeated) {
    const auto cut = repeated.pointer.rfind('/');
    const std::string key = KeyOfToken(std::string_view(repeated.pointer).substr(cut + 1));
    Problem problem;
    problem.kind = Problem::Kind::Key;
    problem.pointer = repeated.pointer.substr(0, cut);
    problem.at = repeated.pointer;
    problem.text = "the key " + nlohmann::json(key).dump() + " is given twice in one object";
    problem.offset = repeated.offset;
    return problem;
}

} // namespace

// What the parser itself does not say: the places.
std::vector<Problem> RepeatedKeys(std::string_view text, const std::vector<std::string>& said) {
    std::vector<Problem> problems;
    if (said.empty())
        return problems;
    const JsonPlaces places(text);
    for (const auto& repeated : places.RepeatedKeys())
        problems.push_back(RepeatedKey(repeated));
    if (problems.empty()) { // deeper than any key of the format
        Problem problem;
        problem.kind = Problem::Kind::Key;
        problem.text = said.front();
        problems.push_back(problem);
    }
    return problems;
}

Problem SyntaxProblem(const JsonSyntaxError& error) {
    Problem problem;
    problem.kind = Problem::Kind::Text;
    problem.text = error.Problem();
    problem.line = error.Place().line;
    problem.column = error.Place().column;
    return problem;
}

std::string Problem::Message() const {
    const std::string whole = text + (advice.empty() ? "" : "; " + advice);
    return kind == Kind::Value ? (pointer.empty() ? "/" : pointer) + ": " + whole : whole;
}

std::string Problem::OneLine(const std::string& document) const {
    const std::string place =
        kind == Kind::Text ? ":" + std::to_string(line) + ":" + std::to_string(column) : std::string();
    return document + place + ": " + Message();
}

void Locate(std::string_view text, std::vector<Problem>& problems) {
    if (problems.empty())
        return;
    const JsonPlaces places(text);
    for (auto& problem : problems) {
        const JsonSpan& span = places.Nearest(problem.at);
        // An unknown key stands before its value.
        if (problem.kind == Problem::Kind::Value)
            problem.offset = problem.at == problem.pointer ? span.begin : span.key;
    }
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& left, const Problem& right) { return left.offset < right.offset; });
    PlaceWalk walk(text);
    for (auto& problem : problems) {
        const TextPlace place = walk.To(problem.offset);
        problem.line = place.line;
        problem.column = place.column;
    }
}

Reading ReadTopology(std::string_view text, const std::filesystem::path& folder, const ResponseReader& readResponse,
                     const StepSeen& seen) {
    Reading reading;
    const std::string none;
    std::vector<std::string> repeated;
    try {
        nlohmann::json document = ParseJson(text, none, repeated);
        reading.problems = RepeatedKeys(text, repeated);
        const Responses responses{folder, readResponse ? readResponse : ReadHexFile};
        ObjectReader reader(JsonValue(document, none), responses, reading.problems);
        Describe(reader, reading.topology);
        reader.Finish();
        if (reading.problems.empty() && !reading.topology.timeline.empty()) {
            const nlohmann::json steps = document["timeline"];
            document.erase("timeline");
            StepsFound found = CheckSteps({std::move(document), steps, "/timeline"}, responses, seen);
            reading.problems = std::move(found.problems);
            reading.largest = found.largest;
        }
    } catch (const JsonSyntaxError& error) {
        reading.problems.push_back(SyntaxProblem(error));
        return reading;
    }
    Locate(text, reading.problems);
    return reading;
}

Topology ParseTopology(std::string_view text, const std::string& name, const std::filesystem::path& folder,
                       const ResponseReader& readResponse) {
    Reading reading = ReadTopology(text, folder, readResponse);
    if (!reading.problems.empty())
        throw TopologyError(reading.problems.front().OneLine(name));
    return std::move(reading.topology);
}

} // namespace sim

#include "simulator/simctl/CheckedFile.h"

#include <system_error>

#include "simulator/simctl/SystemText.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

using nlohmann::ordered_json;

std::string Line(const std::string& name, const sim::Problem& problem, const char* kind) {
    std::string place = name;
    if (problem.line != 0)
        place += ":" + std::to_string(problem.line) + ":" + std::to_string(problem.column);
    return place + ": " + kind + problem.Message() + "\n";
}

std::string Lines(const std::string& name, const std::vector<sim::Problem>& problems, const char* kind) {
    std::string lines;
    for (const auto& problem : problems)
        lines += Line(name, problem, kind);
    return lines;
}

ordered_json Entries(const std::vector<sim::Problem>& problems) {
    ordered_json entries = ordered_json::array();
    for (const auto& problem : problems) {
        ordered_json entry;
        if (!problem.code.empty())
            entry["code"] = problem.code;
        entry["pointer"] = problem.pointer;
        if (problem.line != 0) {
            entry["line"] = problem.line;
            entry["column"] = problem.column;
        }
        entry["text"] = problem.text;
        if (!problem.advice.empty())
            entry["advice"] = problem.advice;
        entries.push_back(std::move(entry));
    }
    return entries;
}

} // namespace

std::string CheckedFile::Content() const {
    // The words have stayed since there was one file and one line.
    const std::size_t steps = Topology().timeline.size();
    return std::to_string(Topology().adapters.size()) + " adapters, " + std::to_string(Topology().lunCount) +
           " logical units, " + std::to_string(Topology().faults.size()) + " faults" +
           (steps == 0 ? "" : ", " + std::to_string(steps) + " step" + (steps == 1 ? "" : "s"));
}

std::string CheckedFile::ErrorLines() const {
    return Lines(name, checked.reading.problems, "");
}

std::string CheckedFile::WarningLines() const {
    return Lines(name, checked.warnings, "warning: ");
}

ordered_json CheckedFile::Document() const {
    ordered_json document;
    document["file"] = name;
    document["good"] = IsGood();
    if (IsGood()) {
        document["adapters"] = Topology().adapters.size();
        document["luns"] = Topology().lunCount;
        document["faults"] = Topology().faults.size();
        document["steps"] = Topology().timeline.size();
    }
    document["errors"] = Entries(checked.reading.problems);
    document["warnings"] = Entries(checked.warnings);
    return document;
}

CheckedFile CheckFile(const std::filesystem::path& file) {
    const std::string name = sim::Utf8(file.wstring());
    try {
        return CheckText(name, sim::ReadFile(file), file.parent_path());
    } catch (const std::system_error& error) {
        sim::Problem problem;
        problem.kind = sim::Problem::Kind::Nothing;
        problem.text = "cannot be read: " + SystemText(static_cast<unsigned long>(error.code().value()));
        CheckedFile checked{name, {}, {}};
        checked.checked.reading.problems.push_back(problem);
        return checked;
    }
}

CheckedFile CheckText(const std::string& name, const std::string& text, const std::filesystem::path& folder) {
    return {name, text, sim::CheckTopology(text, folder)};
}

CheckedFile CheckBuiltIn() {
    return CheckText("built-in topology", std::string(sim::DefaultTopologyText()), {});
}

} // namespace simctl

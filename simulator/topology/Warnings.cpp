#include "simulator/topology/Warnings.h"

#include "simulator/topology/TopologyReader.h"

namespace sim {

void Warnings::Add(const char* code, const std::string& pointer, const std::string& text, const std::string& advice) {
    Problem problem;
    problem.code = code;
    problem.pointer = problem.at = pointer;
    problem.text = text;
    problem.advice = advice;
    m_problems.push_back(std::move(problem));
}

std::vector<Problem> FindWarnings(const Topology& topology) {
    std::vector<Problem> problems;
    Warnings warnings(problems);
    WarnOfAdapters(topology, warnings);
    WarnOfTargets(topology, warnings);
    WarnOfFaults(topology, warnings);
    return problems;
}

Checked CheckTopology(std::string_view text, const std::filesystem::path& folder) {
    Checked checked{ReadTopology(text, folder), {}};
    if (checked.reading.problems.empty()) {
        checked.warnings = FindWarnings(checked.reading.topology);
        Locate(text, checked.warnings);
    }
    return checked;
}

std::string AdapterPointer(const Adapter& adapter) {
    return "/adapters/" + std::to_string(adapter.index);
}

} // namespace sim

#include "simulator/topology/Warnings.h"

#include <algorithm>
#include <utility>

#include "simulator/topology/TopologyReader.h"

namespace sim {
namespace {

bool IsSame(const Problem& left, const Problem& right) {
    return left.code == right.code && left.pointer == right.pointer && left.text == right.text;
}

// What was not odd before a step.
class StepWarnings {
  public:
    void Look(const Topology& topology, const std::string& pointer) {
        m_steps.push_back({pointer, FindWarnings(topology)});
    }

    // warnings: of the topology before the first.
    void AddTo(std::vector<Problem>& warnings) const {
        std::vector<Problem> told = warnings;
        for (const auto& [step, ofStep] : m_steps) {
            for (const auto& warning : ofStep) {
                if (std::ranges::any_of(told, [&](const Problem& one) { return IsSame(one, warning); }))
                    continue;
                told.push_back(warning);
                warnings.push_back(warning);
                warnings.back().pointer = warnings.back().at = step + "/patch";
                warnings.back().text = "then " + warning.pointer + ": " + warning.text;
            }
        }
    }

  private:
    std::vector<std::pair<std::string, std::vector<Problem>>> m_steps; // by the step's place
};

} // namespace

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
    WarnOfTimeline(topology, warnings);
    return problems;
}

Checked CheckTopology(std::string_view text, const std::filesystem::path& folder) {
    Checked checked;
    StepWarnings steps;
    checked.reading = ReadTopology(
        text, folder, {}, [&](const Topology& topology, const std::string& pointer) { steps.Look(topology, pointer); });
    if (checked.reading.problems.empty()) {
        checked.warnings = FindWarnings(checked.reading.topology);
        steps.AddTo(checked.warnings);
        Locate(text, checked.warnings);
    }
    return checked;
}

std::string AdapterPointer(const Adapter& adapter) {
    return "/adapters/" + std::to_string(adapter.index);
}

} // namespace sim

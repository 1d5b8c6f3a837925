#include "simulator/topology/Steps.h"

#include <algorithm>

#include "simulator/topology/Patch.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

using nlohmann::json;

// What all of them together may be: some seconds of reading.
constexpr std::size_t MAX_VALUES = 50000000;

// Whether a place is the other, or lies within it.
bool IsWithin(std::string_view place, std::string_view other) {
    return place.starts_with(other) && (place.size() == other.size() || place[other.size()] == '/');
}

// The last operation that made what is at the place, or around it; else the patch.
std::string Origin(const json& patch, const std::string& pointer, const std::string& at) {
    for (std::size_t i = patch.size(); i > 0; --i) {
        std::string path = patch[i - 1].at("path");
        if (path.ends_with("/-"))
            path.resize(path.size() - 2);
        if (IsWithin(at, path) || IsWithin(path, at))
            return pointer + "/" + std::to_string(i - 1);
    }
    return pointer;
}

class StepsCheck {
  public:
    StepsCheck(StepsToCheck check, const Responses& responses) : m_check(std::move(check)), m_responses(responses) {}

    StepsFound Run(const StepSeen& seen) {
        std::vector<Problem> problems;
        Topology topology = Read(problems);
        for (std::size_t i = 0; i < m_check.steps.size(); ++i) {
            const json& step = m_check.steps[i];
            const std::string pointer = m_check.pointer + "/" + std::to_string(i);
            if (!FindAdapter(step, topology, pointer) || !Apply(step.at("patch"), pointer + "/patch"))
                break;
            m_values += Measure(m_check.document).values;
            if (m_values > MAX_VALUES) {
                Refuse(pointer, "cannot be checked: the timeline is too long for so large a topology");
                break;
            }
            topology = Read(problems);
            for (const auto& problem : problems)
                RefuseResult(problem, Origin(step.at("patch"), pointer + "/patch", problem.at));
            if (!problems.empty())
                break;
            m_found.largest = std::max(m_found.largest, m_check.document.dump().size());
            if (seen)
                seen(topology, pointer);
        }
        return std::move(m_found);
    }

  private:
    Topology Read(std::vector<Problem>& problems) const {
        const std::string none;
        Topology topology;
        ObjectReader reader(JsonValue(m_check.document, none), m_responses, problems);
        Describe(reader, topology);
        reader.Finish();
        if (reader.Has("timeline"))
            reader.Refuse("timeline", "a step cannot change the timeline");
        return topology;
    }

    bool FindAdapter(const json& step, const Topology& topology, const std::string& pointer) {
        const auto adapter = step.find("adapter");
        if (adapter == step.end() || topology.FindAdapter(Wide(adapter->get<std::string>())))
            return true;
        Refuse(pointer + "/adapter", "expected the identifier of an adapter of this topology as it is then, found " +
                                         adapter->dump(-1, ' ', false, json::error_handler_t::replace));
        return false;
    }

    bool Apply(const json& patch, const std::string& pointer) {
        Patcher patcher(m_check.document);
        for (std::size_t i = 0; i < patch.size(); ++i) {
            try {
                patcher.Apply(patch[i]);
            } catch (const PatchError& error) {
                Refuse(pointer + "/" + std::to_string(i), std::string("cannot be applied: ") + error.what());
                return false;
            }
        }
        return true;
    }

    void Refuse(const std::string& pointer, const std::string& text) {
        Problem problem;
        problem.pointer = problem.at = pointer;
        problem.text = text;
        m_found.problems.push_back(std::move(problem));
    }

    void RefuseResult(const Problem& problem, const std::string& pointer) {
        Refuse(pointer,
               "leaves a wrong topology: " + (problem.pointer.empty() ? "/" : problem.pointer) + ": " + problem.text);
        m_found.problems.back().advice = problem.advice;
    }

    StepsToCheck m_check;
    const Responses& m_responses;
    StepsFound m_found;
    std::size_t m_values = 0;
};

} // namespace

StepsFound CheckSteps(StepsToCheck check, const Responses& responses, const StepSeen& seen) {
    return StepsCheck(std::move(check), responses).Run(seen);
}

} // namespace sim

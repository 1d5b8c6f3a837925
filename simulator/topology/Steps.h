// What the steps of a timeline make of a topology, looked at before the first is taken.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "simulator/topology/ObjectReader.h"
#include "simulator/topology/Problem.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct StepsToCheck {
    nlohmann::json document; // as it is before the first, without a timeline
    const nlohmann::json& steps;
    std::string pointer; // where the list of them stands
};

// Called with each topology that a step makes and the step's place.
using StepSeen = std::function<void(const Topology&, const std::string& pointer)>;

struct StepsFound {
    std::vector<Problem> problems; // of the first step that has any; their places are in the step
    std::size_t largest = 0;       // bytes of the largest topology that one makes
};

// The document and the steps by themselves are good.
StepsFound CheckSteps(StepsToCheck check, const Responses& responses, const StepSeen& seen = {});

} // namespace sim

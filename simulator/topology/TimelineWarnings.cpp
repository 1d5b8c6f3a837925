// What is odd about a timeline by itself; what its steps make is looked at as any topology.
#include "simulator/topology/FunctionTraits.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Warnings.h"

namespace sim {

void WarnOfTimeline(const Topology& topology, Warnings& warnings) {
    for (std::size_t i = 0; i < topology.timeline.size(); ++i) {
        const Step& step = topology.timeline[i];
        if (step.function && !step.adapter.empty() && !TraitsOf(*step.function).hasAdapter)
            warnings.Add("never_counted", "/timeline/" + std::to_string(i) + "/adapter",
                         std::string(FUNCTION_NAMES[*step.function]) +
                             " is about no adapter, so the step is never taken, and none after it",
                         "leave \"adapter\" out");
    }
}

} // namespace sim

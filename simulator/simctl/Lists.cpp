// simctl functions, default and schema
#include "simulator/simctl/Schema.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/FunctionTraits.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Topology.h"

namespace simctl {

int PrintFunctions(Console& console, bool json) {
    auto rows = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < sim::FUNCTION_COUNT; ++i) {
        const std::string name(sim::FUNCTION_NAMES[i]);
        const sim::FunctionTraits traits = sim::TraitsOf(i);
        if (!json) {
            console.Out(name + "\n");
            continue;
        }
        rows.push_back({{"function", name},
                        {"module", sim::ModuleText(traits.module)},
                        {"adapter", traits.hasAdapter},
                        {"result", sim::ReturnsHresults(traits.module) ? "hresult" : "status"},
                        {"can_be_missing", i <= sim::LAST_FOUND_BY_NAME}});
    }
    if (json)
        console.OutJson({{"schema", "simctl/functions"}, {"version", 1}, {"functions", rows}});
    return GOOD;
}

int PrintDefault(Console& console) {
    console.Out(sim::DefaultTopologyText());
    return GOOD;
}

int PrintSchema(Console& console) {
    console.OutJson(TopologySchema());
    return GOOD;
}

} // namespace simctl

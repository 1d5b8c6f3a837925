#include "simulator/control/Scene.h"

#include <algorithm>

#include "simulator/control/StateFile.h"

namespace sim {
namespace {

std::uint64_t NextId() {
    static std::atomic<std::uint64_t> ids{0};
    return ++ids;
}

} // namespace

Scene::Scene(const Choice& choice, std::shared_ptr<World> from)
    : world(std::move(from)), id(NextId()), isText(choice.origin == Origin::Control), stateFile(StateFileOf(choice)),
      stateName(StateNameOf(choice)) {
    WorldContent content;
    std::tie(content, version) = world->Newest();
    error = content.error;
    if (error.empty())
        topology = TopologyOf(content);
    faults = std::make_unique<std::vector<std::unique_ptr<FaultProgress>>[]>(FUNCTION_COUNT);
    for (const auto& fault : topology.faults)
        faults[fault.function].push_back(std::make_unique<FaultProgress>(fault));
    capacityCommands = std::make_unique<std::atomic<std::uint32_t>[]>(topology.lunCount);
}

bool Scene::IsMissing(std::size_t function) const {
    return armed && std::any_of(faults[function].begin(), faults[function].end(),
                                [](const auto& progress) { return progress->fault->missing; });
}

void Scene::Arm(bool arm) {
    for (std::size_t function = 0; function < FUNCTION_COUNT; ++function) {
        for (const auto& progress : faults[function])
            progress->calls = 0;
    }
    armed = arm;
}

} // namespace sim

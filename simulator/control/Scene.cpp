#include "simulator/control/Scene.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "simulator/control/StateFile.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

std::uint64_t NextId() {
    static std::atomic<std::uint64_t> ids{0};
    return ++ids;
}

// The logical units that begin with check conditions, by what makes each the one that it is.
std::map<std::tuple<std::string, Wwn, std::uint64_t>, std::uint32_t> UnitsThatCount(const Topology& topology) {
    std::map<std::tuple<std::string, Wwn, std::uint64_t>, std::uint32_t> units;
    for (const auto& adapter : topology.adapters) {
        for (const auto& target : adapter.targets) {
            for (const auto& lun : target.luns) {
                if (lun.checkConditions != 0)
                    units.emplace(std::tuple(adapter.identifier, target.portWwn, lun.fcpLun), lun.id);
            }
        }
    }
    return units;
}

} // namespace

Scene::Scene(const Choice& choice, std::shared_ptr<World> from)
    : world(std::move(from)), id(NextId()), isText(choice.origin == Origin::Control), stateFile(StateFileOf(choice)),
      stateName(StateNameOf(choice)) {
    const auto newest = world->Newest();
    const WorldContent& content = newest.content;
    version = newest.version;
    run = newest.run;
    error = content.error;
    if (error.empty())
        topology = TopologyOf(content);
    faults = std::make_unique<std::vector<std::unique_ptr<FaultProgress>>[]>(FUNCTION_COUNT);
    const auto& numbers = content.motion.faults;
    for (std::uint32_t i = 0; i < topology.faults.size(); ++i) {
        const Fault& fault = topology.faults[i];
        faults[fault.function].push_back(std::make_unique<FaultProgress>(fault, i < numbers.size() ? numbers[i] : i));
    }
    if (!topology.answers.empty())
        answers = std::make_unique<std::vector<std::unique_ptr<AnswerProgress>>[]>(FUNCTION_COUNT);
    for (const auto& answer : topology.answers)
        answers[answer.function].push_back(std::make_unique<AnswerProgress>(answer));
    capacityCommands = std::make_unique<std::atomic<std::uint32_t>[]>(topology.lunCount);
    if (const auto step = NextStep(content.motion)) {
        next.emplace();
        next->due = step->afterMs ? newest.since + *step->afterMs : UINT64_MAX;
        next->calls = step->afterCalls;
        next->function = step->function;
        if (const Adapter* adapter = topology.FindAdapter(Wide(step->adapter)))
            next->adapter = adapter->index;
    }
}

void Scene::GoOnFrom(const Scene& before) {
    if (before.world != world || before.run != run)
        return;
    for (std::size_t function = 0; function < FUNCTION_COUNT; ++function) {
        for (const auto& progress : faults[function]) {
            for (const auto& earlier : before.faults[function]) {
                if (earlier->number == progress->number)
                    progress->calls = earlier->calls;
            }
        }
        for (std::size_t i = 0; answers && before.answers && i < answers[function].size(); ++i) {
            const auto& earlier = before.answers[function];
            if (i < earlier.size() && *earlier[i]->answer == *answers[function][i]->answer)
                answers[function][i]->requests = earlier[i]->requests;
        }
    }
    const auto counted = UnitsThatCount(before.topology);
    for (const auto& [unit, id] : UnitsThatCount(topology)) {
        if (const auto found = counted.find(unit); found != counted.end())
            capacityCommands[id] = before.capacityCommands[found->second].load();
    }
}

bool Scene::IsMissing(std::size_t function) const {
    return armed && std::any_of(faults[function].begin(), faults[function].end(),
                                [](const auto& progress) { return progress->fault->missing; });
}

void Scene::Arm(bool arm) {
    for (std::size_t function = 0; function < FUNCTION_COUNT; ++function) {
        for (const auto& progress : faults[function])
            *progress->calls = 0;
        if (!answers)
            continue;
        for (const auto& progress : answers[function])
            *progress->requests = 0;
    }
    armed = arm;
}

} // namespace sim

// A version of a world as one module shows it: the topology, and how far its faults have come here.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "simulator/control/World.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct FaultProgress {
    explicit FaultProgress(const Fault& fault) : fault(&fault) {}
    const Fault* fault;
    std::atomic<std::uint32_t> calls{0}; // matching calls so far
};

// Its content never changes; only the progress counters do.
struct Scene {
    // The newest version of the world, for a process with that choice.
    Scene(const Choice& choice, std::shared_ptr<World> from);

    const std::shared_ptr<World> world;
    const std::uint64_t id; // no other scene of the module has it
    std::uint64_t version = 0;
    std::uint64_t serial = 0;  // the process's, when it was made
    std::uint64_t armings = 0; // how often the process had armed or disarmed its faults then
    bool isText = false;       // given as text by the process itself

    Topology topology;
    std::string error; // the topology is wrong: what is wrong; every simulated function fails
    std::unique_ptr<std::vector<std::unique_ptr<FaultProgress>>[]> faults; // by function
    std::unique_ptr<std::atomic<std::uint32_t>[]> capacityCommands;        // by LUN, counted for its check conditions
    std::filesystem::path stateFile; // where its virtual-port changes are kept; empty: in its world
    std::string stateName;           // whose changes they are in there
    std::atomic<bool> armed{true};   // whether its faults show themselves

    const std::vector<std::unique_ptr<FaultProgress>>& FaultsOf(Function function) const {
        return faults[function.index];
    }
    bool IsMissing(std::size_t function) const;
    // Has the faults show themselves, with their calls counted anew, or not.
    void Arm(bool arm);
};

} // namespace sim

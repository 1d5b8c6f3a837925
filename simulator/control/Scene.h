// A version of a world as one module shows it: the topology, how far its faults have come here, and what the world
// waits for.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/control/World.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct FaultProgress {
    explicit FaultProgress(const Fault& fault, std::uint32_t number)
        : fault(&fault), number(number), calls(std::make_shared<std::atomic<std::uint32_t>>(0)) {}
    const Fault* fault;
    std::uint32_t number;                              // of the fault, in the world's run
    std::shared_ptr<std::atomic<std::uint32_t>> calls; // matching calls so far
};

// What the world moves on by.
struct AwaitedStep {
    std::uint64_t due = UINT64_MAX;       // the tick
    std::uint32_t calls = 0;              // or so many calls; 0: none count
    std::optional<std::size_t> function;  // of this function alone
    std::optional<std::uint32_t> adapter; // about the adapter of this place alone
};

struct AnswerProgress {
    explicit AnswerProgress(const Answer& answer)
        : answer(&answer), requests(std::make_shared<std::atomic<std::size_t>>(0)) {}
    const Answer* answer;
    std::shared_ptr<std::atomic<std::size_t>> requests; // that it was for, so far
};

// Its content never changes; only the progress counters do.
struct Scene {
    // The newest version of the world, for a process with that choice.
    Scene(const Choice& choice, std::shared_ptr<World> from);

    const std::shared_ptr<World> world;
    const std::uint64_t id; // no other scene of the module has it
    std::uint64_t version = 0;
    std::uint64_t run = 0;     // the world's
    std::uint64_t serial = 0;  // the process's, when it was made
    std::uint64_t armings = 0; // how often the process had armed or disarmed its faults then
    bool isText = false;       // given as text by the process itself

    Topology topology;
    std::string error; // the topology is wrong: what is wrong; every simulated function fails
    std::unique_ptr<std::vector<std::unique_ptr<FaultProgress>>[]> faults; // by function
    // The recorded answers, by function; null: there are none.
    std::unique_ptr<std::vector<std::unique_ptr<AnswerProgress>>[]> answers;
    std::unique_ptr<std::atomic<std::uint32_t>[]> capacityCommands; // by LUN, counted for its check conditions
    std::filesystem::path stateFile; // where its virtual-port changes are kept; empty: in its world
    std::string stateName;           // whose changes they are in there
    std::atomic<bool> armed{true};   // whether its faults and answers show themselves

    const std::vector<std::unique_ptr<FaultProgress>>& FaultsOf(Function function) const {
        return faults[function.index];
    }
    bool IsMissing(std::size_t function) const;

    std::optional<AwaitedStep> next; // none: the world stays as it is
    // Whether the next step's time has come.
    bool IsTimeUp() const { return next && GetTickCount64() >= next->due; }
    // Whether it waits for a call of the function about the adapter.
    bool IsWaitingFor(Function function, const Adapter* adapter) const {
        return next->calls != 0 && (!next->function || *next->function == function.index) &&
               (!next->adapter || (adapter && *next->adapter == adapter->index));
    }

    // Takes over what was counted in an earlier version of the same run. Nobody else has this one yet.
    void GoOnFrom(const Scene& before);
    // Has the faults and recorded answers show themselves, with their calls counted anew, or not.
    void Arm(bool arm);
};

} // namespace sim

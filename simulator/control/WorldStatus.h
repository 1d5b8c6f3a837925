// What tools can know of the worlds on this machine, without a simulated module in their process.
//
//     if (const auto status = sim::StatusOfProcess(id))
//         ... status->source, status->version, status->error ...
//
// Link sim_world. All of it may be called from any thread; texts are UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include "simulator/control/WorldContent.h"

namespace sim {

struct WorldStatus {
    // What chose it: "built-in", "registry", "variable" or "control".
    std::string origin;
    // The file as it was named; empty for the built-in topology and for a text.
    std::string source;
    // Which version the modules show; 0: no process has the world at the moment.
    std::uint64_t version = 0;
    // What is wrong with the file, or the text, as OrvanSim_TopologyError has it; empty: nothing.
    std::string error;
    // There is an error, and the modules show the last good topology. Without it each of their functions fails.
    bool lastGoodInUse = false;
    // The file that the process's calls are logged in; empty: they are not logged.
    std::string calls;

    bool operator==(const WorldStatus&) const = default;
};

// The world that the modules of a process are in. None: no module of the suite has been asked anything in it, or it may
// not be looked at.
std::optional<WorldStatus> StatusOfProcess(DWORD process);

// The world of all processes that have no choice of their own: the registry's, else the built-in one. When no process
// has it, the file is read to see what is wrong with it.
WorldStatus StatusOfMachine();

// The world of a host that is started with this process's variables.
WorldStatus StatusOfConfigured();
// What the modules show in that world; none: no process has it at the moment.
std::optional<WorldContent> ShownInConfigured();

// How far that world has moved on by a timeline.
struct TimelineStatus {
    std::string script; // the file that its steps come from; empty: they are the topology's own
    std::uint32_t taken = 0;
    std::uint32_t left = 0;
    std::optional<Step> next; // none: all are taken
    // What is missing for the next, one or the other.
    std::uint64_t msLeft = 0;
    std::uint32_t callsLeft = 0;
};
// None: no process has the world at the moment, or it does not move.
std::optional<TimelineStatus> TimelineOfConfigured();

struct ProcessWorld {
    std::uint32_t process = 0;
    std::string program; // the name of its file
    WorldStatus status;

    bool operator==(const ProcessWorld&) const = default;
};
// All processes of the suite that are in a world, by their ids. Those of a suite of another instance are not among
// them.
std::vector<ProcessWorld> AllProcessWorlds();

} // namespace sim

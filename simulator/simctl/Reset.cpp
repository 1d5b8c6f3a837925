// simctl reset
#include <algorithm>

#include <windows.h>

#include "simulator/control/StateFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

// Of the topology in use; the changes to others stay. Throws TopologyError.
void Forget(const std::filesystem::path& file) {
    const std::string name = sim::Utf8(file.wstring());
    const sim::StateFileLock lock(file);
    auto states = sim::ParseStates(sim::ReadStateFile(file), name);
    states.erase(sim::StateNameOf(sim::ConfiguredChoice()));
    if (!states.empty())
        sim::WriteStateFile(file, states.dump(4) + "\n");
    else if (!DeleteFileW(file.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND)
        throw sim::TopologyError(name + ": cannot be deleted: " + SystemText(GetLastError()));
}

void StartAnew(Console& console) {
    const auto world = sim::World::Find(sim::WorldName(sim::ConfiguredChoice()));
    if (!world)
        return;
    const sim::Motion motion = world->Newest().content.motion;
    if (!motion.IsMoving())
        return;
    world->LookAtFile(sim::World::Look::Always);
    console.Out("started anew: " + std::to_string(motion.taken) + (motion.taken == 1 ? " step" : " steps") +
                " had been taken\n");
}

} // namespace

int Reset(Console& console) {
    StartAnew(console);
    const KeptState state = ReadState();
    const std::string name = sim::Utf8(state.file.wstring());
    if (!state.error.empty()) {
        if (!DeleteFileW(state.file.c_str())) {
            console.Err(name + ": cannot be deleted: " + SystemText(GetLastError()) + "\n");
            return WRONG;
        }
        console.Out("forgotten: a state file that was wrong, " + name + "\n");
        return GOOD;
    }
    if (state.changes.empty()) {
        console.Out("nothing to forget: no virtual port was created or removed\n");
        return GOOD;
    }
    try {
        Forget(state.file);
    } catch (const sim::TopologyError& error) {
        console.Err(std::string(error.what()) + "\n");
        return WRONG;
    }
    const auto created = std::ranges::count_if(state.changes, [](const PortChange& change) { return change.created; });
    const auto all = static_cast<std::ptrdiff_t>(state.changes.size());
    console.Out("forgotten: " + std::to_string(created) + " created and " + std::to_string(all - created) +
                " removed virtual ports, " + name + "\n");
    return GOOD;
}

} // namespace simctl

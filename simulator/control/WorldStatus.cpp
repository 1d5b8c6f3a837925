#include "simulator/control/WorldStatus.h"

#include <algorithm>

#include <tlhelp32.h>

#include "simulator/control/CallFile.h"
#include "simulator/control/Process.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

const char* NameOf(Origin origin) {
    switch (origin) {
    case Origin::Registry:
        return "registry";
    case Origin::Variable:
        return "variable";
    case Origin::Control:
        return "control";
    default:
        return "built-in";
    }
}

WorldStatus StatusOf(const Choice& choice, World* world) {
    WorldStatus status;
    status.origin = NameOf(choice.origin);
    status.source = Utf8(choice.source);
    if (!world) {
        if (!choice.source.empty())
            status.error = ContentOfFile(choice.source, status.source).error;
        return status;
    }
    world->MoveOn();
    const auto newest = world->Newest();
    status.version = newest.version;
    status.error = newest.content.error;
    if (status.error.empty()) {
        status.error = world->Problem();
        status.lastGoodInUse = !status.error.empty();
    }
    return status;
}

std::optional<WorldStatus> StatusOf(const ProcessStatus& process) {
    const auto world = World::Find(process.world);
    if (!world)
        return std::nullopt;
    WorldStatus status = StatusOf(process.choice, world.get());
    status.calls = Utf8(process.calls);
    return status;
}

} // namespace

std::optional<WorldStatus> StatusOfProcess(DWORD process) {
    const auto found = Process::StatusOf(process);
    return found ? StatusOf(*found) : std::nullopt;
}

WorldStatus StatusOfMachine() {
    const Choice choice = ConfiguredChoice(false);
    WorldStatus status = StatusOf(choice, World::Find(WorldName(choice)).get());
    status.calls = Utf8(RegistryText(L"Calls"));
    return status;
}

WorldStatus StatusOfConfigured() {
    const Choice choice = ConfiguredChoice();
    WorldStatus status = StatusOf(choice, World::Find(WorldName(choice)).get());
    status.calls = Utf8(ConfiguredCallFile());
    return status;
}

std::optional<WorldContent> ShownInConfigured() {
    const auto world = World::Find(WorldName(ConfiguredChoice()));
    if (!world)
        return std::nullopt;
    world->MoveOn();
    auto newest = world->Newest();
    return newest.version == 0 ? std::nullopt : std::optional(std::move(newest.content));
}

std::optional<TimelineStatus> TimelineOfConfigured() {
    const auto world = World::Find(WorldName(ConfiguredChoice()));
    if (!world)
        return std::nullopt;
    world->MoveOn();
    const auto newest = world->Newest();
    const Motion& motion = newest.content.motion;
    if (!motion.IsMoving())
        return std::nullopt;
    TimelineStatus status{motion.script, motion.taken, motion.left, NextStep(motion), 0, 0};
    if (status.next && status.next->afterMs) {
        const std::uint64_t due = newest.since + *status.next->afterMs;
        const std::uint64_t now = GetTickCount64();
        status.msLeft = due > now ? due - now : 0;
    } else if (status.next) {
        status.callsLeft =
            status.next->afterCalls - std::min(status.next->afterCalls, world->CountedCalls(newest.version));
    }
    return status;
}

std::vector<ProcessWorld> AllProcessWorlds() {
    const std::wstring instance = ConfiguredChoice().instance;
    std::vector<ProcessWorld> worlds;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
        const auto found = Process::StatusOf(entry.th32ProcessID);
        if (!found || found->choice.instance != instance)
            continue;
        if (auto status = StatusOf(*found))
            worlds.push_back({entry.th32ProcessID, Utf8(entry.szExeFile), std::move(*status)});
    }
    CloseHandle(snapshot);
    std::ranges::sort(worlds, {}, &ProcessWorld::process);
    return worlds;
}

} // namespace sim

#include "simulator/control/WorldStatus.h"

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

WorldStatus StatusOf(const Choice& choice, const World* world) {
    WorldStatus status;
    status.origin = NameOf(choice.origin);
    status.source = Utf8(choice.source);
    if (!world) {
        if (!choice.source.empty())
            status.error = ContentOfFile(choice.source, status.source).error;
        return status;
    }
    const auto [content, version] = world->Newest();
    status.version = version;
    status.error = content.error;
    if (status.error.empty()) {
        status.error = world->Problem();
        status.lastGoodInUse = !status.error.empty();
    }
    return status;
}

} // namespace

std::optional<WorldStatus> StatusOfProcess(DWORD process) {
    const auto found = Process::StatusOf(process);
    const auto world = found ? World::Find(found->world) : nullptr;
    if (!world)
        return std::nullopt;
    WorldStatus status = StatusOf(found->choice, world.get());
    status.calls = Utf8(found->calls);
    return status;
}

WorldStatus StatusOfMachine() {
    const Choice choice = ConfiguredChoice(false);
    WorldStatus status = StatusOf(choice, World::Find(WorldName(choice)).get());
    status.calls = Utf8(RegistryText(L"Calls"));
    return status;
}

} // namespace sim

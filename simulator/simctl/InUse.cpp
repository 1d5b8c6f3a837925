#include "simulator/simctl/InUse.h"

#include <windows.h>

#include "simulator/control/StateFile.h"
#include "simulator/control/WorldStatus.h"
#include "simulator/topology/Text.h"

namespace simctl {

InUse FindInUse() {
    InUse inUse;
    inUse.file = sim::TopologyFile();
    if (!inUse.file.empty()) {
        const bool variable = GetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr, 0) > 1;
        inUse.source = variable ? Source::Variable : Source::Registry;
    }
    return inUse;
}

std::string SourceText(Source source) {
    switch (source) {
    case Source::Variable:
        return "the variable ORVAN_SIM_TOPOLOGY";
    case Source::Registry:
        return "the registry value Topology";
    default:
        return "neither variable nor registry value";
    }
}

std::string SourceCode(Source source) {
    return source == Source::Variable ? "variable" : source == Source::Registry ? "registry" : "built_in";
}

CheckedFile Check(const InUse& inUse) {
    return inUse.file.empty() ? CheckBuiltIn() : CheckFile(inUse.file);
}

CheckedFile CheckMoved(const InUse& inUse) {
    CheckedFile file = Check(inUse);
    const auto content = sim::ShownInConfigured();
    const bool moved =
        content && content->text == file.text && (content->motion.taken != 0 || !content->motion.script.empty());
    return moved ? CheckText(file.name, content->Document(), sim::Wide(content->folder)) : file;
}

KeptState ReadState() {
    const sim::Choice choice = sim::ConfiguredChoice();
    KeptState state;
    state.file = sim::StateFileOf(choice);
    const std::string name = sim::Utf8(state.file.wstring());
    try {
        const sim::StateFileLock lock(state.file);
        const auto states = sim::ParseStates(sim::ReadStateFile(state.file), name);
        for (const auto& [adapter, changes] : sim::StateIn(states, sim::StateNameOf(choice), name)) {
            for (const auto& port : changes.created)
                state.changes.push_back({adapter, true, sim::WwnText(port.portWwn), port.fcId});
            for (const auto& wwn : changes.removed)
                state.changes.push_back({adapter, false, sim::WwnText(wwn), 0});
        }
    } catch (const sim::TopologyError& error) {
        state.error = error.what();
    }
    return state;
}

std::filesystem::path CallLogFile() {
    return sim::SimulatorSetting(L"ORVAN_SIM_CALLS", L"Calls");
}

} // namespace simctl

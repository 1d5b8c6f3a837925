#include "simulator/simctl/InUse.h"

#include <system_error>

#include <windows.h>

#include "simulator/simctl/SystemText.h"
#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

std::filesystem::path StateFile(const InUse& inUse) {
    const auto configured = sim::SimulatorSetting(L"ORVAN_SIM_STATE", L"State");
    if (!configured.empty())
        return configured;
    if (!inUse.file.empty())
        return inUse.file.wstring() + L".state";
    wchar_t folder[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, folder);
    return std::filesystem::path(folder) / L"OrvanSim.state";
}

void ReadAdapters(const sim::JsonValue& adapters, std::vector<PortChange>& changes) {
    if (!adapters.Json().is_object())
        adapters.FailExpected("an object");
    for (const auto& [identifier, value] : adapters.Json().items()) {
        const std::string pointer = adapters.Pointer() + "/" + sim::PointerToken(identifier);
        sim::JsonObject adapter(sim::JsonValue(value, adapters.Document(), pointer));
        for (const auto& entry : adapter.Require("created").Array()) {
            sim::JsonObject port(entry);
            changes.push_back({identifier, true, sim::WwnText(port.Require("port_wwn").WorldWideName()),
                               static_cast<std::uint32_t>(port.Require("fc_id").Unsigned(0, UINT32_MAX))});
        }
        for (const auto& entry : adapter.Require("removed").Array())
            changes.push_back({identifier, false, sim::WwnText(entry.WorldWideName()), 0});
    }
}

std::vector<PortChange> ParseState(const std::string& text, const std::string& name) {
    std::vector<PortChange> changes;
    const nlohmann::json document = sim::ParseJson(text, name);
    const sim::JsonValue root(document, name);
    // By adapters, or by topologies that have adapters.
    if (document.empty() || !document.is_object() || document.begin().key().starts_with('{')) {
        ReadAdapters(root, changes);
        return changes;
    }
    for (const auto& [topology, adapters] : document.items())
        ReadAdapters(sim::JsonValue(adapters, name, "/" + sim::PointerToken(topology)), changes);
    return changes;
}

} // namespace

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

KeptState ReadState(const InUse& inUse) {
    KeptState state;
    state.file = StateFile(inUse);
    try {
        state.changes = ParseState(sim::ReadFile(state.file), sim::Utf8(state.file.wstring()));
    } catch (const std::system_error& error) {
        if (error.code().value() != ERROR_FILE_NOT_FOUND && error.code().value() != ERROR_PATH_NOT_FOUND)
            state.error = sim::Utf8(state.file.wstring()) +
                          ": cannot be read: " + SystemText(static_cast<unsigned long>(error.code().value()));
    } catch (const sim::TopologyError& error) {
        state.error = error.what();
    }
    return state;
}

std::filesystem::path CallLogFile() {
    return sim::SimulatorSetting(L"ORVAN_SIM_CALLS", L"Calls");
}

} // namespace simctl

#include "simulator/control/StateFile.h"

#include <system_error>

#include <windows.h>

#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

using nlohmann::json;

State StateOf(const JsonValue& root) {
    State state;
    if (!root.Json().is_object())
        root.FailExpected("an object");
    for (const auto& [identifier, value] : root.Json().items()) {
        JsonObject adapter(JsonValue(value, root.Document(), root.Pointer() + "/" + identifier));
        AdapterChanges& changes = state[identifier];
        for (const auto& entry : adapter.Require("created").Array()) {
            JsonObject port(entry);
            CreatedPort created;
            created.portWwn = port.Require("port_wwn").WorldWideName();
            created.fcId = static_cast<std::uint32_t>(port.Require("fc_id").Unsigned(0, UINT32_MAX));
            port.Finish();
            changes.created.push_back(created);
        }
        for (const auto& entry : adapter.Require("removed").Array())
            changes.removed.push_back(entry.WorldWideName());
        adapter.Finish();
    }
    return state;
}

} // namespace

std::filesystem::path StateFileOf(const Choice& choice) {
    if (choice.origin == Origin::Control)
        return {};
    const auto configured = SimulatorSetting(L"ORVAN_SIM_STATE", L"State");
    if (!configured.empty())
        return configured;
    if (!choice.source.empty())
        return choice.source + L".state";
    wchar_t folder[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, folder);
    return std::filesystem::path(folder) / L"OrvanSim.state";
}

std::string StateNameOf(const Choice& choice) {
    return choice.source.empty() ? "built-in topology" : Utf8(FileKey(choice.source));
}

StateFileLock::StateFileLock(const std::filesystem::path& file) {
    std::wstring path = std::filesystem::absolute(file).wstring(); // one name for one file
    CharUpperW(path.data());
    const std::wstring name = L"Global\\OrvanSimState-" + std::to_wstring(std::hash<std::wstring>()(path));
    m_mutex.Reset(CreateMutexW(nullptr, FALSE, name.c_str()));
    // A process that died with it left a whole file all the same: files are replaced, not rewritten.
    if (m_mutex)
        WaitForSingleObject(m_mutex.Get(), INFINITE);
}

StateFileLock::~StateFileLock() {
    if (m_mutex)
        ReleaseMutex(m_mutex.Get());
}

json ParseStates(const std::string& text, const std::string& name) {
    if (text.empty())
        return json::object();
    json document = ParseJson(text, name);
    const JsonValue root(document, name);
    if (!document.is_object())
        root.FailExpected("an object");
    for (const auto& [topology, changes] : document.items()) {
        if (topology.starts_with('{')) // an adapter
            root.Fail("of an earlier version, which did not tell topologies apart; delete the file");
    }
    return document;
}

State StateIn(const json& states, const std::string& topology, const std::string& name) {
    const auto found = states.find(topology);
    return found == states.end() ? State() : StateOf(JsonValue(*found, name, "/" + topology));
}

json StateJson(const State& state) {
    json document = json::object();
    for (const auto& [identifier, changes] : state) {
        json created = json::array(), removed = json::array();
        for (const auto& port : changes.created)
            created.push_back({{"port_wwn", WwnText(port.portWwn)}, {"fc_id", port.fcId}});
        for (const auto& wwn : changes.removed)
            removed.push_back(WwnText(wwn));
        document[identifier] = {{"created", created}, {"removed", removed}};
    }
    return document;
}

std::string ReadStateFile(const std::filesystem::path& file) {
    try {
        return ReadFile(file);
    } catch (const std::system_error& error) {
        if (error.code().value() == ERROR_FILE_NOT_FOUND)
            return {};
        throw TopologyError(Utf8(file.wstring()) + ": cannot be read: error " + std::to_string(error.code().value()));
    }
}

void WriteStateFile(const std::filesystem::path& file, const std::string& text) {
    try {
        ReplaceWholeFile(file, text);
    } catch (const std::system_error& error) {
        throw TopologyError(Utf8(file.wstring()) + ": cannot be written: error " +
                            std::to_string(error.code().value()));
    }
}

} // namespace sim

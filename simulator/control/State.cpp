#include "simulator/control/State.h"

#include <system_error>

#include <windows.h>

#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

using nlohmann::json;

// Held while a process reads or replaces the state file. A name per file: simulations with other files do not wait.
class FileLock {
  public:
    explicit FileLock(const std::filesystem::path& file) {
        std::wstring path = std::filesystem::absolute(file).wstring(); // one name for one file
        CharUpperW(path.data());
        const std::wstring name = L"Global\\OrvanSimState-" + std::to_wstring(std::hash<std::wstring>()(path));
        m_mutex = CreateMutexW(nullptr, FALSE, name.c_str());
        // A process that died with it left a whole file all the same: files are replaced, not rewritten.
        if (m_mutex)
            WaitForSingleObject(m_mutex, INFINITE);
    }
    ~FileLock() {
        if (m_mutex) {
            ReleaseMutex(m_mutex);
            CloseHandle(m_mutex);
        }
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

  private:
    HANDLE m_mutex;
};

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

// What a file or a world holds: the changes to several topologies by the names of those.
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

std::string FileText(const std::filesystem::path& file) {
    try {
        return ReadFile(file);
    } catch (const std::system_error& error) {
        if (error.code().value() == ERROR_FILE_NOT_FOUND)
            return {};
        throw TopologyError(Utf8(file.wstring()) + ": cannot be read: error " + std::to_string(error.code().value()));
    }
}

void WriteState(const std::filesystem::path& file, const std::string& text) {
    try {
        ReplaceWholeFile(file, text);
    } catch (const std::system_error& error) {
        throw TopologyError(Utf8(file.wstring()) + ": cannot be written: error " +
                            std::to_string(error.code().value()));
    }
}

} // namespace

StateStore& StateStore::Instance() {
    static StateStore store;
    return store;
}

std::shared_ptr<const State> StateStore::Read(const Scene& scene) {
    const std::lock_guard lock(m_lock);
    if (scene.stateFile.empty())
        return ReadLocked(scene);
    const FileLock fileLock(scene.stateFile);
    return ReadLocked(scene);
}

std::shared_ptr<const State> StateStore::ReadLocked(const Scene& scene) {
    if (m_scene != scene.id) {
        m_scene = scene.id;
        m_text.clear();
        m_number = 0;
        m_state = std::make_shared<const State>();
    }
    if (scene.stateFile.empty()) {
        const std::uint64_t number = scene.world->StateNumber();
        if (number != m_number) {
            constexpr char NAME[] = "state of the topology text";
            m_state = std::make_shared<const State>(
                StateIn(ParseStates(scene.world->State(scene.version), NAME), scene.stateName, NAME));
            m_number = number;
        }
        return m_state;
    }
    // Times and sizes of two quick changes can be alike; the text cannot.
    const std::string text = FileText(scene.stateFile);
    if (text != m_text) {
        const std::string name = Utf8(scene.stateFile.wstring());
        m_state = std::make_shared<const State>(StateIn(ParseStates(text, name), scene.stateName, name));
        m_text = text;
    }
    return m_state;
}

void StateStore::Change(const Scene& scene, const StateChange& change) {
    // The text that takes the old one's place; the same when nothing was altered.
    const auto Changed = [&](const std::string& text, const std::string& name) {
        json states = ParseStates(text, name);
        State state = StateIn(states, scene.stateName, name);
        if (!change(state))
            return text;
        states[scene.stateName] = StateJson(state);
        return states.dump(4) + "\n";
    };
    const std::lock_guard lock(m_lock);
    if (scene.stateFile.empty()) {
        scene.world->ChangeState(scene.version,
                                 [&](const std::string& text) { return Changed(text, "state of the topology text"); });
        return;
    }
    const FileLock fileLock(scene.stateFile);
    const std::string before = FileText(scene.stateFile);
    const std::string after = Changed(before, Utf8(scene.stateFile.wstring()));
    if (after != before)
        WriteState(scene.stateFile, after);
}

} // namespace sim

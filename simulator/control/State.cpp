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

State ParseState(const std::string& text, const std::string& name) {
    State state;
    const json document = ParseJson(text, name);
    const JsonValue root(document, name);
    if (!document.is_object())
        root.FailExpected("an object");
    for (const auto& [identifier, value] : document.items()) {
        JsonObject adapter(JsonValue(value, name, "/" + identifier));
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

std::string StateText(const State& state) {
    json document = json::object();
    for (const auto& [identifier, changes] : state) {
        json created = json::array(), removed = json::array();
        for (const auto& port : changes.created)
            created.push_back({{"port_wwn", WwnText(port.portWwn)}, {"fc_id", port.fcId}});
        for (const auto& wwn : changes.removed)
            removed.push_back(WwnText(wwn));
        document[identifier] = {{"created", created}, {"removed", removed}};
    }
    return document.dump(4) + "\n";
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
        m_state = std::make_shared<const State>();
    }
    if (!scene.stateFile.empty()) {
        // Times and sizes of two quick changes can be alike; the text cannot.
        const std::string text = FileText(scene.stateFile);
        if (text != m_text) {
            m_state = std::make_shared<const State>(text.empty() ? State()
                                                                 : ParseState(text, Utf8(scene.stateFile.wstring())));
            m_text = text;
        }
    }
    return m_state;
}

void StateStore::Change(const Scene& scene, const StateChange& change) {
    const std::lock_guard lock(m_lock);
    std::unique_ptr<FileLock> fileLock;
    if (!scene.stateFile.empty())
        fileLock = std::make_unique<FileLock>(scene.stateFile);
    State state = *ReadLocked(scene);
    if (!change(state))
        return;
    if (!scene.stateFile.empty()) {
        const std::string text = StateText(state);
        WriteState(scene.stateFile, text);
        m_text = text;
    }
    m_state = std::make_shared<const State>(std::move(state));
}

} // namespace sim

#include "simulator/control/State.h"

#include "simulator/control/PackedState.h"
#include "simulator/topology/Text.h"

namespace sim {

StateStore& StateStore::Instance() {
    static StateStore store;
    return store;
}

std::shared_ptr<const State> StateStore::Read(const Scene& scene) {
    const std::lock_guard lock(m_lock);
    if (scene.stateFile.empty())
        return ReadLocked(scene);
    const StateFileLock fileLock(scene.stateFile);
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
            m_state = std::make_shared<const State>(UnpackedState(scene.world->State(scene.run)));
            m_number = number;
        }
        return m_state;
    }
    // Times and sizes of two quick changes can be alike; the text cannot.
    const std::string text = ReadStateFile(scene.stateFile);
    if (text != m_text) {
        const std::string name = Utf8(scene.stateFile.wstring());
        m_state = std::make_shared<const State>(StateIn(ParseStates(text, name), scene.stateName, name));
        m_text = text;
    }
    return m_state;
}

void StateStore::Change(const Scene& scene, const StateChange& change) {
    const std::lock_guard lock(m_lock);
    if (scene.stateFile.empty()) {
        scene.world->ChangeState(scene.run, [&](const std::string& bytes) {
            State state = UnpackedState(bytes);
            return change(state) ? PackedState(state) : bytes;
        });
        return;
    }
    const StateFileLock fileLock(scene.stateFile);
    const std::string name = Utf8(scene.stateFile.wstring());
    nlohmann::json states = ParseStates(ReadStateFile(scene.stateFile), name);
    State state = StateIn(states, scene.stateName, name);
    if (!change(state))
        return;
    states[scene.stateName] = StateJson(state);
    WriteStateFile(scene.stateFile, states.dump(4) + "\n");
}

} // namespace sim

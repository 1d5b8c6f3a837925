#include "simulator/control/Simulation.h"

#include <algorithm>

#include <windows.h>

#include "simulator/control/CallLog.h"

namespace sim {
namespace {

std::uint64_t WriteTime(const std::filesystem::path& file) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data))
        return 0;
    return std::uint64_t(data.ftLastWriteTime.dwHighDateTime) << 32 | data.ftLastWriteTime.dwLowDateTime;
}

// The configured file, or one beside the topology, or one in the temporary folder for the built-in topology.
std::filesystem::path StateFile(const std::filesystem::path& topologyFile) {
    const auto configured = SimulatorSetting(L"ORVAN_SIM_STATE", L"State");
    if (!configured.empty())
        return configured;
    if (!topologyFile.empty())
        return topologyFile.wstring() + L".state";
    wchar_t folder[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, folder);
    return std::filesystem::path(folder) / L"OrvanSim.state";
}

template <class F> std::unique_ptr<Scene> MakeScene(F load) {
    auto scene = std::make_unique<Scene>();
    try {
        scene->topology = load();
    } catch (const std::exception& error) {
        scene->error = error.what();
    }
    scene->faults = std::make_unique<std::vector<std::unique_ptr<FaultProgress>>[]>(FUNCTION_COUNT);
    for (const auto& fault : scene->topology.faults)
        scene->faults[fault.function].push_back(std::make_unique<FaultProgress>(fault));
    scene->capacityCommands = std::make_unique<std::atomic<std::uint32_t>[]>(scene->topology.lunCount);
    return scene;
}

} // namespace

bool Scene::IsMissing(std::size_t function) const {
    return armed && std::any_of(faults[function].begin(), faults[function].end(),
                                [](const auto& progress) { return progress->fault->missing; });
}

Simulation& Simulation::Instance() {
    static Simulation simulation;
    return simulation;
}

const Scene& Simulation::Load() {
    const std::lock_guard lock(m_lock);
    return LoadConfigured();
}

const Scene& Simulation::LoadFirst() {
    const std::lock_guard lock(m_lock);
    const Scene* scene = m_current;
    return scene ? *scene : LoadConfigured();
}

const Scene& Simulation::LoadConfigured() {
    // Before reading: a change while it is read counts as a change after.
    const auto time = WriteTime(TopologyFile());
    auto scene = MakeScene(LoadConfiguredTopology);
    scene->fileTime = time;
    scene->stateFile = StateFile(TopologyFile());
    return Use(std::move(scene));
}

void Simulation::LoadIfChanged() {
    const Scene& scene = Current();
    if (!scene.inMemory && WriteTime(TopologyFile()) != scene.fileTime)
        Load();
}

const Scene& Simulation::LoadText(const char* json) {
    auto scene = MakeScene([json] { return ParseTopology(json ? json : "", "topology text"); });
    scene->inMemory = true;
    const std::lock_guard lock(m_lock);
    return Use(std::move(scene));
}

void Simulation::ArmFaults(bool armed) {
    Current();
    const std::lock_guard lock(m_lock);
    Scene& scene = *m_scenes.back();
    for (std::size_t function = 0; function < FUNCTION_COUNT; ++function) {
        for (const auto& progress : scene.faults[function])
            progress->calls = 0;
    }
    scene.armed = armed;
    if (m_hook)
        m_hook(scene);
}

const Scene& Simulation::Use(std::unique_ptr<Scene> scene) {
    if (!scene->error.empty())
        CallLog::Instance().Write("topology error: " + scene->error);
    m_scenes.push_back(std::move(scene));
    const Scene& current = *m_scenes.back();
    if (m_hook)
        m_hook(current);
    m_current.store(&current, std::memory_order_release);
    return current;
}

} // namespace sim

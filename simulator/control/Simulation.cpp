#include "simulator/control/Simulation.h"

#include <algorithm>

#include "simulator/control/CallLog.h"

namespace sim {
namespace {

void LogError(const std::string& error, std::uint64_t version) {
    if (!error.empty())
        CallLog::Instance().Write("topology error: " + error, version);
}

// The last good one stays in use.
void LogProblem(const std::string& problem) {
    if (!problem.empty())
        LogError(problem, SceneInUse().Get().version);
}

} // namespace

Simulation& Simulation::Instance() {
    static Simulation simulation;
    return simulation;
}

// Whoever follows for the first time takes up what there is by itself; nobody who changes the world waits for that.
Process& Simulation::Joined() {
    const std::lock_guard lock(m_joinLock);
    if (!m_process) {
        m_process = std::make_unique<Process>(Follow);
        m_serial = &m_process->Serial();
        m_joined = m_process.get();
    }
    return *m_process;
}

void Simulation::Follow() {
    if (Instance().m_joined.load())
        Instance().TakeUp();
}

void Simulation::TakeUp() {
    const bool isFirst = !m_joined.load();
    if (isFirst)
        Joined().Look();
    Process& process = *m_joined.load();
    for (;;) {
        std::shared_ptr<World> known;
        {
            const std::lock_guard lock(m_lock);
            if (m_scene)
                known = m_scene->world;
        }
        const Process::View view = process.Now(known);
        if (view.world->Version() == 0) { // nobody has the text any more
            process.Look();
            continue;
        }
        const std::lock_guard lock(m_lock);
        const Scene* before = m_scene.get();
        if (!before || before->serial != view.serial || before->world != view.world ||
            before->version != view.world->Version()) {
            auto scene = std::make_unique<Scene>(view.choice, view.world);
            scene->serial = view.serial;
            scene->armed = scene->run != view.disarmedRun;
            scene->armings = view.armings;
            if (before && before->serial == view.serial && before->armings == view.armings)
                scene->GoOnFrom(*before);
            Use(std::move(scene));
        } else if (before->armings != view.armings) {
            m_scene->Arm(m_scene->run != view.disarmedRun);
            m_scene->armings = view.armings;
            if (m_hook)
                m_hook(*m_scene);
        }
        if (!IsNewest(m_scene.get()))
            continue;
        if (isFirst)
            LogError(m_scene->world->Problem(), m_scene->version);
        return;
    }
}

void Simulation::Use(std::unique_ptr<Scene> scene) {
    LogError(scene->error, scene->version);
    if (m_hook)
        m_hook(*scene);
    m_current.store(scene.get());
    if (m_scene)
        m_replaced.push_back({std::move(m_scene), m_epoch});
    m_scene = std::move(scene);
    FreeUnused();
}

void Simulation::FreeUnused() {
    // Twice, so that where no call is under way nothing of what was replaced is left.
    for (int i = 0; i < 2; ++i) {
        const std::uint32_t epoch = m_epoch;
        if (m_calls[(epoch + 1) & 1] != 0)
            break;
        m_epoch = epoch + 1;
    }
    std::erase_if(m_replaced, [&](const Replaced& replaced) { return m_epoch - replaced.epoch >= 2; });
}

void Simulation::ShowNewest() {
    Joined().Follow();
}

void Simulation::LoadIfChanged() {
    {
        const SceneInUse scene;
        if (scene.Get().isText)
            return;
    }
    LogProblem(Joined().Look());
}

std::string Simulation::Load() {
    LogProblem(Joined().Reload());
    return Error();
}

std::string Simulation::LoadText(const std::string& json) {
    const WorldContent content = ContentOfText(json, "topology text");
    Joined().Simulate(content);
    return content.error;
}

std::string Simulation::Error() {
    const SceneInUse scene;
    return scene.Get().error.empty() ? scene.Get().world->Problem() : scene.Get().error;
}

void Simulation::ArmFaults(bool armed) {
    const SceneInUse scene; // there is one
    Joined().ArmFaults(armed);
}

} // namespace sim

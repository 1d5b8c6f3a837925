// What one simulated module shows: a scene of the world that its process is in.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/control/Process.h"
#include "simulator/control/Scene.h"

namespace sim {

class Simulation {
  public:
    static Simulation& Instance();

    // Looks at what is configured and at its file, and has all modules take up what has changed.
    void LoadIfChanged();
    // Takes up what is configured anew, also instead of a text. Returns what is wrong with it; empty: nothing.
    std::string Load();
    // Has all modules of the process show the text. Returns what is wrong with it; empty: nothing.
    std::string LoadText(const std::string& json);
    // What is wrong with the topology in use, or with the file that shall replace it; empty: nothing.
    std::string Error();
    // Lets the faults of the topology in use show themselves, with their calls counted anew, or not; in all modules.
    void ArmFaults(bool armed);

    // Has all modules of the process show the newest version; they would at their next call.
    void ShowNewest();

    // Runs after every load, with the new scene, before other threads see it, and whenever its faults are armed or not.
    void SetLoadHook(void (*hook)(const Scene&)) { m_hook = hook; }

  private:
    friend class SceneInUse;

    Simulation() = default;
    Process& Joined();
    static void Follow();
    // Has the newest version in use.
    void TakeUp();
    // These need the lock.
    void Use(std::unique_ptr<Scene> scene);
    void FreeUnused();

    // One store of the process's serial or the world's version makes a scene an old one.
    bool IsNewest(const Scene* scene) const {
        return scene && scene->serial == m_serial->load(std::memory_order_acquire) &&
               scene->version == scene->world->Version().load(std::memory_order_acquire);
    }

    std::atomic<Scene*> m_current{nullptr};
    const std::atomic<std::uint64_t>* m_serial = nullptr; // the process's; set before m_current

    // Calls that are under way, by the lowest bit of the epoch in which they began. The epoch goes on when those of the
    // one before have ended; a scene that was replaced is in no call's hands two epochs later.
    std::atomic<std::uint32_t> m_epoch{0};
    std::atomic<std::uint32_t> m_calls[2] = {};

    std::mutex m_lock;
    struct Replaced {
        std::unique_ptr<Scene> scene;
        std::uint32_t epoch;
    };
    std::vector<Replaced> m_replaced;
    std::unique_ptr<Scene> m_scene; // the current one
    void (*m_hook)(const Scene&) = nullptr;

    std::mutex m_joinLock;
    std::atomic<Process*> m_joined{nullptr};
    std::unique_ptr<Process> m_process; // leaves first
};

// The newest scene when it was taken: stays as it is, and there, as long as this lives. Taking it is free of locks, and
// of system calls but for the first after a change.
class SceneInUse {
  public:
    SceneInUse() : SceneInUse(Simulation::Instance()) {}
    // One that the caller keeps.
    explicit SceneInUse(const Scene& scene) : m_scene(&scene) {}
    ~SceneInUse() { Leave(); }
    SceneInUse(const SceneInUse&) = delete;
    SceneInUse& operator=(const SceneInUse&) = delete;

    const Scene& Get() const { return *m_scene; }
    // Takes the newest one in its place. False: it is one that the caller keeps.
    bool Renew() {
        if (!m_calls)
            return false;
        Leave();
        Take(Simulation::Instance());
        return true;
    }

  private:
    explicit SceneInUse(Simulation& simulation) { Take(simulation); }

    void Take(Simulation& simulation) {
        for (;;) {
            m_calls = &simulation.m_calls[simulation.m_epoch.load(std::memory_order_relaxed) & 1];
            m_calls->fetch_add(1);
            m_scene = simulation.m_current.load();
            if (simulation.IsNewest(m_scene))
                return;
            m_calls->fetch_sub(1, std::memory_order_release);
            simulation.TakeUp();
        }
    }
    void Leave() {
        if (m_calls)
            m_calls->fetch_sub(1, std::memory_order_release);
    }

    const Scene* m_scene;
    std::atomic<std::uint32_t>* m_calls = nullptr;
};

} // namespace sim

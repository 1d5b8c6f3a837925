// What one simulated module knows of its process: the topology in use and how far its faults have come.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/topology/Functions.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct FaultProgress {
    explicit FaultProgress(const Fault& fault) : fault(&fault) {}
    const Fault* fault;
    std::atomic<std::uint32_t> calls{0}; // matching calls so far
};

// A loaded topology. Its content never changes; only the progress counters do.
struct Scene {
    Topology topology;
    std::string error;     // the topology is wrong: what is wrong; every simulated function fails
    bool inMemory = false; // given as text by the process itself
    std::unique_ptr<std::vector<std::unique_ptr<FaultProgress>>[]> faults; // by function
    std::unique_ptr<std::atomic<std::uint32_t>[]> capacityCommands;        // by LUN, counted for its check conditions
    std::uint64_t fileTime = 0;                                            // when the topology file was last written
    std::filesystem::path stateFile; // where its virtual-port changes are kept; empty: in this process
    std::atomic<bool> armed{true};   // whether its faults show themselves

    const std::vector<std::unique_ptr<FaultProgress>>& FaultsOf(Function function) const {
        return faults[function.index];
    }
    bool IsMissing(std::size_t function) const;
};

class Simulation {
  public:
    static Simulation& Instance();

    // The scene in use; loads the configured topology at first. Stays valid as long as the module is loaded.
    const Scene& Current() {
        const Scene* scene = m_current.load(std::memory_order_acquire);
        return scene ? *scene : LoadFirst();
    }
    // Loads the configured topology anew.
    const Scene& Load();
    // Loads it anew if its file has changed since.
    void LoadIfChanged();
    const Scene& LoadText(const char* json);
    // Lets the faults of the scene in use show themselves, with their calls counted anew, or not.
    void ArmFaults(bool armed);

    // Runs after every load, with the new scene, before other threads see it, and whenever its faults are armed or not.
    void SetLoadHook(void (*hook)(const Scene&)) { m_hook = hook; }

  private:
    Simulation() = default;
    const Scene& LoadFirst();
    // These need the lock.
    const Scene& LoadConfigured();
    const Scene& Use(std::unique_ptr<Scene> scene);

    std::atomic<const Scene*> m_current{nullptr};
    std::mutex m_lock;
    // Earlier scenes stay: a thread may be inside a call that reads them. Only tests load more than one.
    std::vector<std::unique_ptr<Scene>> m_scenes;
    void (*m_hook)(const Scene&) = nullptr;
};

} // namespace sim

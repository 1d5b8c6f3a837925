// The virtual-port changes that were made to the topology: kept in a file that all processes share, by topology, so
// that one file serves several; or in its world for a topology given as text.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "simulator/control/Scene.h"
#include "simulator/control/StateFile.h"

namespace sim {

// What a change is made of: runs on the newest state and says whether it altered it.
using StateChange = std::function<bool(State&)>;

class StateStore {
  public:
    static StateStore& Instance();

    // Both throw TopologyError when the file cannot be read, understood or written.
    std::shared_ptr<const State> Read(const Scene& scene);
    void Change(const Scene& scene, const StateChange& change);

  private:
    StateStore() = default;
    std::shared_ptr<const State> ReadLocked(const Scene& scene);

    std::mutex m_lock;
    std::uint64_t m_scene = 0;  // what the cached state belongs to: a scene's id
    std::string m_text;         // of the file, as it was read last
    std::uint64_t m_number = 0; // of the state in the world, likewise
    std::shared_ptr<const State> m_state;
};

} // namespace sim

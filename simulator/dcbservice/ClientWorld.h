// The world of the process whose call this thread serves.
#pragma once

#include <memory>
#include <vector>

#include "simulator/control/Scene.h"

// Not for several threads at once.
class ClientWorlds {
  public:
    // What the service shows to the caller: the scene of its world. Null: the service's own, for a caller that has none
    // of the simulated modules, or that chose nothing while the service was told what to show. look: first sees whether
    // the world's file has changed.
    std::shared_ptr<const sim::Scene> OfCaller(bool look);

  private:
    struct Known {
        std::shared_ptr<sim::World> world;
        std::shared_ptr<sim::Scene> scene;
    };
    Known& Find(const std::wstring& world);

    std::vector<Known> m_known; // whoever called last is last
};

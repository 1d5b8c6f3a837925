// The world of the process whose call this thread serves.
#pragma once

#include <memory>
#include <vector>

#include "simulator/control/CallFile.h"
#include "simulator/control/Process.h"
#include "simulator/control/Scene.h"

// What one call is answered from.
struct ClientView {
    // Null: the service's own, for a caller that has none of the simulated modules, or that chose nothing while the
    // service was told what to show.
    std::shared_ptr<const sim::Scene> scene;
    // Where the client's calls are logged. Opened for each call: who reads the file may have removed it since.
    std::unique_ptr<const sim::CallFile> calls;
};

// Not for several threads at once.
class ClientWorlds {
  public:
    // look: first sees whether the file of the caller's world has changed.
    ClientView OfCaller(bool look);

  private:
    struct Known {
        std::shared_ptr<sim::World> world;
        std::shared_ptr<sim::Scene> scene;
    };
    Known* Find(const std::wstring& world);
    std::shared_ptr<const sim::Scene> SceneFor(const sim::ProcessStatus& caller, bool look, const sim::CallFile& calls);

    std::vector<Known> m_known; // whoever called last is last
};

// The FC ports of an adapter as they are now: those of the topology with the changes that were made since.
#pragma once

#include <vector>

#include "FcoeAgent/HbaApi.h"
#include "simulator/control/Simulation.h"

namespace orvanhapi {

// All of these throw sim::TopologyError when the changes cannot be kept or read.
class VirtualPorts {
  public:
    VirtualPorts(const sim::Scene& scene, const sim::Adapter& adapter) : m_scene(scene), m_adapter(adapter) {}

    // Physical ports first, in the topology's order, then virtual ones in the order of their creation.
    std::vector<sim::FcPort> Ports() const;
    HBA_STATUS Create(const sim::Wwn& portWwn);
    HBA_STATUS Remove(const sim::Wwn& portWwn);
    // A name that no adapter uses and that was not handed out just before.
    HBA_STATUS Generate(sim::Wwn& portWwn);

  private:
    const sim::Scene& m_scene;
    const sim::Adapter& m_adapter;
};

} // namespace orvanhapi

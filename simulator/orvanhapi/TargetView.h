// An adapter's targets as seen through its ports: once through the port that the topology names and, where the target
// is open to virtual ports, once more through each of those.
#pragma once

#include <vector>

#include "simulator/orvanhapi/VirtualPorts.h"

namespace orvanhapi {

// One target through one port. fcId is the address by which the target list and the mapping tell the ports apart.
struct TargetView {
    const sim::Target* target;
    sim::Wwn initiatorWwn;
    HBA_UINT8 initiatorType;
    HBA_UINT32 fcId;
};

// Calls visit for each. Throws sim::TopologyError as VirtualPorts does.
template <class Visit> void ForEachTarget(const sim::Scene& scene, const sim::Adapter& adapter, Visit visit) {
    bool npiv = false;
    for (const auto& target : adapter.targets) {
        visit(TargetView{&target, target.initiatorWwn, target.initiatorType, target.fcId});
        npiv = npiv || target.npiv;
    }
    if (!npiv)
        return;
    constexpr HBA_UINT8 NPIV_PORT = 3;
    for (const auto& port : VirtualPorts(scene, adapter).Ports()) {
        if (port.type != NPIV_PORT)
            continue;
        for (const auto& target : adapter.targets) {
            if (target.npiv)
                visit(TargetView{&target, port.portWwn, port.type, port.wordB});
        }
    }
}

} // namespace orvanhapi

// The world of the scripted agent: one adapter with a physical and a virtual fabric, or two adapters.
#pragma once

#include <vector>

#include "FcoeAgent/FcoeRecords.h"

struct FakeRecords {
    std::vector<QEL_FCOE_HBA> hbas;
    std::vector<QEL_FCOE_FABRIC> fabrics;
    std::vector<QEL_FCOE_PORT> ports;
    std::vector<QEL_FCOE_TARGET> targets;
    std::vector<QEL_FCOE_LUN> luns;
    std::vector<QEL_FCOE_VLAN> vlans;
    std::vector<QEL_FCOE_STATISTIC> statistics;
};

FakeRecords MakeFakeRecords(int adapters);

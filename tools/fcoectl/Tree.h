// The FCoE tree built from the flat lists: adapter, fabric, port, target, LUN.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FcoeAgent/FcoeRecords.h"

namespace fcoectl {

struct TargetNode {
    QEL_FCOE_TARGET record;
    std::vector<QEL_FCOE_LUN> luns;
};

struct PortNode {
    QEL_FCOE_PORT record;
    std::vector<TargetNode> targets;
};

struct FabricNode {
    QEL_FCOE_FABRIC record;
    std::vector<PortNode> ports;
};

// What found no parent is kept beside the fabrics: the lists are read one after the other, and a port may go meanwhile.
struct AdapterNode {
    QEL_FCOE_HBA record;
    std::vector<FabricNode> fabrics;
    std::vector<PortNode> ports;
    std::vector<TargetNode> targets;
    std::vector<QEL_FCOE_LUN> luns;
};

struct Lists {
    std::vector<QEL_FCOE_HBA> hbas;
    std::vector<QEL_FCOE_FABRIC> fabrics;
    std::vector<QEL_FCOE_PORT> ports;
    std::vector<QEL_FCOE_TARGET> targets;
    std::vector<QEL_FCOE_LUN> luns;
};

// Every record of the lists is in the tree once, in list order. An adapter that only lower records name gets a record
// with its two identifiers and nothing else.
std::vector<AdapterNode> BuildTree(const Lists& lists);

// One line a node, with box-drawing characters or ASCII ones.
std::string DrawTree(const std::vector<AdapterNode>& adapters, bool ascii);

// The nodes as nested objects: each record's own members, then its children.
nlohmann::ordered_json TreeToJson(const std::vector<AdapterNode>& adapters);

} // namespace fcoectl

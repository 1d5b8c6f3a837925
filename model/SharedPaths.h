// What the objects of one level of the tree have in common. Each is made once and shared by all objects below it:
// thousands of logical units are known by the same texts.
#pragma once

#include <memory>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/QelString.h"

// Of all objects of an adapter.
struct AdapterNames {
    CQelString strSecondName;
    CQelString strName;
};

// Of the targets of a port.
struct PortPath {
    CQelString strFabricName;
    CQelString strOwningPortWWN;
};

// Of the logical units of a target.
struct TargetPath {
    std::shared_ptr<const PortPath> pPort;
    CQelString strTargetPortWWN;
    HBA_WWN initiatorPortWWN;
    CQelString strInitiatorPortWWN;
};

// The agent's traced operations, as far as it counts for an answer what they came to.
#pragma once

#include <string_view>

#include "tools/reading/What.h"

namespace reading {

enum class Operation {
    Other,
    Request,
    Destructor,
    AdapterList,   // asks the core agent
    AdapterObject, // begins with an adapter
    Open,
    Bind, // for an adapter, or none
    GetHandle,
    Query, // a call of the library whose parts are in the table
    PciSlot,
    DcbConnection,
    DcbState,
    PortCount,
    PortList,
    PortReading,
    ListCall, // of the library, one of those that a list's reading makes
    ListReading,
    Inquiry,
    PortObject,
    TargetObject,
    LunObject,
    VlanObject,
    AdapterVlans,
    PortTargets, // a port is asked for its targets
    TargetLuns,
};

struct LoggedOperation {
    Operation operation = Operation::Other;
    const char* function = ""; // of the neighbour that it calls; empty: it calls none
    // What the answer lacks when the function fails, and when there is no such function.
    What refused = What::Adapter;
    What missing = What::Adapter;
};

[[nodiscard]] LoggedOperation FindLoggedOperation(std::string_view name);

} // namespace reading

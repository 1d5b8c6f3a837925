// The commands that show what the agent manages, but for its counters.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

// For HBAs, fabrics, ports, targets, LUNs and VLANs.
template <class Record> void List(AgentContext& context);

void ListHBAs(AgentContext& context);
SheetColumns HbaColumns(const Options& options);
void ListVPorts(AgentContext& context);
void ShowTree(AgentContext& context);
void ShowLinks(AgentContext& context);
SheetColumns LinkColumns(const Options& options);

} // namespace fcoectl

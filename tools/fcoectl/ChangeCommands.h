// The commands that change something, and the one that generates a port name.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void CreateVPort(AgentContext& context);
void DeleteVPort(AgentContext& context);
void GenerateWWPN(AgentContext& context);
void Rescan(AgentContext& context);

} // namespace fcoectl

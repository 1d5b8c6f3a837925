// The `metrics` command.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void WriteMetrics(AgentContext& context);

} // namespace fcoectl

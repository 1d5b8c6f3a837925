// The `stats` command.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void ShowStatistics(AgentContext& context);
SheetColumns StatisticColumns(const Options& options);

} // namespace fcoectl

// The `stats` command.
#pragma once

#include "tools/fcoectl/Commands.h"

namespace fcoectl {

void ShowStatistics(Context& context);

} // namespace fcoectl

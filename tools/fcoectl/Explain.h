// The commands that tell of the program itself: `explain` and `version`.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void ExplainCodes(Context& context);
SheetColumns CodeColumns(const Options& options);
void ShowVersion(Context& context);

} // namespace fcoectl

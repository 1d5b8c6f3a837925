// The commands that tell how the program is used.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void ShowHelp(Context& context);
void ShowCompletion(Context& context);
void ShowManualPage(Context& context);
void ShowSchema(Context& context);

} // namespace fcoectl

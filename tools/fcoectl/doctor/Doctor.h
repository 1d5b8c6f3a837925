// The command that looks for what is wrong with an installation.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void Examine(Context& context);

} // namespace fcoectl

// The `diagnose` command: all that tells what is wrong with a machine, in one file.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void Diagnose(Context& context);

} // namespace fcoectl

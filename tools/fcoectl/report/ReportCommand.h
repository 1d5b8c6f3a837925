// The `report` command: one page of everything that was read.
#pragma once

#include <optional>
#include <string>

#include "tools/fcoectl/Command.h"
#include "tools/fcoectl/Failure.h"

namespace fcoectl {

// Reads all there is, and makes the page of it. failure: why the agent could not be asked; the page tells the rest.
std::string MakePage(Context& context, std::optional<Failure>& failure);

void WriteReport(Context& context);

} // namespace fcoectl

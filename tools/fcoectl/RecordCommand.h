// The `record` command: the machine's neighbours of the agent as a topology of the simulated suite.
#pragma once

#include <optional>
#include <string>

#include "tools/fcoectl/Command.h"
#include "tools/fcoectl/Failure.h"
#include "tools/recording/Recording.h"

namespace fcoectl {

// Asks the neighbours. Throws Failure when the folder of --library-dir is none.
recording::Recording RecordNeighbours(Context& context);
// Why the process cannot go on as if nothing had happened: a thread of it stays in a call; none: it can.
std::optional<Failure> HangOf(const recording::Recording& recorded, const Context& context);

void Record(Context& context);

} // namespace fcoectl

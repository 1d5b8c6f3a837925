// The commands that read the agent's log. None loads the agent.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void ListLogRequests(Context& context);
void ShowLogRequest(Context& context);
void ListLogProblems(Context& context);
void ListSlowCalls(Context& context);
void WriteLogTimeline(Context& context);

} // namespace fcoectl

// The commands that read the agent's log. None loads the agent.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

void ListLogRequests(Context& context);
SheetColumns RequestColumns(const Options& options);
void ShowLogRequest(Context& context);
void ListLogProblems(Context& context);
SheetColumns ProblemColumns(const Options& options);
void ListSlowCalls(Context& context);
SheetColumns SlowColumns(const Options& options);
void WriteLogTimeline(Context& context);

} // namespace fcoectl

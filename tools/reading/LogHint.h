// The agent's log, for messages.
#pragma once

#include <string>

namespace reading {

// Where the log is that this process's agent writes, or why there is none: a sentence.
std::string LogHint();

} // namespace reading

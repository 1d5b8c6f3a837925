// All questions to one neighbour, in this process.
#pragma once

#include "simulator/verify/Asker.h"

namespace verify {

// What is found is told to the listener. Throws std::runtime_error when the questions cannot be asked at all.
Outcome AskLibrary(const Request& request, Listener& listener);
Outcome AskCoreAgent(const Request& request, Listener& listener);

} // namespace verify

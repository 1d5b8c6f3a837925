// What a soak tells: a line from time to time, and the tables at its end.
#pragma once

#include <string>
#include <vector>

#include "tests/soak/Shared.h"

namespace soak {

struct RunFigures {
    unsigned seed;
    unsigned long long seconds;
    long long generations, dcbRestarts;
};

std::string ProgressLine(const SharedState& shared, unsigned long long seconds, long long dcbRestarts);
// Prints the tables and the closing line; whether everything survived. failures: what the parent saw by itself.
bool Report(const SharedState& shared, const RunFigures& run, std::vector<std::string> failures);

} // namespace soak

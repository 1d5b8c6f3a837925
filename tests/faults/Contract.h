// What the agent owes its host among failing neighbours: the result and the log that belong to what the neighbours did.
#pragma once

#include <string>
#include <vector>

#include "tests/faults/Operations.h"

// What was seen of one operation.
struct Observation {
    Outcome outcome;
    std::vector<std::string> messages;     // of the agent's log, without traces
    std::vector<std::string> libraryCalls; // as the simulated library tells them, in order
    std::vector<std::string> coreCalls;    // as the simulated core agent does
    unsigned calls = 0;                    // of the function that fails
};

// What a failing function still owes.
enum class Harm {
    None,    // its answer is good
    Some,    // what it answers is wrong
    Missing, // it is not there
};

// What of it is not as agreed; empty for nothing.
std::string CheckContract(const Operation& operation, Harm harm, const Observation& observation);

// The process that asks, so that a neighbour which crashes or hangs takes no one with it, and what it reports.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <windows.h>

#include "simulator/verify/Ask.h"

namespace verify {

// In the asking process: asks, and writes what is found to the pipe, one JSON object a line.
void ReportTo(HANDLE pipe, Neighbour neighbour, const Request& request);

struct Verdict {
    Outcome outcome;
    std::vector<Deviation> deviations; // in the order of the questions
    std::string error;                 // why the questions could not be asked
};

// In the other: has processes ask until all questions are answered or have ended one. command: what starts one, but for
// what it shall not ask and the pipe's handle, which are added. limit: for one call.
Verdict AskInProcesses(const std::wstring& command, std::chrono::milliseconds limit);

} // namespace verify

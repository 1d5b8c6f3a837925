// Why the agent has no adapter to ask, or not all of them.
#pragma once

#include <string>
#include <vector>

#include "tools/reading/CallReplay.h"
#include "tools/reading/CoreAgentView.h"
#include "tools/reading/Problem.h"

namespace reading {

struct NoAdapterReason {
    std::vector<Problem> problems; // what hides adapters
    std::string none;              // a sentence: there is none, and nothing is wrong; empty: there is one, or a problem
};

// What the log and the answer tell.
struct AdapterListClues {
    AdapterList list;
    bool supportThrew;
    std::string skipped; // the adapter that was left out; empty: not known
    bool nothing;        // the answer has no record, and the log tells of no adapter
};

[[nodiscard]] NoAdapterReason ExplainAdapterList(const AdapterListClues& clues, const CoreAgentView& core);

} // namespace reading

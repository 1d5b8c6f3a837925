// Which topology the simulated modules of this process and user take, and what belongs to it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "simulator/simctl/CheckedFile.h"

namespace simctl {

enum class Source { Variable, Registry, BuiltIn };

struct InUse {
    Source source = Source::BuiltIn;
    std::filesystem::path file; // empty: the built-in topology
};

InUse FindInUse();
// "the variable ORVAN_SIM_TOPOLOGY"
std::string SourceText(Source source);
// "variable"
std::string SourceCode(Source source);
CheckedFile Check(const InUse& inUse);
// The same, or what its world has made of it by a timeline.
CheckedFile CheckMoved(const InUse& inUse);

// A virtual port that is kept outside the topology.
struct PortChange {
    std::string adapter; // its identifier
    bool created = true; // else removed
    std::string wwn;
    std::uint32_t fcId = 0; // of a created one
};

// What is kept for the topology in use.
struct KeptState {
    std::filesystem::path file; // which may have changes to others, too
    std::vector<PortChange> changes;
    std::string error; // the file is wrong
};

KeptState ReadState();

// The file of the call log; empty: there is none.
std::filesystem::path CallLogFile();

} // namespace simctl

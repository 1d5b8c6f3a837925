// A topology that moves, step by step.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/topology/Problem.h"
#include "simulator/topology/Topology.h"

namespace sim {

// How far it has come.
struct Motion {
    std::string document; // the topology as it stands, without a timeline; empty: it does not move
    std::string steps;    // those to come, a JSON list
    std::uint32_t taken = 0;
    std::uint32_t left = 0;
    std::string script; // the file that the steps come from; empty: the topology's own timeline
    // By place in the document: the number that a fault keeps as long as steps leave it as it is.
    std::vector<std::uint32_t> faults;
    std::uint32_t faultNumbers = 0; // given so far

    bool IsMoving() const { return !document.empty(); }
    bool operator==(const Motion&) const = default;
};

// The start of a good topology; it does not move if it has no timeline.
Motion MotionOf(std::string_view text);
// The same with these steps in place of those to come. before: how far the text has come by itself.
Motion MotionOf(std::string_view text, const Motion& before, const std::string& steps, const std::string& script);
// None: it has come to its end.
std::optional<Step> NextStep(const Motion& motion);
// There is one.
void TakeStep(Motion& motion);

// A list of steps by itself: an array, or an object with "timeline".
struct Script {
    std::string steps;             // a JSON list
    std::size_t count = 0;         // of them
    std::vector<Problem> problems; // in the order of the text; without one, they can all be taken
    std::size_t largest = 0;       // bytes of the largest topology that one makes
};
// document: of the topology that they are for, without a timeline. folder: where the files are that they name.
Script ReadScript(std::string_view text, const std::string& document, const std::filesystem::path& folder,
                  const ResponseReader& readResponse);

} // namespace sim

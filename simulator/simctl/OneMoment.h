// What is read of a world that moves.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "simulator/control/WorldStatus.h"

namespace simctl {

// Where the world stands: whose steps, and how many are taken.
inline std::pair<std::string, std::uint32_t> Place(const std::optional<sim::TimelineStatus>& timeline) {
    return timeline ? std::pair(timeline->script, timeline->taken) : std::pair(std::string(), 0u);
}

// What `read` makes with the timeline given to it, all of one moment: a step that is taken meanwhile has it read again.
template <class Read> auto OfOneMoment(Read read) {
    for (auto timeline = sim::TimelineOfConfigured();;) {
        auto made = read(timeline);
        auto after = sim::TimelineOfConfigured();
        if (Place(after) == Place(timeline))
            return made;
        timeline = std::move(after);
    }
}

} // namespace simctl

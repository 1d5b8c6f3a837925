// How far the topology in use has come in its timeline, as verbs tell it.
#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "simulator/control/WorldStatus.h"
#include "simulator/topology/Topology.h"

namespace simctl {

// "1 of 3 steps taken, the next in 2.5 s"; empty: there is none. status: of its world, if a process has that.
std::string TimelineText(const std::optional<sim::TimelineStatus>& status, const sim::Topology& topology);
// Null: there is none.
nlohmann::ordered_json TimelineDocument(const std::optional<sim::TimelineStatus>& status,
                                        const sim::Topology& topology);
// "1 of 3 steps taken", and of which script.
std::string TakenText(const sim::TimelineStatus& status);

} // namespace simctl

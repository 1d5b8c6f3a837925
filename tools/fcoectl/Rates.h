// Counters per second, from two readings.
#pragma once

#include <optional>
#include <vector>

#include "FcoeAgent/FcoeRecords.h"

namespace fcoectl {

// One rate for every record of `after`, in its order. None for a counter that `before` lacks, for one that went back
// (the adapter was reset), and when no time went by. Records are matched by adapter and by their place among its
// counters.
std::vector<std::optional<double>> RatesBetween(const std::vector<QEL_FCOE_STATISTIC>& before,
                                                const std::vector<QEL_FCOE_STATISTIC>& after, double seconds);

} // namespace fcoectl

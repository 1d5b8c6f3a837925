// The tables of the page.
#pragma once

#include <nlohmann/json.hpp>

#include "tools/fcoectl/report/ReportData.h"

namespace fcoectl {

// One for each list that has elements: {title, count, open, columns: [{name, number}], rows: [{cells: [{text, number,
// code}]}]}. Ports, targets and LUNs are taken out of the tree; the counters have a column for each adapter.
nlohmann::ordered_json PageTables(const ReportData& report);

} // namespace fcoectl

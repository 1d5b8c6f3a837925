// One self-contained page of everything that was read: without scripts, so that it can be mailed and looked at
// anywhere.
#pragma once

#include <string>

#include "tools/fcoectl/report/ReportData.h"

namespace fcoectl {

// The page as UTF-8. The data are inside it, as one JSON document with the members of ReportData.
std::string RenderPage(const ReportData& data);

} // namespace fcoectl

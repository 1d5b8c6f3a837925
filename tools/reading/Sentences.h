// What is said of a part that was not read.
#pragma once

#include <string>

#include "tools/reading/Loss.h"
#include "tools/reading/Problem.h"

namespace reading {

// name: the adapter's display name; empty: not known.
[[nodiscard]] Problem MakeProblem(const Loss& loss, const std::string& name);

} // namespace reading

// The JSON Schema (2020-12) of the document that a command writes with --json.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

// The kinds that there are: one for each command, and that of a wrong command line.
std::vector<std::string> DocumentKinds(std::span<const Command> commands);

// The schema of that kind; null when there is no such kind.
nlohmann::ordered_json DocumentSchema(std::span<const Command> commands, std::string_view kind);

} // namespace fcoectl

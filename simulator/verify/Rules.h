// What the agent relies on of its neighbours, and what it makes of one that is otherwise.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "simulator/verify/Rule.h"

namespace verify {

enum class Neighbour { Library, CoreAgent };

std::span<const Rule> Rules(Neighbour neighbour);
// The first that has the code and the function; there is one, or the program is wrong.
const Rule& FindRule(Neighbour neighbour, std::string_view code, std::string_view function);

// "library", "core_agent"
std::string_view CodeOf(Neighbour neighbour);

// The page's table: a heading and a row for each rule, in Markdown.
std::string RuleTable(Neighbour neighbour);

} // namespace verify

#include "simulator/verify/Rules.h"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

#include "simulator/verify/CoreAgentRules.h"
#include "simulator/verify/LibraryRules.h"

namespace verify {
namespace {

bool Names(std::string_view functions, std::string_view function) {
    while (!functions.empty()) {
        const auto end = std::min(functions.find(", "), functions.size());
        if (functions.substr(0, end) == function)
            return true;
        functions.remove_prefix(std::min(end + 2, functions.size()));
    }
    return false;
}

std::string InCode(std::string_view functions) {
    std::string text;
    while (!functions.empty()) {
        const auto end = std::min(functions.find(", "), functions.size());
        text += fmt::format("{}`{}`", text.empty() ? "" : ", ", functions.substr(0, end));
        functions.remove_prefix(std::min(end + 2, functions.size()));
    }
    return text.empty() ? "any" : text;
}

} // namespace

std::span<const Rule> Rules(Neighbour neighbour) {
    return neighbour == Neighbour::Library ? std::span<const Rule>(LIBRARY_RULES) : std::span<const Rule>(CORE_RULES);
}

const Rule& FindRule(Neighbour neighbour, std::string_view code, std::string_view function) {
    for (const Rule& rule : Rules(neighbour)) {
        if (rule.code == code && (rule.functions.empty() || Names(rule.functions, function)))
            return rule;
    }
    throw std::logic_error(fmt::format("there is no rule {} of {}", code, function));
}

std::string_view CodeOf(Neighbour neighbour) {
    return neighbour == Neighbour::Library ? "library" : "core_agent";
}

std::string RuleTable(Neighbour neighbour) {
    std::string table = "| code | function | asked | deviation | what the agent makes of it |\n|---|---|---|---|---|\n";
    for (const Rule& rule : Rules(neighbour))
        table += fmt::format("| `{}` | {} | {} | {} | {} |\n", rule.code, InCode(rule.functions), rule.asked,
                             rule.deviation, rule.consequence);
    return table;
}

} // namespace verify

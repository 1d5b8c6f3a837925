#include "simulator/simctl/CallLine.h"

#include <charconv>
#include <sstream>
#include <vector>

#include "simulator/topology/Functions.h"

namespace simctl {
namespace {

std::optional<std::uint32_t> Number(const std::string& word) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size() ? std::optional(number) : std::nullopt;
}

} // namespace

CallLine ParseCallLine(std::string_view line) {
    std::istringstream stream{std::string(line)};
    std::vector<std::string> before; // the call
    CallLine parsed;
    for (std::string word; parsed.function.empty() && stream >> word;) {
        if (sim::FunctionIndex(word) < sim::FUNCTION_COUNT)
            parsed.function = word;
        else
            before.push_back(word);
    }
    // The first whole number is the process's; the thread's and the module's name follow.
    for (std::size_t i = 0; i + 2 < before.size(); ++i) {
        parsed.process = Number(before[i]);
        if (parsed.process && Number(before[i + 1])) {
            parsed.module = before[i + 2].substr(0, before[i + 2].rfind('.'));
            break;
        }
        parsed.process.reset();
    }
    return parsed;
}

} // namespace simctl

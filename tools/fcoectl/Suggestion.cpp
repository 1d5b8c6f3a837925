#include "tools/fcoectl/Suggestion.h"

#include <algorithm>

#include <fmt/format.h>

namespace fcoectl {
namespace {

// Letters to insert, remove, replace or swap with their neighbour.
std::size_t Distance(std::string_view left, std::string_view right) {
    std::vector<std::vector<std::size_t>> steps(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i)
        for (std::size_t j = 0; j <= right.size(); ++j) {
            if (!i || !j) {
                steps[i][j] = i + j;
                continue;
            }
            const std::size_t other = left[i - 1] == right[j - 1] ? 0 : 1;
            steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + other});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
        }
    return steps[left.size()][right.size()];
}

} // namespace

std::string Suggestion(std::string_view given, const std::vector<std::string>& known) {
    // Of a short name a third of the letters may be wrong.
    std::size_t best = std::min<std::size_t>(2, (given.size() + 2) / 3) + 1;
    std::string found;
    for (const std::string& name : known) {
        const std::size_t distance = Distance(given, name);
        if (distance < best) {
            best = distance;
            found = name;
        }
    }
    if (!found.empty() || given.empty())
        return found;
    const auto continues = [&](const std::string& name) { return name.starts_with(given); };
    return std::ranges::count_if(known, continues) == 1 ? *std::ranges::find_if(known, continues) : "";
}

std::string DidYouMean(std::string_view given, const std::vector<std::string>& known) {
    const std::string meant = Suggestion(given, known);
    return meant.empty() ? "." : fmt::format("; did you mean '{}'?", meant);
}

} // namespace fcoectl

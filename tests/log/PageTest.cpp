// docs/log.md has every line of the table, each with its weight.
#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"
#include "tools/log/MessageTable.h"

namespace {

using agentlog::Weight;

// The lines, as patterns with "..." in them, of the tables below each heading of the page.
std::vector<std::pair<std::string, std::string>> PageLines() {
    std::istringstream page(ReadFileBytes(SourceFolder() / "docs/log.md"));
    static const std::regex code("`([^`]+)`");
    std::vector<std::pair<std::string, std::string>> lines;
    std::string heading;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## "))
            heading = line;
        if (line == "| line | what it follows |")
            heading = line;
        if (!line.starts_with("| `"))
            continue;
        const std::string cell = line.substr(0, line.find(" | ", 2));
        for (std::sregex_iterator found(cell.begin(), cell.end(), code), end; found != end; ++found)
            lines.emplace_back(heading, (*found)[1]);
    }
    return lines;
}

bool IsAbout(const std::string& shown, std::string_view pattern) {
    std::string expression;
    for (const char c : std::regex_replace(shown, std::regex(R"(\.\.\.)"), "\x01"))
        expression += c == '\x01'                                   ? std::string(".*")
                      : std::isalnum(static_cast<unsigned char>(c)) ? std::string{c}
                                                                    : std::string{'\\', c};
    return std::regex_match(std::string(pattern), std::regex(expression));
}

} // namespace

class Page : public testing::TestWithParam<std::pair<const char*, std::vector<Weight>>> {};

TEST_P(Page, HasJustTheLinesOfThatWeight) {
    const auto& [heading, weights] = GetParam();
    std::map<std::string_view, bool> shown;
    for (const auto& message : agentlog::LogMessages())
        if (std::ranges::find(weights, message.weight) != weights.end())
            shown[message.pattern] = false;
    for (const auto& [below, line] : PageLines()) {
        if (below != heading)
            continue;
        int about = 0;
        for (auto& [pattern, found] : shown)
            if (IsAbout(line, pattern)) {
                found = true;
                ++about;
            }
        EXPECT_GT(about, 0) << "no such line of the log: " << line;
    }
    for (const auto& [pattern, found] : shown)
        EXPECT_TRUE(found) << "not on the page: " << pattern;
}

INSTANTIATE_TEST_SUITE_P(Tables, Page,
                         testing::Values(std::pair("## What is wrong", std::vector{Weight::Problem, Weight::Retried}),
                                         std::pair("## What is normal", std::vector{Weight::Normal}),
                                         std::pair("| line | what it follows |", std::vector{Weight::Consequence})));

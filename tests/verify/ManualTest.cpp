// The manual's tables are the program's.
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/verify/Rules.h"
#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"
#include "tests/verify/Asked.h"

using testing::HasSubstr;
using verify::Neighbour;

namespace {

std::size_t Rows(const std::string& page) {
    std::size_t rows = 0;
    for (auto at = page.find("\n| `"); at != page.npos; at = page.find("\n| `", at + 1))
        ++rows;
    return rows;
}

} // namespace

TEST(NeighboursPage, HasAllRulesAndNoOther) {
    const std::string page = ReadFileBytes(SourceFolder() / "docs/neighbours.md");
    EXPECT_THAT(page, HasSubstr("## The vendor library\n\n" + RuleTable(Neighbour::Library) + "\n"));
    EXPECT_THAT(page, HasSubstr("## The core agent\n\n" + RuleTable(Neighbour::CoreAgent)));
    constexpr std::size_t OPTIONS = 5;
    EXPECT_EQ(OPTIONS + Rules(Neighbour::Library).size() + Rules(Neighbour::CoreAgent).size(), Rows(page));
}

TEST(NeighboursPage, IsWhatTheProgramPrints) {
    const auto printed = RunSimctl({"verify", "--rules"});
    EXPECT_EQ(0, printed.code);
    EXPECT_EQ(RuleTable(Neighbour::Library) + "\n" + RuleTable(Neighbour::CoreAgent), printed.out);
}

// A rule that stands behind one for any function of the same code would never be found.
TEST(NeighboursPage, EachRuleCanBeFound) {
    for (const auto neighbour : {Neighbour::Library, Neighbour::CoreAgent}) {
        std::set<std::string> seen;
        for (const auto& rule : Rules(neighbour)) {
            std::string functions(rule.functions);
            do {
                const auto end = functions.find(", ");
                const std::string function = functions.substr(0, end);
                EXPECT_EQ(&rule, &FindRule(neighbour, rule.code, function)) << rule.code << ' ' << function;
                EXPECT_TRUE(seen.insert(std::string(rule.code) + ' ' + function).second)
                    << rule.code << ' ' << function;
                functions = end == functions.npos ? "" : functions.substr(end + 2);
            } while (!functions.empty());
        }
    }
}

// `fcoectl metrics` on the simulated suite; what it looks like is in tests/fcoectl.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/report/SuiteReport.h"

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char FIRST[] = "{adapter=\"{11111111-2222-4333-8444-555555555501}\"";
constexpr char SECOND[] = "{adapter=\"{11111111-2222-4333-8444-555555555502}\"";

} // namespace

TEST(MetricsCommand, WritesTheFileWithWhatWasNotRead) {
    SuiteReport suite;
    suite.Break();
    const Answer answer = suite.Run({"metrics", "--output", suite.File("fcoe.prom")});
    EXPECT_EQ(1, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("ORVAN_GetTargetList"));
    const std::string text = suite.Text("fcoe.prom");
    EXPECT_THAT(text, HasSubstr("\nfcoe_read_complete 0\n"));
    EXPECT_THAT(text, HasSubstr(std::string("\nfcoe_targets") + FIRST));
    EXPECT_THAT(text, Not(HasSubstr(std::string("\nfcoe_targets") + SECOND)));
    EXPECT_THAT(text, HasSubstr(std::string("\nfcoe_problems") + FIRST + ",name=\"Vault & Sons 1\"} 0\n"));
    EXPECT_THAT(text, Not(HasSubstr(std::string("\nfcoe_problems") + SECOND + ",name=\"Vault & Sons 2\"} 0\n")));
    EXPECT_EQ(0, suite.Run({"metrics", "--tolerant"}).exit);
}

TEST(MetricsCommand, LeavesTheOldFileWithoutAnAgent) {
    SuiteReport suite;
    const std::string file = suite.File("fcoe.prom");
    EXPECT_EQ(0, suite.Run({"metrics", "--output", file}).exit);
    const std::string before = suite.Text("fcoe.prom");
    EXPECT_EQ(3, suite.Run({"metrics", "--output", file, "--agent", "no such file.dll"}).exit);
    EXPECT_EQ(before, suite.Text("fcoe.prom"));
    EXPECT_EQ(std::vector<std::string>{"fcoe.prom"}, suite.Files());
}

TEST(MetricsCommand, AreOfOneAdapter) {
    SuiteReport suite;
    const std::string text = suite.Run({"metrics", "--adapter", "2"}).out;
    EXPECT_THAT(text, HasSubstr(SECOND));
    EXPECT_THAT(text, Not(HasSubstr(FIRST)));
}

TEST(MetricsCommand, HaveStandInsWithMask) {
    SuiteReport suite;
    const std::string out = suite.Run({"metrics", "--mask"}).out;
    EXPECT_THAT(out, HasSubstr("\nfcoe_luns{"));
    EXPECT_EQ(0, suite.Run({"metrics", "--mask", "--output", suite.File("fcoe.prom")}).exit);
    for (const std::string& text : {out, suite.Text("fcoe.prom")})
        for (const std::string& secret : SECRETS)
            EXPECT_THAT(text, Not(HasSubstr(secret)));
}

TEST(MetricsCommand, AreNoJson) {
    SuiteReport suite;
    EXPECT_EQ(2, suite.Run({"metrics", "--json"}).exit);
}

// What a report takes over from the readings of a command.
#include "tools/fcoectl/Report.h"

#include <gtest/gtest.h>

namespace {

reading::Findings Lacking(const char* what, std::int64_t status) {
    reading::Problem problem;
    problem.adapter = "{1}";
    problem.what = what;
    problem.function = "ORVAN_GetFCPortList";
    problem.status = status;
    reading::Findings findings;
    findings.problems = {problem};
    return findings;
}

std::vector<std::string> Told(const std::vector<reading::Findings>& readings) {
    fcoectl::Report report;
    report.problems.emplace();
    for (const reading::Findings& findings : readings)
        report.Add(true, findings);
    EXPECT_FALSE(report.complete);
    std::vector<std::string> told;
    for (const reading::Problem& problem : *report.problems)
        told.push_back(problem.what);
    return told;
}

using Keys = std::vector<std::string>;

} // namespace

TEST(Report, TellsAListThatFabricsAndPortsShareOnce) {
    EXPECT_EQ((Keys{"fabrics"}), Told({Lacking("fabrics", 1), Lacking("ports", 1)}));
    EXPECT_EQ((Keys{"fabrics"}), Told({Lacking("fabrics", 1), Lacking("fabrics", 1)}));
}

TEST(Report, TellsPortsThatFailedForAnotherCause) {
    EXPECT_EQ((Keys{"fabrics", "ports"}), Told({Lacking("fabrics", 1), Lacking("ports", 2)}));
    EXPECT_EQ((Keys{"ports"}), Told({Lacking("ports", 1)}));
    EXPECT_EQ((Keys{"fabrics", "targets"}), Told({Lacking("fabrics", 1), Lacking("targets", 1)}));
}

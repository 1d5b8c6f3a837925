// A change that an HBA library cannot make is not refused for the port's sake.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reading/ReadingHost.h"

using testing::HasSubstr;
using testing::Not;

namespace {

struct Change {
    const char* name;
    const char* function;
    const char* words;
    const char* advice; // to a library that has the function
};

std::string Entry(const Change& change, const char* member) {
    return std::string(R"({"function": ")") + change.function + "\", " + member + '}';
}

class MissingFunction : public testing::TestWithParam<Change> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    All, MissingFunction,
    testing::Values(
        Change{"CreateAuto", "ORVAN_GeneratePortWWN", "vport create auto", "Check that the adapter's port is online"},
        Change{"Wwpn", "ORVAN_GeneratePortWWN", "wwpn", "Check that the adapter's port is online"},
        Change{"Create", "ORVAN_CreateVPort", "vport create 20:02:02:05:7C:00:00:01", "shows the library's status"},
        Change{"Delete", "ORVAN_RemoveVPort", "vport delete 20:01:02:05:7C:00:00:01", "Compare with"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_P(MissingFunction, IsNamedInsteadOfTheUsualAdvice) {
    ReadingHost host;
    const std::string words = std::string(GetParam().words) + " --adapter " + ReadingHost::FAULTY;
    host.Simulate(ReadingHost::Topology(Entry(GetParam(), R"("status": 1)")));
    EXPECT_THAT(host.Messages(words), HasSubstr(GetParam().advice));
    host.Simulate(ReadingHost::Topology(Entry(GetParam(), R"("missing": true)")));
    const std::string told = host.Messages(words);
    EXPECT_THAT(told, HasSubstr(std::string("\n  The HBA library has no ") + GetParam().function + ".\n  Reinstall"));
    EXPECT_THAT(told, HasSubstr("The agent's log is"));
    EXPECT_THAT(told, Not(HasSubstr(GetParam().advice)));
}

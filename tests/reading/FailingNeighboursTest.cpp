// Every function of a neighbour, each way to fail, each command that reads: where the answer is another than the
// healthy one, the exit code is 1 and a problem names the adapter and the function; where it is the same, nothing is
// said.
#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/reading/Faults.h"
#include "tests/reading/ReadingHost.h"

namespace {

using Json = ReadingHost::Json;

constexpr int COMPLETE = 0;
constexpr int PARTIAL = 1;
constexpr int REFUSED = 4;         // the agent has not started, and the message says why
constexpr int RESCAN_REFUSED = 16; // the same, of what `rescan` does beside reading

bool Names(const Json& problem, const Fault& fault) {
    const std::string function = problem["function"];
    const std::string text = problem["text"];
    const bool whom = problem["adapter"] == ReadingHost::FAULTY || !fault.ofOneAdapter;
    return whom && (WhyNotNamed(fault) || function.find(fault.function) != function.npos ||
                    text.find(fault.function) != text.npos);
}

// What is wrong with what was said; empty: nothing. isShown: whether the command shows all that it reads.
std::string Judge(const ReadingHost::Reading& healthy, const ReadingHost::Reading& reading, const Fault& fault,
                  bool isShown) {
    if (reading.exit == REFUSED || reading.exit == RESCAN_REFUSED)
        return reading.document.contains("error") ? "" : "refused without a word";
    const Json& problems = reading.document["problems"];
    const bool whole = reading.document["complete"] == true;
    if (whole != (reading.exit == COMPLETE) || problems.empty() != whole)
        return fmt::format("exit {}, complete: {}, {} problems", reading.exit, whole, problems.size());
    if (reading.Answer() == healthy.Answer())
        return whole || !isShown ? "" : fmt::format("a false alarm: {}", problems.dump());
    if (reading.exit != PARTIAL)
        return fmt::format("exit {} though the answer differs: {}", reading.exit,
                           Json::diff(healthy.Answer(), reading.Answer()).dump().substr(0, 300));
    if (std::ranges::none_of(problems, [&](const Json& problem) { return Names(problem, fault); }))
        return fmt::format("no problem names the function: {}", problems.dump());
    return {};
}

// The doctor says of the adapters what the lists say.
std::string JudgeDoctor(const ReadingHost::Reading& reading) {
    if (!reading.written.is_object())
        return {};
    const Json& results = reading.written["examined"];
    const bool failed = std::ranges::find(results, "failure") != results.end();
    return failed == (reading.exit == PARTIAL) ? ""
                                               : fmt::format("exit {}, the doctor: {}", reading.exit, results.dump());
}

// The faults are a third of a function's, of which each kind has one moment of the three.
class FailingNeighbours : public testing::TestWithParam<Function> {
  protected:
    // third: 0 to 2
    static void AreTold(const Function& function, std::size_t third);
};
class MoreFailingNeighbours : public FailingNeighbours {};
class FailingNeighboursPages : public testing::TestWithParam<Function> {};

std::string NameOf(const testing::TestParamInfo<Function>& info) {
    return info.param.name;
}

void FailingNeighbours::AreTold(const Function& function, std::size_t third) {
    ReadingHost host;
    if (function.online)
        host.Dcb();
    host.Simulate(ReadingHost::Topology("", function.online));
    std::map<std::string, ReadingHost::Reading> healthy;
    for (const char* words : READERS) {
        healthy[words] = host.Run(words);
        EXPECT_EQ(COMPLETE, healthy[words].exit) << words << healthy[words].document.dump();
    }
    const std::vector<Fault> faults = FaultsOf(function);
    for (std::size_t i = 0; i < faults.size(); ++i) {
        if ((i + i / 3) % 3 != third) // their moments take turns
            continue;
        const Fault& fault = faults[i];
        const std::string topology = ReadingHost::Topology(fault.entry, function.online);
        if (function.neighbour == Neighbour::DcbService)
            host.SimulateDcb(topology);
        else
            host.Simulate(topology);
        bool told = true;
        bool differs = false;
        for (const char* words : READERS) {
            const ReadingHost::Reading reading = host.Run(words);
            // Metrics count the problems of lists of which they show no more than the length.
            const bool isShown = std::string_view(words) != "metrics" || !differs;
            const std::string problem = Judge(healthy[words], reading, fault, isShown);
            differs = differs || reading.Answer() != healthy[words].Answer();
            told = told && problem.empty();
            if (!WhyUndecidable(fault)) {
                EXPECT_EQ("", problem) << words << ' ' << fault.entry;
            }
        }
        if (WhyUndecidable(fault)) {
            EXPECT_FALSE(told) << "is told by now, and needs no exception: " << fault.entry;
        }
    }
}

} // namespace

TEST_P(FailingNeighbours, AreTold) {
    AreTold(GetParam(), 0);
}

TEST_P(MoreFailingNeighbours, AreTold) {
    AreTold(GetParam(), 1);
    AreTold(GetParam(), 2);
}

// One takes as long as all the lists together, so one way to fail of each function stands for all; of each call, for
// the doctor asks first and would use up a fault of one.
TEST_P(FailingNeighboursPages, HaveWhatTheListsTell) {
    ReadingHost host;
    const Function& function = GetParam();
    if (function.online)
        host.Dcb();
    host.Simulate(ReadingHost::Topology("", function.online));
    const ReadingHost::Reading healthy = host.Run("report");
    EXPECT_EQ(COMPLETE, healthy.exit) << healthy.document;
    EXPECT_EQ("", JudgeDoctor(healthy));
    const Fault fault = FaultsOf(function).front();
    const std::string topology = ReadingHost::Topology(fault.entry, function.online);
    if (function.neighbour == Neighbour::DcbService)
        host.SimulateDcb(topology);
    else
        host.Simulate(topology);
    const ReadingHost::Reading reading = host.Run("report");
    EXPECT_EQ("", Judge(healthy, reading, fault, true) + JudgeDoctor(reading)) << fault.entry;
}

TEST(ArchivedPage, IsTheReports) {
    ReadingHost host;
    host.Simulate(ReadingHost::Topology(""));
    EXPECT_EQ(host.Run("report").Answer()["written"], host.Run("diagnose").Answer()["written"]);
    host.Simulate(ReadingHost::Topology(R"({"function": "ORVAN_GetFCPortList", "throw": true})"));
    EXPECT_EQ(PARTIAL, host.Run("diagnose").exit);
}

INSTANTIATE_TEST_SUITE_P(All, FailingNeighbours, testing::ValuesIn(Functions()), NameOf);
INSTANTIATE_TEST_SUITE_P(All, MoreFailingNeighbours, testing::ValuesIn(Functions()), NameOf);
INSTANTIATE_TEST_SUITE_P(All, FailingNeighboursPages, testing::ValuesIn(Functions()), NameOf);

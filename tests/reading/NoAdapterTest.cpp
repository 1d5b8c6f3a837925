// Why there is nothing: of the causes the one that is true.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reading/ReadingHost.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr wchar_t FEATURES[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr wchar_t LOG[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";

constexpr char NONE[] = R"({"adapters": []})";
constexpr char OTHERS[] = R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01", "supports_fcoe": false,
   "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01"}},
  {"identifier": "{11111111-2222-4333-8444-555555555502}", "mac": "02:05:7C:00:00:02", "supports_fcoe": false,
   "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02"}}]})";

// With the log, and without it.
class NoAdapter : public testing::TestWithParam<DWORD> {
  protected:
    NoAdapter() { m_host.Suite().Hive().Set(LOG, L"TRACE", GetParam()); }

    // The one sentence, and nothing beside it.
    void ExpectNote(const std::string& words, const std::string& beginning) {
        const auto reading = m_host.Run(words);
        EXPECT_EQ(0, reading.exit) << words;
        EXPECT_TRUE(reading.document["problems"].empty()) << words;
        const auto& notes = reading.document["notes"];
        ASSERT_EQ(GetParam() ? 1u : 2u, notes.size()) << words << notes;
        EXPECT_THAT(notes.back().get<std::string>(), StartsWith(beginning)) << words;
    }

    void ExpectProblem(const std::string& words, const std::string& function, const std::string& part) {
        const auto reading = m_host.Run(words);
        EXPECT_EQ(1, reading.exit) << words;
        ASSERT_EQ(1u, reading.document["problems"].size()) << words << reading.document["problems"];
        const auto& problem = reading.document["problems"][0];
        EXPECT_EQ("", problem["adapter"]) << words;
        EXPECT_EQ(function, problem["function"]) << words;
        EXPECT_THAT(problem["text"].get<std::string>(), HasSubstr(part)) << words;
    }

    ReadingHost m_host;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(All, NoAdapter, testing::Values(DWORD{1}, DWORD{0}),
                         [](const auto& info) { return std::string(info.param ? "Logged" : "Unlogged"); });

TEST_P(NoAdapter, TheCoreAgentKnowsNone) {
    m_host.Simulate(NONE);
    for (const char* words : READERS)
        ExpectNote(words, "The core agent knows no adapter.");
}

TEST_P(NoAdapter, NoneSupportsFcoe) {
    m_host.Simulate(OTHERS);
    for (const char* words : READERS)
        ExpectNote(words, "The core agent knows 2 adapters, none of which supports FCoE.");
}

TEST_P(NoAdapter, FcoeIsNotInstalled) {
    m_host.Simulate(NONE);
    m_host.Suite().Hive().Set(FEATURES, L"InstalledTOLV_FCOE", L"0");
    ExpectNote("hbas", "FCoE counts as not installed: the registry value \"InstalledTOLV_FCOE\"");
    m_host.Suite().Hive().Delete(FEATURES, L"InstalledTOLV_FCOE");
    ExpectNote("tree", "FCoE counts as not installed. The registry value \"InstalledTOLV_FCOE\"");
}

TEST_P(NoAdapter, AFlagThatHidesAdaptersIsAProblem) {
    m_host.Simulate(ReadingHost::Topology(""));
    m_host.Suite().Hive().Set(FEATURES, L"InstalledTOLV_FCOE", L"yes");
    for (const char* words : READERS)
        ExpectProblem(words, "InstalledTOLV_FCOE", "is \"yes\" instead of \"1\". The core agent knows 2 adapters");
}

TEST_P(NoAdapter, TheCoreAgentRefuses) {
    m_host.Simulate(ReadingHost::Topology(R"({"function": "EnumerateAdapters", "status": 5})"));
    for (const char* words : READERS)
        ExpectProblem(words, "EnumerateAdapters", "refused the list of its adapters (error 5)");
}

TEST_P(NoAdapter, TheSimulatedTopologyIsWrong) {
    m_host.SimulateWrong(R"({"adapters": [], "faults": 5})");
    for (const char* words : READERS)
        ExpectProblem(words, "EnumerateAdapters",
                      "The simulated suite's topology is wrong: topology text: /faults: expected a list, found 5");
    EXPECT_THAT(m_host.Messages("hbas"), HasSubstr("found 5. Mend the topology: simctl check"));
}

TEST_P(NoAdapter, TextHasOneLine) {
    m_host.Simulate(NONE);
    const std::string messages = m_host.Messages("hbas");
    EXPECT_THAT(messages, HasSubstr("fcoectl: The core agent knows no adapter.\n"));
    EXPECT_EQ(GetParam() ? 1 : 2, std::count(messages.begin(), messages.end(), '\n')) << messages;
}

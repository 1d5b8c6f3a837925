// A call that does not return: the rest is recorded, and the call as one that hangs. In a program of its own, whose end
// ends the call.
#include <fstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/TempFolder.h"
#include "tests/reading/ReadingHost.h"

namespace {

using Json = ReadingHost::Json;

// What fcoectl records of two adapters of which one's function hangs, or, without an adapter, both.
Json Record(const std::string& function, bool hasAdapter, int& exit, std::string& said) {
    const TempFolder folder;
    const std::string adapter = hasAdapter ? fmt::format(R"("adapter": "{}", )", ReadingHost::FAULTY) : "";
    std::ofstream(folder.Path() / "hangs.json")
        << ReadingHost::Topology(fmt::format(R"({{"function": "{}", {}"delay_ms": 3600000}})", function, adapter));
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", (folder.Path() / "hangs.json").c_str());
    Host host;
    const auto file = folder.Path() / "recorded.json";
    const Answer answer = host.RunProgram(L"record \"" + file.wstring() + L"\" --timeout 0.5");
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr);
    exit = answer.exit;
    said = answer.out + answer.err;
    return Json::parse(ReadFileBytes(file), nullptr, false, true);
}

Json Hang(const std::string& function, bool hasAdapter) {
    Json fault = {{"function", function}};
    if (hasAdapter)
        fault["adapter"] = ReadingHost::FAULTY;
    fault["delay_ms"] = 3600000;
    return fault;
}

} // namespace

TEST(RecordedHang, OfOneAdapterLeavesTheRest) {
    int exit = 0;
    std::string said;
    const Json recorded = Record("ORVAN_GetTargetList", true, exit, said);
    EXPECT_EQ(8, exit) << said;
    EXPECT_NE(std::string::npos, said.find(std::string("ORVAN_GetTargetList of ") + ReadingHost::FAULTY)) << said;
    ASSERT_FALSE(recorded.is_discarded()) << said;
    EXPECT_EQ(Json::array({Hang("ORVAN_GetTargetList", true)}), recorded["faults"]);
    EXPECT_EQ(2u, recorded["adapters"][0]["ports"].size());
    EXPECT_EQ(2u, recorded["adapters"][0]["vlans"].size());
    EXPECT_FALSE(recorded["adapters"][0].contains("targets"));
    EXPECT_EQ(1u, recorded["adapters"][1]["targets"].size());
}

// Whoever hangs there keeps the mutex that all hosts share.
TEST(RecordedHang, InsideTheMutexLeavesWhatTheCoreAgentTells) {
    int exit = 0;
    std::string said;
    const Json recorded = Record("ORVAN_GetFCoEControllerInfo", true, exit, said);
    EXPECT_EQ(8, exit) << said;
    ASSERT_FALSE(recorded.is_discarded()) << said;
    EXPECT_EQ(Json::array({Hang("ORVAN_GetFCoEControllerInfo", true)}), recorded["faults"]);
    EXPECT_EQ("Adapter two", recorded["adapters"][1]["display_name"]);
    EXPECT_NE(std::string::npos, said.find("mutex")) << said;
}

TEST(RecordedHang, OfTheCoreAgentLeavesNoAdapter) {
    int exit = 0;
    std::string said;
    const Json recorded = Record("EnumerateAdapters", false, exit, said);
    EXPECT_EQ(8, exit) << said;
    ASSERT_FALSE(recorded.is_discarded()) << said;
    EXPECT_EQ(Json::array({Hang("EnumerateAdapters", false)}), recorded["faults"]);
    EXPECT_EQ(Json::array(), recorded["adapters"]);
}

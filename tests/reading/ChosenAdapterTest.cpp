// Adapters that the core agent has and the list has not: none is taken for another. And one that is asked alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reading/ReadingHost.h"

using testing::HasSubstr;

namespace {

constexpr int COMPLETE = 0;
constexpr int PARTIAL = 1;
constexpr int UNKNOWN = 5;
constexpr char OTHER[] = "{11111111-2222-4333-8444-555555555502}";

std::string Hiding() {
    return ReadingHost::Topology(std::string(R"({"function": "SupportsFcoe", "throw": true, "adapter": ")") +
                                 ReadingHost::FAULTY + "\"}");
}

} // namespace

TEST(ChosenAdapter, IsNotTheOnlyOneWhileAnotherIsHidden) {
    ReadingHost host;
    host.Simulate(Hiding());
    for (const char* change : {"rescan", "wwpn", "vport create", "vport delete 20:01:02:05:7C:00:00:01"})
        EXPECT_EQ(UNKNOWN, host.Run(change).exit) << change;
    EXPECT_THAT(host.Messages("rescan"), HasSubstr("not every one could be read"));
    EXPECT_EQ(0u, host.Suite().Calls("ORVAN_RescanScsiBus"));
}

TEST(ChosenAdapter, HasNoNumberWhileOneBeforeItIsHidden) {
    ReadingHost host;
    host.Simulate(Hiding());
    EXPECT_EQ(UNKNOWN, host.Run("ports --adapter 1").exit);
    EXPECT_EQ(UNKNOWN, host.Run("rescan --adapter 1").exit);
    for (const char* name : {OTHER, "20:00:02:05:7C:00:00:02"})
        EXPECT_EQ(COMPLETE, host.Run(std::string("ports --adapter ") + name).exit) << name;
}

TEST(ChosenAdapter, LacksItsListsWithoutTheLogToo) {
    ReadingHost host;
    host.Suite().Hive().Set(L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2", L"TRACE", DWORD{0});
    const std::pair<const char*, const char*> faults[] = {{"ORVAN_GetFCPortList", "fabrics"},
                                                          {"ORVAN_GetFCPortList", "ports"},
                                                          {"GetPortStatistics", "stats"},
                                                          {"GetAdapterPortAttributes", "hbas"}};
    for (const auto& [function, list] : faults) {
        host.Simulate(ReadingHost::Topology(""));
        const std::string words = std::string(list) + " --adapter " + ReadingHost::FAULTY;
        EXPECT_EQ(COMPLETE, host.Run(words).exit) << words;
        host.Simulate(ReadingHost::Topology(std::string(R"({"function": ")") + function + R"(", "status": 1})"));
        const auto reading = host.Run(words);
        EXPECT_EQ(PARTIAL, reading.exit) << words;
        EXPECT_EQ(ReadingHost::FAULTY, reading.document["problems"][0]["adapter"]) << words;
    }
}

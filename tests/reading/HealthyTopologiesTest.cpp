// No false alarm: whatever a healthy suite has or has not, every command that reads is complete.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/kit/TestData.h"
#include "tests/reading/ReadingHost.h"

namespace {

using Json = nlohmann::json;

void ExpectComplete(ReadingHost& host, const std::string& topology, const std::string& name) {
    host.Dcb();
    host.SimulateDcb(topology);
    host.Simulate(topology);
    for (const char* words : READERS) {
        const auto reading = host.Run(words);
        EXPECT_EQ(0, reading.exit) << name << ": " << words << reading.document.dump(1);
        EXPECT_EQ(true, reading.document["complete"]) << name << ": " << words;
        EXPECT_TRUE(reading.document["problems"].empty()) << name << ": " << words << reading.document["problems"];
        if (std::string_view(words) == "metrics") { // nobody asked for its lists one by one
            EXPECT_EQ(std::string::npos, reading.document.dump().find("The agent knows no ")) << name;
        }
    }
}

// A suite in which each thing is there or not, by the bits of the number.
Json Generated(unsigned number) {
    const auto Bit = [&](unsigned bit) { return ((number >> bit) & 1) != 0; };
    Json adapters = Json::array();
    for (unsigned i = 0; i < (Bit(0) ? 3u : 1u); ++i) {
        const std::string port = fmt::format("20:00:02:05:7C:00:00:{:02X}", i);
        Json adapter = {{"identifier", fmt::format("{{00000000-0000-0000-0000-10000000000{}}}", i)},
                        {"mac", fmt::format("02:05:7C:00:00:{:02X}", i)},
                        {"port", {{"node_wwn", "10" + port.substr(2)}, {"port_wwn", port}, {"state", Bit(1) ? 2 : 6}}}};
        if (Bit(2))
            adapter["vlans"] = Json::array({{{"id", 1}}, {{"id", 4094}, {"state", 0}}});
        if (Bit(3))
            adapter["ports"] = Json::array(
                {{{"type", 0}}, {{"type", 3}, {"port_wwn", "21" + port.substr(2)}, {"word_a", "0x010A01"}}});
        for (unsigned target = 0; target < (Bit(4) ? i + 1 : 0); ++target) {
            adapter["targets"].push_back({{"port_wwn", fmt::format("50:06:02:6B:00:00:00:{:02X}", target)},
                                          {"fc_id", 100 + target},
                                          {"npiv", Bit(3)}});
            for (unsigned lun = 0; lun < (Bit(5) ? target + 1 : 0); ++lun)
                adapter["targets"].back()["luns"].push_back({{"os_lun", lun}, {"check_conditions", lun}});
        }
        if (i == 1)
            adapter["supports_fcoe"] = false;
        adapters.push_back(std::move(adapter));
    }
    return {{"adapters", adapters}};
}

} // namespace

TEST(HealthyTopologies, OfTheTestDataAreComplete) {
    ReadingHost host;
    int checked = 0;
    for (const auto& file : std::filesystem::directory_iterator(TestData() / "topologies")) {
        std::ifstream stream(file.path());
        const Json topology = Json::parse(stream, nullptr, false, true);
        const std::string text = topology.dump();
        const std::string name = file.path().stem().string();
        // Recorded responses stand beside the file; of the other one a LUN never tells its capacity.
        if (topology.is_discarded() || topology.contains("faults") || text.find(".hex") != text.npos ||
            name == "check-conditions")
            continue;
        ExpectComplete(host, text, name);
        ++checked;
    }
    EXPECT_GE(checked, 7);
}

TEST(HealthyTopologies, GeneratedOnesAreComplete) {
    ReadingHost host;
    for (unsigned number = 0; number < 64; number += 5) // each bit both ways, in most pairs
        ExpectComplete(host, Generated(number).dump(), fmt::format("number {}", number));
}

TEST(HealthyTopologies, ALogThatIsOffOrShortIsToldAndNoProblem) {
    ReadingHost host;
    host.Simulate(ReadingHost::Topology(""));
    for (const DWORD level : {DWORD{0}, DWORD{2}}) {
        host.Suite().Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", level);
        for (const char* words : READERS) {
            const auto reading = host.Run(words);
            EXPECT_EQ(0, reading.exit) << words << reading.document;
            EXPECT_EQ(1, std::ranges::count_if(reading.document["notes"],
                                               [&](const nlohmann::json& note) {
                                                   return note.get<std::string>().find(fmt::format(
                                                              "\"TRACE\" is {}", level)) != std::string::npos;
                                               }))
                << words << reading.document["notes"];
        }
    }
}

// Ours pass, in each world of share/topologies but those that are broken on purpose, and one that moves while it is
// asked.
#include <filesystem>
#include <map>

#include <gtest/gtest.h>

#include "simulator/simctl/CheckedFile.h"
#include "tests/kit/TestData.h"
#include "tests/verify/Asked.h"

namespace {

const std::map<std::string, Told> BROKEN_ON_PURPOSE = {
    {"broken-targets",
     {"status ScsiInquiry", "status ScsiReadCapacityV2", "status ORVAN_SendReadCapacity16",
      "status ORVAN_GetTargetList"}},
    {"large-disks", {"block_length ScsiReadCapacityV2"}},
    {"old-driver", {"no_export ORVAN_GetVlanIdList", "no_export ORVAN_CreateVPort", "no_export ORVAN_GeneratePortWWN"}},
    {"slow-adapter", {"slow ORVAN_GetTargetList"}},
};

constexpr char MOVING[] = "flapping-port";

} // namespace

TEST(Worlds, OursPass) {
    std::size_t worlds = 0, broken = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SourceFolder() / "share/topologies")) {
        const std::string name = entry.path().stem().string();
        if (entry.path().extension() != ".json" || name == MOVING)
            continue;
        ++worlds;
        const Variable topology(L"ORVAN_SIM_TOPOLOGY", entry.path().wstring());
        const auto core = AskInProcess(verify::Neighbour::CoreAgent, L"CoreAgnt.dll", {});
        EXPECT_EQ(Told{}, core.All()) << name;
        EXPECT_FALSE(core.outcome.adapters.empty()) << name;
        const auto library = AskInProcess(verify::Neighbour::Library, L"orvanhapi.dll", core.outcome.adapters);
        const auto expected = BROKEN_ON_PURPOSE.find(name);
        broken += expected != BROKEN_ON_PURPOSE.end();
        EXPECT_EQ(expected == BROKEN_ON_PURPOSE.end() ? Told{} : expected->second, library.All()) << name;
        EXPECT_EQ(core.outcome.adapters, library.outcome.adapters) << name;
    }
    EXPECT_LT(10u, worlds);
    EXPECT_EQ(BROKEN_ON_PURPOSE.size(), broken) << "a world has gone";
}

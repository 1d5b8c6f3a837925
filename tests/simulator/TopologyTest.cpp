// Reading topologies: defaults, places of errors, the files that come with the project.
#include <gtest/gtest.h>

#include <windows.h>

#include "simulator/topology/Functions.h"
#include "simulator/topology/HexFile.h"
#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"

namespace {

namespace fs = std::filesystem;

const fs::path DATA = TestData();
constexpr char MINIMAL[] = R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}",
    "mac": "02:05:7C:00:00:01", "port": {"node_wwn": "10:00:02:05:7C:00:00:01",
    "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010203", "fabric_name": "10:00:02:4E:90:00:01:00"},
    "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01", "luns": [{}, {"os_lun": 7}]}]}]})";

std::vector<fs::path> JsonFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".json")
            files.push_back(entry.path());
    }
    EXPECT_FALSE(files.empty()) << folder;
    return files;
}

std::string ErrorOf(const std::string& text, const fs::path& folder = {}) {
    try {
        sim::ParseTopology(text, "FILE", folder);
        return "no error";
    } catch (const sim::TopologyError& error) {
        return error.what();
    }
}

void WriteFile(const fs::path& file, const std::string& text) {
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    CloseHandle(handle);
}

} // namespace

// Each bad file says in its first line what the loader has to say about it.
TEST(Topology, SaysFilePlaceAndExpectationOfEachError) {
    for (const auto& file : JsonFiles(DATA / "topologies/bad")) {
        const std::string text = sim::ReadFile(file);
        const std::string expected = text.substr(3, text.find('\n') - 3);
        std::string error = ErrorOf(text, file.parent_path());
        // Responses are named with the folder that they were looked for in.
        const std::string folder = sim::Utf8((file.parent_path() / L"").wstring());
        if (const auto at = error.find(folder); at != std::string::npos)
            error.erase(at, folder.size());
        EXPECT_EQ(expected, error) << file;
    }
}

TEST(Topology, NamesTheFileThatItWasReadFrom) {
    const fs::path file = DATA / "topologies/bad/no-adapters.json";
    try {
        sim::LoadTopology(file);
        FAIL();
    } catch (const sim::TopologyError& error) {
        EXPECT_EQ(sim::Utf8(file.wstring()) + ": /: the key \"adapters\" is missing", error.what());
    }
}

TEST(Topology, SaysWhyAFileCannotBeRead) {
    try {
        sim::LoadTopology("no such file.json");
        FAIL();
    } catch (const sim::TopologyError& error) {
        EXPECT_STREQ("no such file.json: cannot be read: error 2", error.what());
    }
}

TEST(Topology, AcceptsTheFilesOfTheProject) {
    for (const auto& file : JsonFiles(DATA / "topologies"))
        EXPECT_NO_THROW(sim::LoadTopology(file)) << file;
}

TEST(Topology, AcceptsTheExampleOfTheGuide) {
    const std::string guide = sim::ReadFile(SourceFolder() / "docs/simulator.md");
    const auto start = guide.find("```json\n");
    ASSERT_NE(std::string::npos, start);
    const auto end = guide.find("\n```", start);
    EXPECT_EQ("no error", ErrorOf(guide.substr(start + 8, end - start - 8), DATA / "scsi"));
}

// The guide names every function that a fault can be declared for.
TEST(Topology, GuideListsEachFunction) {
    const std::string guide = sim::ReadFile(SourceFolder() / "docs/simulator.md");
    for (const auto name : sim::FUNCTION_NAMES)
        EXPECT_NE(std::string::npos, guide.find("`" + std::string(name) + "`")) << name;
}

TEST(Topology, FillsDefaultsIn) {
    const auto topology = sim::ParseTopology(MINIMAL, "FILE");
    ASSERT_EQ(1u, topology.adapters.size());
    const auto& adapter = topology.adapters[0];
    EXPECT_FALSE(topology.osDcb);
    EXPECT_TRUE(adapter.supportsFcoe);
    EXPECT_EQ("ORVAN FCoE Adapter 1", adapter.displayName);
    EXPECT_EQ("com.orvan-FCoE-0", adapter.libraryName);
    EXPECT_EQ(1u, adapter.interfaceIndex);
    EXPECT_EQ("\\DEVICE\\{11111111-2222-4333-8444-555555555501}", adapter.properties.networkInstance);
    EXPECT_EQ(adapter.mac, adapter.properties.mac);
    EXPECT_EQ(adapter.port.portWwn, adapter.properties.portWwn);
    EXPECT_EQ(1u, adapter.port.discoveredPorts);
    EXPECT_EQ(64u, adapter.maxVirtualPorts);

    ASSERT_EQ(1u, adapter.ports.size());
    EXPECT_EQ(0, adapter.ports[0].type);
    EXPECT_EQ(adapter.port.portWwn, adapter.ports[0].portWwn);
    EXPECT_EQ(0x010203u, adapter.ports[0].wordA);
    EXPECT_EQ(1u, adapter.ports[0].word56);
    EXPECT_EQ(adapter.port.fabricName, adapter.ports[0].identifiers[2]);

    const auto& target = adapter.targets.at(0);
    EXPECT_EQ(adapter.port.portWwn, target.initiatorWwn);
    EXPECT_EQ(target.portWwn, target.nodeWwn);
    ASSERT_EQ(2u, target.luns.size());
    EXPECT_EQ(0u, target.luns[0].fcpLun);
    EXPECT_EQ(7u, target.luns[1].osLun);
    EXPECT_EQ(0x0700u, target.luns[1].fcpLun);
    EXPECT_EQ(16u, target.luns[1].readCapacity);
}

TEST(Topology, BuiltInOneHasTwoAdaptersAndNoCounterTwice) {
    const auto topology = sim::ParseTopology(sim::DefaultTopologyText(), "built-in");
    ASSERT_EQ(2u, topology.adapters.size());
    std::vector<std::int64_t> counters;
    for (const auto& adapter : topology.adapters) {
        for (const auto value : adapter.statistics.values) {
            if (value != -1)
                counters.push_back(value);
        }
    }
    std::sort(counters.begin(), counters.end());
    EXPECT_EQ(counters.end(), std::adjacent_find(counters.begin(), counters.end()));
    EXPECT_TRUE(topology.faults.empty());
}

TEST(Topology, FindsAnAdapterInAnyLetterCase) {
    const auto topology = sim::ParseTopology(sim::DefaultTopologyText(), "built-in");
    EXPECT_EQ(&topology.adapters[1], topology.FindAdapter(L"{5b2c7a10-3d4e-4f60-8a71-92b3c4d5e6f2}"));
    EXPECT_EQ(nullptr, topology.FindAdapter(L"{5b2c7a10-3d4e-4f60-8a71-92b3c4d5e6f9}"));
}

TEST(Topology, ReadsHexFilesWithComments) {
    const TempFolder folder;
    WriteFile(folder.Path() / "bytes.hex", "# origin\r\n00 ff 7A # rest of a line\r\n\r\n12\r\n");
    EXPECT_EQ((std::vector<std::uint8_t>{0x00, 0xFF, 0x7A, 0x12}), sim::ReadHexFile(folder.Path() / "bytes.hex"));
}

TEST(Topology, VariableComesBeforeRegistryBeforeBuiltIn) {
    const TempFolder folder;
    PrivateHive hive;
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr);
    EXPECT_TRUE(sim::TopologyFile().empty());
    EXPECT_EQ(2u, sim::LoadConfiguredTopology().adapters.size());

    WriteFile(folder.Path() / "one.json", MINIMAL);
    hive.Set(L"SOFTWARE\\ORVAN\\Simulator", L"Topology", (folder.Path() / "one.json").wstring());
    EXPECT_EQ(1u, sim::LoadConfiguredTopology().adapters.size());

    WriteFile(folder.Path() / "none.json", R"({"adapters": []})");
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", (folder.Path() / "none.json").c_str());
    EXPECT_EQ(0u, sim::LoadConfiguredTopology().adapters.size());
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr);
}

// What is said of topologies that are wrong, and of those that are surely meant otherwise.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "simulator/topology/Text.h"
#include "simulator/topology/TopologyReader.h"
#include "tests/kit/TestData.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// Two adapters without any fault, which tests spoil.
json Good() {
    return json::parse(R"({"adapters": [
        {"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
         "pci": {"bus": 3, "device": 0, "function": 0},
         "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010A00"},
         "ports": [{"type": 0, "word_a": "0x010A00"},
                   {"type": 3, "port_wwn": "20:01:02:05:7C:00:00:01", "word_a": "0x010A01"}],
         "targets": [
            {"port_wwn": "50:06:02:6B:00:00:00:01", "fc_id": "0x010B01", "luns": [
                {"os_device_name": "\\\\.\\PHYSICALDRIVE1"}, {"os_device_name": "\\\\.\\PHYSICALDRIVE2"}]},
            {"port_wwn": "50:06:02:6B:00:00:00:02", "fc_id": "0x010B02", "luns": [{}]}],
         "vlans": [{"id": 100}, {"id": 200}]},
        {"identifier": "{11111111-2222-4333-8444-555555555502}", "mac": "02:05:7C:00:00:02",
         "pci": {"bus": 3, "device": 0, "function": 1}, "supports_fcoe": false,
         "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02"}}],
        "faults": []})");
}

constexpr char FIRST[] = "{11111111-2222-4333-8444-555555555501}";
constexpr char SECOND[] = "{11111111-2222-4333-8444-555555555502}";

json Patched(const char* pointer, const json& value) {
    json document = Good();
    document[json::json_pointer(pointer)] = value;
    return document;
}

std::vector<std::string> Messages(const std::vector<sim::Problem>& problems) {
    std::vector<std::string> messages;
    for (const auto& problem : problems)
        messages.push_back(problem.Message());
    return messages;
}

// The only error of a document.
std::string ErrorOf(const json& document) {
    const auto reading = sim::ReadTopology(document.dump());
    EXPECT_EQ(1u, reading.problems.size()) << testing::PrintToString(Messages(reading.problems));
    return reading.problems.empty() ? "no error" : reading.problems.front().Message();
}

// The only warning of a good document: its code and its place.
std::string WarningOf(const json& document) {
    const auto checked = sim::CheckTopology(document.dump());
    EXPECT_TRUE(checked.reading.problems.empty()) << testing::PrintToString(Messages(checked.reading.problems));
    EXPECT_EQ(1u, checked.warnings.size()) << testing::PrintToString(Messages(checked.warnings));
    if (checked.warnings.empty())
        return "no warning";
    EXPECT_FALSE(checked.warnings.front().advice.empty());
    EXPECT_NE(0u, checked.warnings.front().line);
    return checked.warnings.front().code + " " + checked.warnings.front().pointer;
}

std::string WarningOfFault(const json& fault) {
    return WarningOf(Patched("/faults", json::array({fault})));
}

} // namespace

TEST(AllErrors, AreToldInTheOrderOfTheFile) {
    const std::string text =
        "{\n"
        "  \"faults\": [{\"function\": \"Nothing\"}, {\"function\": \"ORVAN_GetTargetList\", \"on_call\": 0}],\n"
        "  \"adapters\": [{\"identifier\": 5,\n"
        "    \"mac\": \"x\", \"prots\": [],\n"
        "    \"port\": {\"node_wwn\": \"10:00:02:05:7C:00:00:01\", \"speed\": -1}}]\n"
        "}\n";
    std::vector<std::string> told;
    for (const auto& problem : sim::ReadTopology(text).problems)
        told.push_back(std::to_string(problem.line) + ":" + std::to_string(problem.column) + " " + problem.pointer);
    EXPECT_EQ((std::vector<std::string>{"2:27 /faults/0/function", "2:86 /faults/1/on_call",
                                        "3:31 /adapters/0/identifier", "4:12 /adapters/0/mac", "4:17 /adapters/0",
                                        "5:13 /adapters/0/port", "5:62 /adapters/0/port/speed"}),
              told);
}

TEST(AllErrors, CountCharactersAndNoByteOrderMark) {
    const auto problems = sim::ReadTopology("\xEF\xBB\xBF{\"\xC3\xA4\": 1, \"adapters\": 2}").problems;
    ASSERT_EQ(2u, problems.size());
    EXPECT_EQ(2u, problems[0].column);
    EXPECT_EQ(22u, problems[1].column);
}

TEST(AllErrors, AByteOrderMarkIsNone) {
    EXPECT_TRUE(sim::ReadTopology("\xEF\xBB\xBF{\"adapters\": []}").problems.empty());
}

TEST(AllErrors, NameEachRepeatedKeyAtItsPlace) {
    const auto problems =
        sim::ReadTopology(
            "{\"adapters\": [], \"os_dcb\": {\"x\": 1},\n \"os_dcb\": {\"x\": 2, \"x\": 3},\n\"os_dcb\": false}")
            .problems;
    ASSERT_EQ(3u, problems.size());
    EXPECT_EQ("the key \"os_dcb\" is given twice in one object", problems[0].Message());
    EXPECT_EQ(2u, problems[0].line);
    EXPECT_EQ(2u, problems[0].column);
    EXPECT_EQ("the key \"x\" is given twice in one object", problems[1].Message());
    EXPECT_EQ(3u, problems[2].line);
}

TEST(AllErrors, OfABrokenAdapterDoNotSpreadToItsFaults) {
    json document = Patched("/adapters/0/identifier", "nothing");
    document["faults"] = json::array({{{"function", "GetAdapterInfo"}, {"adapter", FIRST}, {"throw", true}}});
    EXPECT_EQ("/adapters/0/identifier: expected a GUID in braces, found \"nothing\"", ErrorOf(document));
}

TEST(AllErrors, EndWithTheFirstThousand) {
    json document = Good();
    for (int i = 0; i < 5000; ++i)
        document["zzzz" + std::to_string(i)] = i;
    EXPECT_EQ(1000u, sim::ReadTopology(document.dump()).problems.size());
}

TEST(AllErrors, DeepBracketsCostLittle) {
    const std::string text = "{\"adapters\": [], \"x\": " + std::string(200000, '[') + std::string(200000, ']') + "}";
    const auto problems = sim::ReadTopology(text).problems;
    ASSERT_EQ(1u, problems.size());
    EXPECT_EQ("/: unknown key \"x\"", problems[0].Message());
}

TEST(TerseErrors, HexadecimalWithout0x) {
    EXPECT_EQ("/adapters/0/targets/0/fc_id: expected a number from 0 to 4294967295, found \"10B01\"; write \"0x10B01\"",
              ErrorOf(Patched("/adapters/0/targets/0/fc_id", "10B01")));
}

TEST(TerseErrors, NumberInQuotes) {
    EXPECT_EQ("/adapters/0/vlans/0/id: expected a number from 0 to 65535, found \"100\"; write 100 without quotes, or "
              "\"0x100\" if it is hexadecimal",
              ErrorOf(Patched("/adapters/0/vlans/0/id", "100")));
}

TEST(TerseErrors, NameOfAStatus) {
    EXPECT_EQ(
        "/faults/0/status: expected a number from 0 to 4294967295, found \"HBA_STATUS_ERROR\"; HBA_STATUS_ERROR is 1",
        ErrorOf(Patched("/faults/0", {{"function", "ORVAN_GetTargetList"}, {"status", "HBA_STATUS_ERROR"}})));
}

TEST(TerseErrors, NameOfAnHresult) {
    EXPECT_EQ("/faults/0/hresult: expected a number from 0 to 4294967295, found \"E_FAIL\"; E_FAIL is 0x80004005",
              ErrorOf(Patched("/faults/0", {{"function", "get_dcb_config"}, {"hresult", "E_FAIL"}})));
}

TEST(TerseErrors, SpeedInWords) {
    const std::string error = "/adapters/0/port/speed: expected a number from 0 to 4294967295, found ";
    EXPECT_EQ(error + "\"10 Gbps\"; 10 Gbit/s is 4", ErrorOf(Patched("/adapters/0/port/speed", "10 Gbps")));
    EXPECT_EQ(error +
                  "\"fast\"; the numbers are 0 unknown, 1 1 Gbit/s, 2 2 Gbit/s, 4 10 Gbit/s, 8 4 Gbit/s, 16 8 Gbit/s, "
                  "32 16 Gbit/s, 32768 not negotiated",
              ErrorOf(Patched("/adapters/0/port/speed", "fast")));
}

TEST(TerseErrors, StateInWords) {
    EXPECT_EQ("/adapters/0/port/state: expected a number from 0 to 4294967295, found \"Link Down\"; link down is 6",
              ErrorOf(Patched("/adapters/0/port/state", "Link Down")));
}

TEST(TerseErrors, SizeForBlocks) {
    const std::string error =
        "/adapters/0/targets/0/luns/0/blocks: expected a number from 1 to 18446744073709551615, found ";
    EXPECT_EQ(error +
                  "\"100 GB\"; the capacity is blocks \xC3\x97 block_length bytes: 100 GB are 195312500 blocks of 512",
              ErrorOf(Patched("/adapters/0/targets/0/luns/0/blocks", "100 GB")));
    EXPECT_EQ(error + "\"1GiB\"; the capacity is blocks \xC3\x97 block_length bytes: 1GiB are 2097152 blocks of 512",
              ErrorOf(Patched("/adapters/0/targets/0/luns/0/blocks", "1GiB")));
    EXPECT_EQ(error + "\"much\"; the capacity is blocks \xC3\x97 block_length bytes",
              ErrorOf(Patched("/adapters/0/targets/0/luns/0/blocks", "much")));
}

TEST(Warnings, NoneOfAGoodTopology) {
    EXPECT_EQ(std::vector<std::string>(), Messages(sim::CheckTopology(Good().dump()).warnings));
}

TEST(Warnings, TwoTargetsOfOneWwn) {
    EXPECT_EQ("same_target_wwn /adapters/0/targets/1/port_wwn", [] {
        json document = Patched("/adapters/0/targets/1/port_wwn", "50:06:02:6B:00:00:00:01");
        document["adapters"][0]["targets"][1]["fc_id"] = "0x010B01";
        return WarningOf(document);
    }());
}

TEST(Warnings, TwoTargetsOnOneScsiAddress) {
    EXPECT_EQ("same_scsi_address /adapters/0/targets/1", WarningOf(Patched("/adapters/0/targets/1/target", 0)));
}

TEST(Warnings, TwoLunsOnOneDisk) {
    EXPECT_EQ("same_device /adapters/0/targets/0/luns/1/os_device_name",
              WarningOf(Patched("/adapters/0/targets/0/luns/1/os_device_name", "\\\\.\\PHYSICALDRIVE1")));
}

TEST(Warnings, NoneOfTwoPathsToOneDisk) {
    json document = Patched("/adapters/0/targets/1/luns/0/os_device_name", "\\\\.\\PHYSICALDRIVE1");
    EXPECT_TRUE(sim::CheckTopology(document.dump()).warnings.empty());
    document["adapters"][0]["targets"][1]["serial"] = "another";
    EXPECT_EQ("same_device /adapters/0/targets/1/luns/0/os_device_name", WarningOf(document));
}

TEST(Warnings, InitiatorThatNoPortIs) {
    EXPECT_EQ("unknown_initiator /adapters/0/targets/0/initiator_wwn",
              WarningOf(Patched("/adapters/0/targets/0/initiator_wwn", "20:00:02:05:7C:00:00:99")));
}

TEST(Warnings, InitiatorOfAnotherType) {
    EXPECT_EQ("initiator_type /adapters/0/targets/0/initiator_type",
              WarningOf(Patched("/adapters/0/targets/0/initiator_wwn", "20:01:02:05:7C:00:00:01")));
}

TEST(Warnings, InitiatorUnderAnotherAddress) {
    json document = Patched("/adapters/0/targets/0/initiator_wwn", "20:01:02:05:7C:00:00:01");
    document["adapters"][0]["targets"][0]["initiator_type"] = 3;
    EXPECT_EQ("initiator_address /adapters/0/targets/0/fc_id", WarningOf(document));
    document["adapters"][0]["targets"][0]["fc_id"] = "0x010A01";
    EXPECT_TRUE(sim::CheckTopology(document.dump()).warnings.empty());
}

TEST(Warnings, OneFcAddressTwice) {
    EXPECT_EQ("same_fc_id /adapters/0/targets/1/fc_id", WarningOf(Patched("/adapters/0/targets/1/fc_id", "0x010B01")));
    EXPECT_EQ("same_fc_id /adapters/0/targets/1/fc_id", WarningOf(Patched("/adapters/0/targets/1/fc_id", "0x010A00")));
}

TEST(Warnings, OneLunNumberTwice) {
    json document = Patched("/adapters/0/targets/0/luns/1/os_lun", 0);
    document["adapters"][0]["targets"][0]["luns"][1]["fcp_lun"] = 256;
    EXPECT_EQ("same_os_lun /adapters/0/targets/0/luns/1", WarningOf(document));
}

TEST(Warnings, BlocksOfNoBytes) {
    EXPECT_EQ("block_length /adapters/0/targets/0/luns/0/block_length",
              WarningOf(Patched("/adapters/0/targets/0/luns/0/block_length", 0)));
}

TEST(Warnings, VirtualPortWithThePhysicalPortsWwn) {
    json document = Patched("/adapters/0/ports/1/port_wwn", "20:00:02:05:7C:00:00:01");
    document["adapters"][0]["ports"][0]["port_wwn"] = "20:00:02:05:7C:00:00:11";
    document["adapters"][0]["targets"] = json::array();
    EXPECT_EQ("physical_port_wwn /adapters/0/ports/1/port_wwn", WarningOf(document));
}

TEST(Warnings, TwoPortsOfOneWwnOrAddress) {
    EXPECT_EQ("same_port_wwn /adapters/1/port/port_wwn",
              WarningOf(Patched("/adapters/1/port/port_wwn", "20:00:02:05:7C:00:00:01")));
    EXPECT_EQ("same_word_b /adapters/0/ports/2",
              WarningOf(Patched("/adapters/0/ports/2",
                                {{"type", 3}, {"port_wwn", "20:02:02:05:7C:00:00:01"}, {"word_a", "0x010A01"}})));
}

TEST(Warnings, VirtualPortsBeyondTheirNumber) {
    EXPECT_EQ("virtual_ports /adapters/0/max_virtual_ports", WarningOf(Patched("/adapters/0/max_virtual_ports", 0)));
}

TEST(Warnings, VlansThatCannotBe) {
    EXPECT_EQ("vlan_id /adapters/0/vlans/0/id", WarningOf(Patched("/adapters/0/vlans/0/id", 5000)));
    EXPECT_EQ("reserved_vlan /adapters/0/vlans/0/id", WarningOf(Patched("/adapters/0/vlans/0/id", 4095)));
    EXPECT_EQ("reserved_vlan /adapters/0/vlans/0/id", WarningOf(Patched("/adapters/0/vlans/0/id", 0)));
    EXPECT_EQ("same_vlan /adapters/0/vlans/1", WarningOf(Patched("/adapters/0/vlans/1/id", 100)));
    EXPECT_TRUE(sim::CheckTopology(Patched("/adapters/0/vlans/0/id", 4094).dump()).warnings.empty());
}

TEST(Warnings, WhatAdaptersMustHaveApart) {
    EXPECT_EQ("same_mac /adapters/1/mac", WarningOf(Patched("/adapters/1/mac", "02:05:7C:00:00:01")));
    EXPECT_EQ("same_pci_address /adapters/1/pci", WarningOf(Patched("/adapters/1/pci/function", 0)));
    EXPECT_EQ("same_display_name /adapters/1/display_name",
              WarningOf(Patched("/adapters/1/display_name", "ORVAN FCoE Adapter 1")));
    EXPECT_EQ("same_interface_index /adapters/1/interface_index", WarningOf(Patched("/adapters/1/interface_index", 1)));
    EXPECT_EQ("same_controller /adapters/1/controller", WarningOf(Patched("/adapters/1/controller", 0)));
}

TEST(Warnings, AddressOfAGroup) {
    EXPECT_EQ("group_mac /adapters/1/mac", WarningOf(Patched("/adapters/1/mac", "03:05:7C:00:00:02")));
}

TEST(Warnings, CounterThatNeverGrows) {
    json document = Patched("/adapters/0/statistics", {{"lip_count", -1}});
    document["adapters"][0]["statistics_per_second"] = {{"lip_count", 5}};
    EXPECT_EQ("counter_stays /adapters/0/statistics_per_second/lip_count", WarningOf(document));
}

TEST(FaultWarnings, HresultOfALibraryFunction) {
    EXPECT_EQ("hresult /faults/0/hresult",
              WarningOfFault({{"function", "ORVAN_GetTargetList"}, {"hresult", "0x80004005"}}));
}

TEST(FaultWarnings, StatusOfAComFunction) {
    EXPECT_EQ("status /faults/0/status", WarningOfFault({{"function", "get_dcb_config"}, {"status", 1}}));
    EXPECT_EQ("status /faults/0/status", WarningOfFault({{"function", "ExecQuery"}, {"status", 1}}));
}

TEST(FaultWarnings, NoEffectAtAll) {
    EXPECT_EQ("no_effect /faults/0", WarningOfFault({{"function", "ORVAN_GetTargetList"}, {"on_call", 2}}));
    EXPECT_EQ("no_effect /faults/0", WarningOfFault({{"function", "ORVAN_GetTargetList"}, {"delay_ms", 0}}));
}

TEST(FaultWarnings, EffectThatTheFunctionCannotShow) {
    EXPECT_EQ("no_effect /faults/0/lock_taken", WarningOfFault({{"function", "DoneLock"}, {"lock_taken", 1}}));
    EXPECT_EQ("no_effect /faults/0/count", WarningOfFault({{"function", "GetPortStatistics"}, {"count", 1}}));
    EXPECT_EQ("no_effect /faults/0/status", WarningOfFault({{"function", "GetVersion"}, {"status", 1}}));
    EXPECT_EQ("no_effect /faults/0/unterminated",
              WarningOfFault({{"function", "ORVAN_GetVlanIdList"}, {"unterminated", true}}));
    EXPECT_EQ("no_effect /faults/0/detail", WarningOfFault({{"function", "ORVAN_GetVlanIdList"}, {"detail", 3}}));
    EXPECT_EQ("no_effect /faults/0/garbage", WarningOfFault({{"function", "LoadLibrary"}, {"garbage", true}}));
}

TEST(FaultWarnings, AdapterOfAFunctionThatHasNone) {
    EXPECT_EQ("never_shows /faults/0/adapter",
              WarningOfFault({{"function", "StartLock"}, {"adapter", FIRST}, {"status", 1}}));
}

TEST(FaultWarnings, AdapterThatTheLibraryDoesNotKnow) {
    EXPECT_EQ("never_shows /faults/0/adapter",
              WarningOfFault({{"function", "ORVAN_GetTargetList"}, {"adapter", SECOND}, {"status", 1}}));
    const json core = {{"function", "GetAdapterInfo"}, {"adapter", SECOND}, {"status", 1}};
    EXPECT_TRUE(sim::CheckTopology(Patched("/faults", json::array({core})).dump()).warnings.empty());
}

TEST(FaultWarnings, CommandToAnAdapterWithoutTargets) {
    json document =
        Patched("/faults", json::array({{{"function", "ScsiInquiry"}, {"adapter", SECOND}, {"status", 1}}}));
    document["adapters"][1]["supports_fcoe"] = true;
    EXPECT_EQ("never_shows /faults/0/adapter", WarningOf(document));
}

TEST(FaultWarnings, ShadowedByAnEarlierOne) {
    const json always = {{"function", "ORVAN_GetTargetList"}, {"status", 1}};
    const json second = {{"function", "ORVAN_GetTargetList"}, {"status", 2}, {"on_call", 2}};
    const json ofFirst = {{"function", "ORVAN_GetTargetList"}, {"status", 3}, {"adapter", FIRST}};
    EXPECT_EQ("never_shows /faults/1", WarningOf(Patched("/faults", json::array({always, second}))));
    EXPECT_EQ("never_shows /faults/1", WarningOf(Patched("/faults", json::array({always, ofFirst}))));
    for (const json& faults :
         {json::array({second, always}), json::array({ofFirst, always}), json::array({second, ofFirst})})
        EXPECT_TRUE(sim::CheckTopology(Patched("/faults", faults).dump()).warnings.empty()) << faults;
}

TEST(FaultWarnings, ShadowedBySeveralTogether) {
    const json first = {{"function", "ORVAN_GetTargetList"}, {"status", 1}, {"times", 2}};
    const json rest = {{"function", "ORVAN_GetTargetList"}, {"status", 2}, {"on_call", 3}, {"times", 4}};
    json shadowed = {{"function", "ORVAN_GetTargetList"}, {"status", 3}, {"on_call", 2}, {"times", 5}};
    EXPECT_EQ("never_shows /faults/2", WarningOf(Patched("/faults", json::array({first, rest, shadowed}))));
    shadowed["times"] = 6;
    EXPECT_TRUE(sim::CheckTopology(Patched("/faults", json::array({first, rest, shadowed})).dump()).warnings.empty());
}

TEST(FaultWarnings, OfAMissingFunction) {
    const json missing = {{"function", "ORVAN_GetTargetList"}, {"missing", true}};
    const json other = {{"function", "ORVAN_GetTargetList"}, {"status", 1}};
    EXPECT_EQ("never_shows /faults/0", WarningOf(Patched("/faults", json::array({other, missing}))));
    EXPECT_EQ("never_shows /faults/1", WarningOf(Patched("/faults", json::array({missing, missing}))));
}

// The built-in topology, the example of the guide and the files of other tests, but for those that are odd on purpose.
TEST(Warnings, OfTheFilesOfTheProject) {
    std::vector<std::string> warnings;
    for (const auto& entry : fs::directory_iterator(TestData() / "topologies")) {
        if (entry.path().extension() != ".json")
            continue;
        for (const auto& warning : sim::CheckTopology(sim::ReadFile(entry.path()), entry.path().parent_path()).warnings)
            warnings.push_back(sim::Utf8(entry.path().filename().wstring()) + ": " + warning.code);
    }
    std::sort(warnings.begin(), warnings.end());
    EXPECT_EQ((std::vector<std::string>{"first-adapter-fails.json: same_device", "more-data.json: same_device"}),
              warnings);
    EXPECT_EQ(std::vector<std::string>(), Messages(sim::CheckTopology(sim::DefaultTopologyText()).warnings));
}

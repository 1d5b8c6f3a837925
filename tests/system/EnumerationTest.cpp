// What the enumerations answer on a simulated suite, field by field.
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/SuiteHost.h"

namespace {

using testing::Contains;
using testing::Not;

const wchar_t ADAPTER1[] = L"{11111111-2222-4333-8444-555555555501}";
const wchar_t ADAPTER2[] = L"{11111111-2222-4333-8444-555555555502}";

const char* const TWO_ADAPTERS = R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one", "mac": "00:1B:21:00:00:01",
   "library_name": "lib-one", "attributes": {"model": "CX-1000"},
   "port": {"node_wwn": "20:00:00:1B:21:00:00:01", "port_wwn": "20:01:00:1B:21:00:00:01", "fc_id": 66051, "speed": 8, "state": 3},
   "pci": {"bus": 5, "device": 17, "function": 3},
   "statistics": {"tx_frames": 1, "tx_words": 1000, "rx_frames": 3, "rx_words": 5000, "error_frames": 5, "dumped_frames": 6,
     "loss_of_sync_count": 7, "invalid_crc_count": 8, "invalid_tx_word_count": 9, "loss_of_signal_count": 10,
     "link_failure_count": 11},
   "ports": [{"type": 0, "word_a": 21, "word_b": 22, "word_56": 9, "number": 100, "byte_62": 4,
     "identifiers": ["10:00:00:05:1E:00:00:01", "20:64:00:05:1E:00:00:01", "20:01:00:05:1E:00:00:01"]}],
   "targets": [{"bus": 1, "target": 2, "port_wwn": "50:06:01:60:00:00:00:01", "node_wwn": "50:06:01:60:80:00:00:01",
     "fc_id": 66817, "number": 7, "vendor": "STORAGE", "serial": " SN 1 ",
     "luns": [{"os_lun": 3, "os_device_name": "\\\\.\\PHYSICALDRIVE1", "blocks": 4194305}]}],
   "vlans": [{"id": 100, "state": 1}, {"id": 200, "state": 2}]},
  {"identifier": "{11111111-2222-4333-8444-555555555502}", "display_name": "Adapter two", "mac": "00:1B:21:00:00:02",
   "port": {"node_wwn": "20:00:00:1B:21:00:00:02", "port_wwn": "20:01:00:1B:21:00:00:02", "state": 6}}]
  FAULTS})";

std::string Topology(const std::string& faults = "") {
    std::string text = TWO_ADAPTERS;
    text.replace(text.find("FAULTS"), 6, faults.empty() ? "" : ", \"faults\": [" + faults + "]");
    return text;
}

// A host with the agent on that topology. trace: the registry value, if there is one.
struct Suite {
    explicit Suite(const std::string& topology = Topology(), std::optional<DWORD> trace = std::nullopt) {
        if (trace)
            host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", *trace);
        host.Simulate(topology);
        agent = host.GetAgent();
    }
    template <class Record, class Name>
    BOOL Ask(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64), const wchar_t* adapter,
             std::vector<Record>& records) {
        CQelString name(adapter);
        return (agent->*operation)(name, records, 42);
    }
    SuiteHost host;
    CQelFcoeAgentIntf* agent = nullptr;
};

TEST(EnumerateHBAs, FillsAllElevenFields) {
    Suite suite;
    std::vector<QEL_FCOE_HBA> hbas;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, L"", hbas));
    ASSERT_EQ(2u, hbas.size());
    const QEL_FCOE_HBA& hba = hbas[0];
    EXPECT_STREQ(L"FCoE HBA", hba.strType);
    EXPECT_STREQ(ADAPTER1, hba.strDeviceId);
    EXPECT_STREQ(L"Adapter one", hba.strSecondId);
    EXPECT_STREQ(L"20:01:00:1B:21:00:00:01", hba.strPortWWN);
    EXPECT_STREQ(L"20:00:00:1B:21:00:00:01", hba.strNodeWWN);
    EXPECT_EQ(66051u, hba.ulPortFcId);
    EXPECT_STREQ(L"PCI bus 5, device 17, function 3", hba.strPciLocation);
    EXPECT_STREQ(L"4 Gbps", hba.strPortSpeed);
    EXPECT_FALSE(hba.strFcoeLinkStatus.empty());
    EXPECT_STREQ(L"lib-one", hba.strAdapterName);
    EXPECT_STREQ(ADAPTER2, hbas[1].strDeviceId);
}

TEST(EnumerateHBAs, AppendsAndNeverClears) {
    Suite suite;
    std::vector<QEL_FCOE_HBA> hbas(1);
    hbas[0].strType = L"mine";
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, ADAPTER2, hbas));
    ASSERT_EQ(2u, hbas.size());
    EXPECT_STREQ(L"mine", hbas[0].strType);
}

TEST(EnumerateHBAs, OfAFailingPortReadStillYieldsARecordOfDefaults) {
    Suite suite(Topology(R"({"function": "GetAdapterPortAttributes", "status": 1})"));
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, ADAPTER1, hbas));
    ASSERT_EQ(1u, hbas.size());
    EXPECT_TRUE(hbas[0].strType.empty());
    EXPECT_EQ(0u, hbas[0].ulPortFcId);
    EXPECT_TRUE(suite.host.Logged("ERROR calling GetAdapterPortAttributes"));
}

TEST(EnumerateFabrics, NamesThePhysicalFabric) {
    Suite suite;
    std::vector<QEL_FCOE_FABRIC> fabrics;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateFabrics, ADAPTER1, fabrics));
    ASSERT_EQ(1u, fabrics.size());
    EXPECT_STREQ(L"Fabric 100", fabrics[0].strName);
    EXPECT_STREQ(L"10:00:00:05:1E:00:00:01", fabrics[0].strWWN1);
    EXPECT_STREQ(L"20:64:00:05:1E:00:00:01", fabrics[0].strWWN2);
    EXPECT_STREQ(L"20:01:00:05:1E:00:00:01", fabrics[0].strWWN3);
    EXPECT_EQ(9u, fabrics[0].ulEntryWord);
    EXPECT_STREQ(ADAPTER1, fabrics[0].strDeviceId);
    EXPECT_STREQ(L"Adapter one", fabrics[0].strSecondId);
    EXPECT_STREQ(L"Physical", fabrics[0].strKind);
    EXPECT_EQ(0u, fabrics[0].ulKind);
    EXPECT_EQ(4u, fabrics[0].ulEntryByte);
    EXPECT_EQ(100u, fabrics[0].ulNumber);
}

TEST(EnumeratePorts, FillsAllTenFields) {
    Suite suite;
    std::vector<QEL_FCOE_PORT> ports;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumeratePorts, ADAPTER1, ports));
    ASSERT_EQ(1u, ports.size());
    EXPECT_STREQ(L"20:00:00:1B:21:00:00:01", ports[0].strNodeWWN);
    EXPECT_STREQ(L"20:01:00:1B:21:00:00:01", ports[0].strPortWWN);
    EXPECT_EQ(0u, ports[0].ulPortType);
    EXPECT_STREQ(L"Physical port", ports[0].strKind);
    EXPECT_EQ(21u, ports[0].ulWordA);
    EXPECT_EQ(22u, ports[0].ulWordB);
    EXPECT_STREQ(ADAPTER1, ports[0].strDeviceId);
    EXPECT_STREQ(L"Adapter one", ports[0].strSecondId);
    EXPECT_STREQ(L"10:00:00:05:1E:00:00:01", ports[0].strWWN3);
    EXPECT_STREQ(L"Fabric 100", ports[0].strFabricName);
}

TEST(EnumerateTargets, FillsAllFifteenFields) {
    Suite suite;
    std::vector<QEL_FCOE_TARGET> targets;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateTargets, ADAPTER1, targets));
    ASSERT_EQ(1u, targets.size());
    const QEL_FCOE_TARGET& target = targets[0];
    EXPECT_STREQ(L"50:06:01:60:80:00:00:01", target.strNodeWWN);
    EXPECT_STREQ(L"50:06:01:60:00:00:00:01", target.strPortWWN);
    EXPECT_EQ(1u, target.ulScsiBus);
    EXPECT_EQ(2u, target.ulScsiTarget);
    EXPECT_EQ(66817u, target.ulFcId);
    EXPECT_EQ(7u, target.ulNumber);
    EXPECT_STREQ(L"STORAGE ", target.strVendor);
    EXPECT_STREQ(L" SN 1 ", target.strSerial);
    EXPECT_STREQ(L"20:01:00:1B:21:00:00:01", target.strInitiatorPortWWN);
    EXPECT_STREQ(L"10:00:00:05:1E:00:00:01", target.strOwningPortWWN);
    EXPECT_STREQ(L"Fabric 100", target.strFabricName);
    EXPECT_STREQ(ADAPTER1, target.strDeviceId);
    EXPECT_STREQ(L"Adapter one", target.strSecondId);
    const BYTE initiator[8] = {0x20, 0x01, 0x00, 0x1B, 0x21, 0x00, 0x00, 0x01};
    EXPECT_EQ(0, memcmp(initiator, target.byInitiatorPortWWN, 8));
    EXPECT_EQ(0u, target.ulPortType);
}

TEST(EnumerateLUNs, FillsAllThirteenFields) {
    Suite suite;
    std::vector<QEL_FCOE_LUN> luns;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateLUNs, ADAPTER1, luns));
    ASSERT_EQ(1u, luns.size());
    const QEL_FCOE_LUN& lun = luns[0];
    EXPECT_EQ(3u, lun.ulOsLun);
    EXPECT_EQ(1u, lun.ulScsiBus);
    EXPECT_EQ(2u, lun.ulScsiTarget);
    EXPECT_EQ(0u, lun.ulReserved);
    EXPECT_STREQ(L"\\\\.\\PHYSICALDRIVE1", lun.strOsDeviceName);
    EXPECT_STREQ(L"2 GB", lun.strCapacity);
    EXPECT_STREQ(L"512 bytes", lun.strBlockSize);
    EXPECT_STREQ(L"50:06:01:60:00:00:00:01", lun.strTargetPortWWN);
    EXPECT_STREQ(L"10:00:00:05:1E:00:00:01", lun.strOwningPortWWN);
    EXPECT_STREQ(L"20:01:00:1B:21:00:00:01", lun.strInitiatorPortWWN);
    EXPECT_STREQ(L"Fabric 100", lun.strFabricName);
    EXPECT_STREQ(ADAPTER1, lun.strDeviceId);
    EXPECT_STREQ(L"Adapter one", lun.strSecondId);
}

TEST(EnumerateVLANs, FillsAllSixFields) {
    Suite suite;
    std::vector<QEL_FCOE_VLAN> vlans;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateVLANs, ADAPTER1, vlans));
    ASSERT_EQ(2u, vlans.size());
    EXPECT_STREQ(L"VLAN 100", vlans[0].strName);
    EXPECT_EQ(100u, vlans[0].ulVlanId);
    EXPECT_EQ(1u, vlans[0].ulState);
    EXPECT_STREQ(L"Active", vlans[0].strState);
    EXPECT_STREQ(ADAPTER1, vlans[0].strDeviceId);
    EXPECT_STREQ(L"Adapter one", vlans[0].strSecondId);
    EXPECT_STREQ(L"Inactive", vlans[1].strState);
}

TEST(EnumerateStatistics, GivesFifteenEntriesInTheirOrder) {
    Suite suite;
    std::vector<QEL_FCOE_STATISTIC> statistics;
    ASSERT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateStatistics, ADAPTER1, statistics));
    ASSERT_EQ(15u, statistics.size());
    const LONG64 expected[15] = {1, 1000, 3, 0, 3, 5000, 19, 0, 5, 6, 7, 8, 9, 10, 11};
    for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(expected[i], statistics[i].llValue) << i;
        EXPECT_FALSE(statistics[i].strLabel.empty()) << i;
        EXPECT_STREQ(ADAPTER1, statistics[i].strDeviceId);
    }
}

TEST(EnumerateStatistics, TwiceAppendsThirtyEntries) {
    Suite suite;
    std::vector<QEL_FCOE_STATISTIC> statistics;
    suite.Ask(&CQelFcoeAgentIntf::EnumerateStatistics, ADAPTER1, statistics);
    suite.Ask(&CQelFcoeAgentIntf::EnumerateStatistics, ADAPTER1, statistics);
    EXPECT_EQ(30u, statistics.size());
}

TEST(Enumerate, AllAdaptersWithFcoeNotInstalledIsTrueAndEmpty) {
    Suite suite;
    suite.host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\TOLV", L"InstalledTOLV_FCOE", L"01");
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, L"", hbas));
    EXPECT_TRUE(hbas.empty());
    EXPECT_TRUE(suite.host.Logged("FCOE is not installed - not reutnring adapters"));
}

TEST(Enumerate, OneAdapterDoesNotAskWhetherFcoeIsInstalled) {
    Suite suite;
    suite.host.Hive().Delete(L"SOFTWARE\\ORVAN\\Network_Services\\TOLV", L"InstalledTOLV_FCOE");
    std::vector<QEL_FCOE_LUN> luns;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateLUNs, ADAPTER1, luns));
    EXPECT_EQ(1u, luns.size());
}

TEST(Enumerate, AnAdapterThatNobodyKnowsAnswersWithWhatTheLibrarySays) {
    Suite suite;
    const wchar_t* unknown = L"{99999999-9999-4999-8999-999999999999}";
    std::vector<QEL_FCOE_HBA> hbas;
    std::vector<QEL_FCOE_LUN> luns;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, unknown, hbas));
    ASSERT_EQ(1u, hbas.size());
    EXPECT_TRUE(hbas[0].strDeviceId.empty());
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateLUNs, unknown, luns));
    EXPECT_TRUE(luns.empty());
    EXPECT_TRUE(suite.host.Logged("Error Getting Handle"));
}

TEST(Enumerate, ACoreAgentThatCannotListItsAdaptersIsTrueAndEmpty) {
    Suite suite(Topology(R"({"function": "EnumerateAdapters", "status": 5})"));
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, L"", hbas));
    EXPECT_TRUE(hbas.empty());
    EXPECT_TRUE(suite.host.Logged("CQelFcoeAgentWin::GetAdaptersThatSupportFCOE - EnumerateAdapters failed!"));
}

TEST(Enumerate, ACoreAgentThatThrowsDoesNotReachTheHost) {
    for (const char* function : {"WaitForApplyDone", "EnumerateAdapters", "GetAdapterInfo", "SupportsFcoe"}) {
        Suite suite(Topology(std::string(R"({"function": ")") + function + R"(", "throw": true})"));
        std::vector<QEL_FCOE_LUN> luns;
        EXPECT_NO_THROW(suite.Ask(&CQelFcoeAgentIntf::EnumerateLUNs, L"", luns)) << function;
        EXPECT_NO_THROW(suite.Ask(&CQelFcoeAgentIntf::EnumerateLUNs, ADAPTER1, luns)) << function;
    }
}

TEST(Enumerate, ALibraryThatLacksAnyExportAnswersWithoutCrashing) {
    for (const char* function :
         {"ORVAN_InitializeLibrary", "HBA_RegisterLibraryV2", "ORVAN_GetFCoEControllerInfo",
          "ORVAN_GetFCoEControllerHandle", "ORVAN_GetFCAndNICProperties", "ORVAN_GetTargetList", "ORVAN_GetVlanIdList",
          "ORVAN_SendReadCapacity16", "ORVAN_RescanScsiBus", "ORVAN_GeneratePortWWN", "ORVAN_CreateVPort",
          "ORVAN_RemoveVPort", "ORVAN_GetFCPortList"}) {
        Suite suite(Topology(std::string(R"({"function": ")") + function + R"(", "missing": true})"));
        std::vector<QEL_FCOE_HBA> hbas;
        std::vector<QEL_FCOE_LUN> luns;
        std::vector<QEL_FCOE_VLAN> vlans;
        std::vector<QEL_FCOE_STATISTIC> statistics;
        suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, ADAPTER1, hbas);
        suite.Ask(&CQelFcoeAgentIntf::EnumerateLUNs, ADAPTER1, luns);
        suite.Ask(&CQelFcoeAgentIntf::EnumerateVLANs, ADAPTER1, vlans);
        EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateStatistics, ADAPTER1, statistics)) << function;
        EXPECT_EQ(1u, hbas.size()) << function;
    }
}

TEST(Log, ThatCannotBeWrittenInItsFolderGoesToTemp) {
    SuiteHost host;
    host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"InstalledDir", L"C:\\no\\such\\folder");
    wchar_t temp[MAX_PATH];
    GetEnvironmentVariableW(L"Temp", temp, MAX_PATH);
    const auto previous = SetEnvironmentVariableW(L"Temp", host.Folder().c_str());
    EXPECT_TRUE(previous);
    EXPECT_TRUE(host.GetAgent());
    EXPECT_TRUE(host.Logged("ENTRY:  CQelFcoeAgentWin::Initialize"));
    SetEnvironmentVariableW(L"Temp", temp);
}

// What every operation answers: results, numbers of records, error codes.
std::string Answers(const std::string& faults, DWORD trace) {
    Suite suite(Topology(faults), trace);
    std::string answers;
    const auto Add = [&](BOOL result, std::size_t count) {
        answers += std::to_string(result) + ":" + std::to_string(count) + " ";
    };
    const auto Ask =
        [&]<class Record, class Name>(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64)) {
            for (const wchar_t* adapter : {L"", ADAPTER1, ADAPTER2, L"{unknown}"}) {
                std::vector<Record> records;
                const BOOL result = suite.Ask(operation, adapter, records);
                Add(result, records.size());
            }
        };
    std::vector<QEL_ERROR_ENTRY> errors;
    CQelString adapter(ADAPTER1), name;
    ULONG owner = 5;
    const auto AddErrors = [&](BOOL result) {
        Add(result, errors.size());
        for (const auto& error : errors)
            answers += std::to_string(error.ulCode) + " ";
        errors.clear();
    };
    for (const wchar_t* wwpn : {L"20:02:00:1b:21:00:00:0a", L"20:02:00:1b:21:00:00:0a", L"Auto", L"no name"}) {
        name = wwpn;
        AddErrors(suite.agent->CreateVPort(adapter, name, errors, owner));
    }
    AddErrors(suite.agent->GenerateVPortWWPN(adapter, name, errors, 0));
    Ask(&CQelFcoeAgentIntf::EnumerateHBAs);
    Ask(&CQelFcoeAgentIntf::EnumerateFabrics);
    Ask(&CQelFcoeAgentIntf::EnumeratePorts);
    Ask(&CQelFcoeAgentIntf::EnumerateTargets);
    Ask(&CQelFcoeAgentIntf::EnumerateLUNs);
    Ask(&CQelFcoeAgentIntf::EnumerateVLANs);
    Ask(&CQelFcoeAgentIntf::EnumerateStatistics);
    for (const wchar_t* wwpn : {L"20:02:00:1b:21:00:00:0a", L"20:02:00:1b:21:00:00:0a", L"20:01:00:1b:21:00:00:01"}) {
        name = wwpn;
        AddErrors(suite.agent->DeleteVPort(adapter, name, errors, {5, 0, 0}));
    }
    Add(suite.agent->RefreshTargets(adapter, 0), 0);
    EXPECT_EQ(trace != 0, suite.host.Logged("ENTRY:  CQelFcoeAgentWin::RefreshTargets"));
    return answers;
}

TEST(Log, ThatIsOffChangesNoAnswer) {
    EXPECT_EQ(Answers("", 1), Answers("", 0));
    constexpr const char* FUNCTIONS[] = {"ORVAN_InitializeLibrary",
                                         "HBA_RegisterLibraryV2",
                                         "ORVAN_GetFCoEControllerInfo",
                                         "ORVAN_GetFCoEControllerHandle",
                                         "CloseAdapter",
                                         "ORVAN_GetFCPortList",
                                         "ORVAN_GetTargetList",
                                         "ScsiInquiry",
                                         "GetFcpTargetMapping",
                                         "ScsiReadCapacityV2",
                                         "ORVAN_GetVlanIdList",
                                         "GetPortStatistics",
                                         "GetAdapterAttributes",
                                         "GetAdapterPortAttributes",
                                         "ORVAN_CreateVPort",
                                         "ORVAN_RemoveVPort",
                                         "ORVAN_GeneratePortWWN",
                                         "ORVAN_RescanScsiBus",
                                         "StartLock",
                                         "EnumerateAdapters"};
    for (const char* function : FUNCTIONS)
        for (const char* how : {"\"status\": 1", "\"throw\": true"}) {
            const std::string fault = std::string("{\"function\": \"") + function + "\", " + how + "}";
            EXPECT_EQ(Answers(fault, 1), Answers(fault, 0)) << fault;
        }
}

} // namespace

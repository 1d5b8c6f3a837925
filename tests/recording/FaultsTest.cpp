// Each way in which a neighbour can fail or lie, at each of its first calls: recorded, it fails or lies there again.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/recording/Playback.h"

namespace {

constexpr char ADAPTER[] = R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one", "mac": "02:05:7C:00:00:01",
   "attributes": {"model": "CX-20", "serial_number": "SN-1"}, "pci": {"bus": 3, "device": 1, "function": 2},
   "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010A00",
            "symbolic_name": "one", "fabric_name": "10:00:02:4E:90:00:01:00"},
   "statistics": {"tx_frames": 1000, "rx_frames": 2000},
   "ports": [{"type": 0, "number": 100}],
   "targets": [
     {"port_wwn": "50:06:02:6B:00:00:00:01", "fc_id": "0x010B01", "serial": "S1",
      "luns": [{"os_lun": 0, "os_device_name": "\\\\.\\PHYSICALDRIVE2", "blocks": 4096}, {"os_lun": 1, "blocks": 8}]},
     {"port_wwn": "50:06:02:6B:00:00:00:02", "fc_id": "0x010B02", "serial": "S2", "luns": [{"blocks": 4096}]}],
   "vlans": [{"id": 100}, {"id": 200, "state": 2}]}],
  "faults": [)";

struct Function {
    const char* name;
    std::vector<std::string> commands; // that show it
    std::string ways; // "g" garbage, "G" on all calls alone, "h" an HRESULT, "u" unterminated, "c" counts, "t" throws
};

std::vector<std::string> Ways(const Function& function) {
    const bool hresult = function.ways.find('h') != std::string::npos;
    const std::string status = hresult ? R"("hresult": "0x80004005")" : R"("status": 12)";
    std::vector<std::string> ways{status, status + R"(, "on_call": 1)", status + R"(, "on_call": 2)",
                                  status + R"(, "times": 2)"};
    for (const char way : function.ways) {
        if (way == 'g')
            ways.insert(ways.end(), {R"("garbage": true)", R"("garbage": true, "on_call": 1)"});
        if (way == 'G')
            ways.emplace_back(R"("garbage": true)");
        if (way == 'u')
            ways.insert(ways.end(), {R"("unterminated": true)", R"("unterminated": true, "on_call": 2)"});
        if (way == 'c')
            ways.insert(ways.end(), {R"("count": 5)", R"("count": 0)", R"("count": 1, "on_call": 2)",
                                     R"("status": 7, "count": 9, "on_call": 1)", R"("status": 0, "count": 9)"});
        if (way == 't')
            ways.insert(ways.end(), {R"("throw": true)", R"("throw": true, "on_call": 2)"});
    }
    return ways;
}

void ExpectSame(const std::vector<Function>& functions) {
    Playback playback;
    for (const Function& function : functions)
        for (const std::string& way : Ways(function)) {
            const std::string fault = fmt::format(R"({{"function": "{}", {}}})", function.name, way);
            std::vector<std::string> commands = function.commands;
            // It asks again, and the agent has kept the failure of some calls or asks, too, as the time goes.
            if (way.find("on_call") != way.npos || way.find("times") != way.npos)
                std::erase(commands, "tree");
            playback.ExpectRecordedSame(fault, ADAPTER + fault + "]}", commands);
        }
}

} // namespace

TEST(RecordedFaults, OfTheLibrarysBinding) {
    ExpectSame({{"ORVAN_InitializeLibrary", {"hbas", "luns"}, "t"},
                {"HBA_RegisterLibraryV2", {"hbas", "luns"}, "t"},
                {"ORVAN_GetFCoEControllerInfo", {"hbas", "luns"}, "gut"},
                {"ORVAN_GetFCoEControllerHandle", {"hbas", "luns"}, "t"}});
}

TEST(RecordedFaults, OfRecords) {
    ExpectSame({{"GetAdapterPortAttributes", {"hbas"}, "gut"},
                {"GetAdapterAttributes", {"hbas"}, "gut"},
                {"ORVAN_GetFCAndNICProperties", {"hbas"}, "gut"},
                {"GetPortStatistics", {"stats"}, "gt"}});
}

TEST(RecordedFaults, OfLists) {
    ExpectSame({{"ORVAN_GetFCPortList", {"ports", "luns"}, "gct"},
                {"ORVAN_GetTargetList", {"luns", "targets", "tree"}, "gct"},
                {"GetFcpTargetMapping", {"luns"}, "gcut"},
                {"ORVAN_GetVlanIdList", {"vlans"}, "gct"}});
}

TEST(RecordedFaults, OfCommands) {
    ExpectSame({{"ScsiInquiry", {"targets", "luns"}, "gt"}, {"ScsiReadCapacityV2", {"luns", "disks"}, "gt"}});
}

TEST(RecordedFaults, OfTheOtherNeighbours) {
    ExpectSame({{"EnumerateAdapters", {"hbas"}, "t"},
                {"SupportsFcoe", {"hbas"}, "t"},
                {"GetAdapterInfo", {"hbas"}, "t"},
                {"GetCoreAgentPvt", {"hbas"}, ""},
                {"get_dcb_config", {"hbas"}, "hG"},
                {"get_app_oper_state", {"hbas"}, "hG"},
                {"get_pfc_oper_state", {"hbas"}, "hG"},
                {"CreateInstance", {"hbas"}, "h"},
                {"SetupDiGetClassDevsW", {"hbas"}, ""},
                {"SetupDiEnumDeviceInfo", {"hbas"}, ""},
                {"SetupDiOpenDevRegKey", {"hbas"}, ""},
                {"SetupDiGetDeviceRegistryPropertyW", {"hbas"}, ""}});
}

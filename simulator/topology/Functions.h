// The functions of all simulated modules by name: what faults are declared for and what calls are counted by.
#pragma once

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace sim {

inline constexpr auto FUNCTION_NAMES = std::to_array<std::string_view>({
    // The exports of orvanhapi.dll.
    "HBA_RegisterLibraryV2",
    "ORVAN_InitializeLibrary",
    "ORVAN_GetFCoEControllerInfo",
    "ORVAN_GetFCoEControllerHandle",
    "ORVAN_GetFCAndNICProperties",
    "ORVAN_GetTargetList",
    "ORVAN_GetVlanIdList",
    "ORVAN_SendReadCapacity16",
    "ORVAN_RescanScsiBus",
    "ORVAN_GeneratePortWWN",
    "ORVAN_CreateVPort",
    "ORVAN_RemoveVPort",
    "ORVAN_GetFCPortList",
    // The handlers that HBA_RegisterLibraryV2 hands out, in the order of the table.
    "GetVersion",
    "LoadLibrary",
    "FreeLibrary",
    "GetNumberOfAdapters",
    "GetAdapterName",
    "OpenAdapter",
    "CloseAdapter",
    "GetAdapterAttributes",
    "GetAdapterPortAttributes",
    "GetPortStatistics",
    "GetDiscoveredPortAttributes",
    "GetPortAttributesByWWN",
    "SendCTPassThru",
    "RefreshInformation",
    "ResetStatistics",
    "GetFcpTargetMapping",
    "GetFcpPersistentBinding",
    "GetEventBuffer",
    "SetRNIDMgmtInfo",
    "GetRNIDMgmtInfo",
    "SendRNID",
    "ScsiInquiry",
    "ReportLUNs",
    "ReadCapacity",
    "OpenAdapterByWWN",
    "GetFcpTargetMappingV2",
    "SendCTPassThruV2",
    "RefreshAdapterConfiguration",
    "GetBindingCapability",
    "GetBindingSupport",
    "SetBindingSupport",
    "SetPersistentBindingV2",
    "GetPersistentBindingV2",
    "RemovePersistentBinding",
    "RemoveAllPersistentBindings",
    "SendRNIDV2",
    "ScsiInquiryV2",
    "ScsiReportLUNsV2",
    "ScsiReadCapacityV2",
    "GetVendorLibraryAttributes",
    "RemoveCallback",
    "RegisterForAdapterAddEvents",
    "RegisterForAdapterEvents",
    "RegisterForAdapterPortEvents",
    "RegisterForAdapterPortStatEvents",
    "RegisterForTargetEvents",
    "RegisterForLinkEvents",
    "SendRPL",
    "SendRPS",
    "SendSRL",
    "SendLIRR",
    "GetFC4Statistics",
    "GetFCPStatistics",
    "SendRLS",
    // The core agent.
    "GetCoreAgentPvt",
    "WaitForApplyDone",
    "EnumerateAdapters",
    "GetAdapterInfo",
    "StartLock",
    "DoneLock",
    "SupportsFcoe",
    // The DCB service: its class, and the operations of an object.
    "CreateInstance",
    "get_dcb_config",
    "get_app_oper_state",
    "get_pfc_oper_state",
    // The operating system's own DCB, asked through WMI.
    "ExecQuery",
    // setupapi.dll.
    "SetupDiGetClassDevsW",
    "SetupDiEnumDeviceInfo",
    "SetupDiOpenDevRegKey",
    "SetupDiGetDeviceRegistryPropertyW",
    "SetupDiDestroyDeviceInfoList",
});

inline constexpr std::size_t FUNCTION_COUNT = FUNCTION_NAMES.size();

// The place of a name in the table; FUNCTION_COUNT when it is not there.
constexpr std::size_t FunctionIndex(std::string_view name) {
    std::size_t index = 0;
    while (index < FUNCTION_COUNT && FUNCTION_NAMES[index] != name)
        ++index;
    return index;
}

// Those up to here are looked up by their names, and can be missing.
inline constexpr std::size_t LAST_FOUND_BY_NAME = FunctionIndex("GetCoreAgentPvt");

// Those whose answers can be recorded.
inline constexpr auto RECORDED_FUNCTIONS = std::to_array<std::string_view>({
    "ORVAN_GetFCoEControllerInfo",
    "ORVAN_GetFCAndNICProperties",
    "ORVAN_GetTargetList",
    "ORVAN_GetVlanIdList",
    "ORVAN_SendReadCapacity16",
    "ORVAN_GetFCPortList",
    "GetAdapterAttributes",
    "GetAdapterPortAttributes",
    "GetPortStatistics",
    "GetFcpTargetMapping",
    "ScsiInquiry",
    "ScsiReadCapacityV2",
});

// A simulated function. Made from its name at compile time, so that a misspelt name does not compile.
struct Function {
    consteval Function(const char* name) : index(FunctionIndex(name)) {
        if (index == FUNCTION_COUNT)
            throw std::invalid_argument("no simulated function has this name");
    }
    constexpr std::string_view Name() const { return FUNCTION_NAMES[index]; }

    std::size_t index;
};

} // namespace sim

#include "tools/log/LogOperations.h"

#include <algorithm>
#include <iterator>

namespace agentlog {
namespace {

constexpr auto LIBRARY = Neighbour::VendorLibrary;
constexpr auto CORE = Neighbour::CoreAgent;
constexpr auto DCB = Neighbour::DcbService;

constexpr LogOperation OPERATIONS[] = {
    {"CHBAAPIInt::InitHBAAPIMod", LIBRARY, "ORVAN_GetFCoEControllerInfo", false},
    {"CHBAAPIInt::GetAdapterHandle", LIBRARY, "ORVAN_GetFCoEControllerHandle", true},
    {"CHBAAPIInt::CloseAdapHandle", LIBRARY, "CloseAdapter", false},
    {"CHBAAPIInt::GetAdapterAtrributes", LIBRARY, "GetAdapterAttributes", true},
    {"CHBAAPIInt::GetAdapterPortAttributes", LIBRARY, "GetAdapterPortAttributes", true},
    {"CHBAAPIInt::GetPortStatistics", LIBRARY, "GetPortStatistics", true},
    {"CHBAAPIInt::GetFCEthernetProperties", LIBRARY, "ORVAN_GetFCAndNICProperties", true},
    {"CHBAAPIInt::GetTargetsInfo", LIBRARY, "GetFcpTargetMapping", true},
    {"CHBAAPIInt::GetTargetList", LIBRARY, "ORVAN_GetTargetList", true},
    {"CHBAAPIInt::GetVLANList", LIBRARY, "ORVAN_GetVlanIdList", true},
    {"CHBAAPIInt::GetPortsCount", LIBRARY, "ORVAN_GetFCPortList", false},
    {"CHBAAPIInt::GetPorts", LIBRARY, "ORVAN_GetFCPortList", true},
    {"CHBAAPIInt::RetrieveSCSIInfo", LIBRARY, "ScsiInquiry", true},
    {"CHBAAPIInt::RetrieveLUNCapacityV2", LIBRARY, "ScsiReadCapacityV2", true},
    {"CHBAAPIInt::RetrieveLUNCapacity16", LIBRARY, "ORVAN_SendReadCapacity16", true},
    {"CHBAAPIInt::RefreshTargetInfo", LIBRARY, "ORVAN_RescanScsiBus", true},
    {"CHBAAPIInt::GenerateVportWwpn", LIBRARY, "ORVAN_GeneratePortWWN", true},
    {"CHBAAPIInt::CreateVport", LIBRARY, "ORVAN_CreateVPort", true},
    {"CHBAAPIInt::RemoveVport", LIBRARY, "ORVAN_RemoveVPort", true},
    {"CQelNetAgentPvt::GetCoreAgntPvt", CORE, "GetCoreAgentPvt", false},
    {"CQelNetAgentPvt::WaitForApplyDone", CORE, "WaitForApplyDone", false},
    {"CQelNetAgentPvt::StartLock", CORE, "StartLock", false},
    {"CQelNetAgentPvt::DoneLock", CORE, "DoneLock", false},
    {"CQelFcoeAgentWin::GetAdaptersThatSupportFCOE", CORE, "EnumerateAdapters", false},
    {"CQelFcoeAgentWin::GetHBAObject", CORE, "GetAdapterInfo", false},
    {"CDCX_ServiceInterface::Initialize", DCB, "CreateInstance", false},
    {"CDCX_ServiceInterface::GetDCB_FcoeLinkStatus", DCB, "get_dcb_config", true},
};

constexpr std::string_view AGENT = "CQelFcoeAgentWin::";

// What a host calls; the agent's other operations are parts of these.
constexpr std::string_view REQUESTS[] = {
    "Initialize",        "EnumerateHBAs",  "EnumerateFabrics",    "EnumeratePorts", "EnumerateTargets",
    "EnumerateVLANs",    "EnumerateLUNs",  "EnumerateStatistics", "CreateVPort",    "DeleteVPort",
    "GenerateVPortWWPN", "RefreshTargets", "Uninstall",
};

} // namespace

const LogOperation* FindOperation(std::string_view name) {
    const auto found = std::ranges::find(OPERATIONS, name, &LogOperation::name);
    return found != std::end(OPERATIONS) ? found : nullptr;
}

bool IsRequest(std::string_view operation) {
    return operation.starts_with(AGENT) &&
           std::ranges::find(REQUESTS, operation.substr(AGENT.size())) != std::end(REQUESTS);
}

} // namespace agentlog

#include "tools/reading/LoggedOperation.h"

#include <unordered_map>

#include "tools/log/LogOperations.h"

namespace reading {
namespace {

// One of these three it was; the log does not tell them apart.
constexpr char BINDING[] = "ORVAN_InitializeLibrary, HBA_RegisterLibraryV2 or ORVAN_GetFCoEControllerInfo";

using Table = std::unordered_map<std::string_view, LoggedOperation>;

const Table& Operations() {
    static const Table table = {
        {"CQelFcoeAgentWin::GetAdaptersThatSupportFCOE", {Operation::AdapterList}},
        {"CQelFcoeAgentWin::GetHBAObject", {Operation::AdapterObject}},
        {"CQelFcoeHBA::Open", {Operation::Open}},
        {"CHBAAPIInt::InitHBAAPIMod", {Operation::Bind, BINDING}},
        {"CHBAAPIInt::GetAdapterHandle", {Operation::GetHandle, "ORVAN_GetFCoEControllerHandle"}},
        {"CHBAAPIInt::CloseAdapHandle", {Operation::Other, "CloseAdapter"}},
        {"CHBAAPIInt::GetAdapterPortAttributes",
         {Operation::Query, "GetAdapterPortAttributes", What::Adapter, What::Adapter}},
        {"CHBAAPIInt::GetAdapterAtrributes", {Operation::Query, "GetAdapterAttributes", What::Adapter, What::Model}},
        {"CHBAAPIInt::GetFCEthernetProperties",
         {Operation::Query, "ORVAN_GetFCAndNICProperties", What::PciLocation, What::PciLocation}},
        {"CHBAAPIInt::GetPortStatistics", {Operation::Query, "GetPortStatistics", What::Counters, What::Counters}},
        {"CHBAAPIInt::RetrieveLUNCapacityV2", {Operation::Query, "ScsiReadCapacityV2", What::Capacity, What::Capacity}},
        {"CHBAAPIInt::RetrieveLUNCapacity16",
         {Operation::Query, "ORVAN_SendReadCapacity16", What::Capacity, What::Capacity}},
        {"CQelFcoeHBA::GetPCISlotInfo", {Operation::PciSlot}},
        {"CDCX_ServiceInterface::Initialize", {Operation::DcbConnection, "CreateInstance"}},
        {"CDCX_ServiceInterface::GetDCB_FcoeLinkStatus", {Operation::DcbState, "get_dcb_config"}},
        {"CHBAAPIInt::GetPortsCount", {Operation::PortCount, "ORVAN_GetFCPortList"}},
        {"CHBAAPIInt::GetPorts", {Operation::PortList, "ORVAN_GetFCPortList"}},
        {"CQelFcoePort::GetPortsList_HBA", {Operation::PortReading}},
        {"CHBAAPIInt::GetTargetList", {Operation::ListCall, "ORVAN_GetTargetList"}},
        {"CHBAAPIInt::GetTargetsInfo", {Operation::ListCall, "GetFcpTargetMapping"}},
        {"CHBAAPIInt::GetVLANList", {Operation::ListCall, "ORVAN_GetVlanIdList"}},
        {"CQelFcoeTarget::GetTargetsList_HBA",
         {Operation::ListReading, "ORVAN_GetTargetList", What::Targets, What::Targets}},
        {"CQelFcoeLUN::GetLUNSList_HBA", {Operation::ListReading, "GetFcpTargetMapping", What::Luns, What::Luns}},
        {"CQelFcoeVLAN::GetVlansList_HBA", {Operation::ListReading, "ORVAN_GetVlanIdList", What::Vlans, What::Vlans}},
        {"CHBAAPIInt::RetrieveSCSIInfo", {Operation::Inquiry, "ScsiInquiry"}},
        {"CQelFcoePort::CQelFcoePort", {Operation::PortObject}},
        {"CQelFcoeTarget::CQelFcoeTarget", {Operation::TargetObject}},
        {"CQelFcoeLUN::CQelFcoeLUN", {Operation::LunObject}},
        {"CQelFcoeVLAN::CQelFcoeVLAN", {Operation::VlanObject}},
        {"CQelFcoeHBA::GetVLANs_HBA", {Operation::AdapterVlans}},
        {"CQelFcoePort::GetTargets", {Operation::PortTargets}},
        {"CQelFcoeTarget::GetLUNs", {Operation::TargetLuns}},
    };
    return table;
}

} // namespace

LoggedOperation FindLoggedOperation(std::string_view name) {
    const Table& table = Operations();
    if (const auto found = table.find(name); found != table.end())
        return found->second;
    if (name.find("::~") != name.npos)
        return {Operation::Destructor};
    if (agentlog::IsRequest(name))
        return {Operation::Request};
    return {};
}

} // namespace reading

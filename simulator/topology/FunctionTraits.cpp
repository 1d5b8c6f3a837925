#include "simulator/topology/FunctionTraits.h"

#include <algorithm>
#include <iterator>

#include "simulator/topology/Functions.h"

namespace sim {
namespace {

struct Row {
    Function function;
    bool hasAdapter;
    unsigned effects;
    bool scsi = false;
};

constexpr unsigned RECORD = SHOWS_STATUS | SHOWS_GARBAGE;
constexpr unsigned TEXTS = RECORD | SHOWS_UNTERMINATED;
constexpr unsigned LIST = RECORD | SHOWS_COUNT;
constexpr unsigned CORE = SHOWS_STATUS | SHOWS_DETAIL;

// The functions that are not like most: those without an adapter that show a status alone.
constexpr Row ROWS[] = {
    {"ORVAN_GetFCoEControllerInfo", true, TEXTS},
    {"ORVAN_GetFCoEControllerHandle", true, RECORD},
    {"ORVAN_GetFCAndNICProperties", true, TEXTS},
    {"ORVAN_GetTargetList", true, LIST},
    {"ORVAN_GetVlanIdList", true, LIST},
    {"ORVAN_SendReadCapacity16", true, RECORD, true},
    {"ORVAN_RescanScsiBus", true, SHOWS_STATUS},
    {"ORVAN_GeneratePortWWN", true, RECORD},
    {"ORVAN_CreateVPort", true, SHOWS_STATUS},
    {"ORVAN_RemoveVPort", true, SHOWS_STATUS},
    {"ORVAN_GetFCPortList", true, LIST},
    {"GetVersion", false, 0},
    {"GetNumberOfAdapters", false, SHOWS_COUNT},
    {"GetAdapterName", false, RECORD},
    {"OpenAdapter", true, SHOWS_STATUS},
    {"CloseAdapter", true, SHOWS_STATUS},
    {"GetAdapterAttributes", true, TEXTS},
    {"GetAdapterPortAttributes", true, TEXTS},
    {"GetPortStatistics", true, RECORD},
    {"GetFcpTargetMapping", true, LIST | SHOWS_UNTERMINATED},
    {"ScsiInquiry", true, RECORD, true},
    {"ScsiReadCapacityV2", true, RECORD, true},
    {"EnumerateAdapters", false, CORE},
    {"GetAdapterInfo", true, CORE},
    {"StartLock", false, CORE | SHOWS_LOCK_TAKEN},
    {"DoneLock", false, CORE},
    {"SupportsFcoe", true, SHOWS_STATUS},
    {"get_dcb_config", true, RECORD},
    {"get_app_oper_state", true, RECORD},
    {"get_pfc_oper_state", true, RECORD},
    {"SetupDiEnumDeviceInfo", true, SHOWS_STATUS},
    {"SetupDiOpenDevRegKey", true, SHOWS_STATUS},
    {"SetupDiGetDeviceRegistryPropertyW", true, RECORD},
};

Module ModuleOf(std::size_t function) {
    constexpr Function FIRST_HANDLER("GetVersion");
    constexpr Function FIRST_OF_CORE_AGENT("GetCoreAgentPvt");
    constexpr Function FIRST_OF_DCB("CreateInstance");
    constexpr Function FIRST_OF_WMI("ExecQuery");
    if (function < FIRST_HANDLER.index)
        return Module::Library;
    if (function < FIRST_OF_CORE_AGENT.index)
        return Module::Handlers;
    if (function < FIRST_OF_DCB.index)
        return Module::CoreAgent;
    if (function < FIRST_OF_WMI.index)
        return Module::DcbService;
    return function == FIRST_OF_WMI.index ? Module::Wmi : Module::SetupApi;
}

} // namespace

FunctionTraits TraitsOf(std::size_t function) {
    FunctionTraits traits;
    traits.module = ModuleOf(function);
    const auto* const row =
        std::ranges::find_if(ROWS, [&](const Row& candidate) { return candidate.function.index == function; });
    if (row != std::end(ROWS)) {
        traits.hasAdapter = row->hasAdapter;
        traits.effects = row->effects;
        traits.scsi = row->scsi;
    }
    return traits;
}

std::string_view ModuleText(Module module) {
    constexpr std::string_view TEXTS_OF_MODULES[] = {
        "the vendor library", "the vendor library", "the core agent", "the DCB service", "WMI", "SetupAPI"};
    return TEXTS_OF_MODULES[static_cast<std::size_t>(module)];
}

} // namespace sim

// How the library finds, opens and closes adapters.
#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "simulator/topology/Text.h"
#include "simulator/verify/GuardedBuffer.h"
#include "simulator/verify/Library.h"

namespace verify {
namespace {

constexpr std::string_view CONTROLLER_INFO = "ORVAN_GetFCoEControllerInfo";
constexpr std::string_view HANDLE_BY_NAME = "ORVAN_GetFCoEControllerHandle";

// The machine's network adapters. The library knows which of them are its own.
std::vector<std::string> NetworkAdapters() {
    std::vector<std::string> identifiers;
    constexpr int LAST = 999;
    for (int i = 0; i <= LAST; ++i) {
        const std::wstring key = sim::Wide(fmt::format(
            "SYSTEM\\CurrentControlSet\\Control\\Class\\{{4D36E972-E325-11CE-BFC1-08002BE10318}}\\{:04}", i));
        wchar_t text[64];
        DWORD size = sizeof text;
        if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"NetCfgInstanceId", RRF_RT_REG_SZ, nullptr, text, &size) ==
            ERROR_SUCCESS)
            identifiers.push_back(sim::Utf8(text));
    }
    return identifiers;
}

Reading InfoReading(const Library& library, const std::string& identifier) {
    return {CONTROLLER_INFO, identifier, [&library, device = sim::Wide("\\DEVICE\\" + identifier)](std::uint8_t fill) {
                GuardedBuffer name(ORVAN_NAME_SIZE, fill), controller(sizeof(HBA_UINT32), fill);
                Answer answer;
                answer.status =
                    library.functions.controllerInfo(device.c_str(), controller.As<HBA_UINT32>(), name.As<char>());
                answer.bytes = name.Copy();
                return answer;
            }};
}

// The library's name of the adapter; none: it has none, which is told. known: the library has to know the adapter.
std::optional<std::string> NameOf(Library& library, const std::string& identifier, bool known) {
    const Reading reading = InfoReading(library, identifier);
    Answer first, second;
    const auto ask = [&](Answer& to) {
        const VendorMutex mutex(library.asker);
        return library.asker.Ask(CONTROLLER_INFO, identifier, [&] { to = reading.read(ZEROS); });
    };
    if (!ask(first) || (!known && first.status != HBA_STATUS_OK) || !ask(second) ||
        !SameStatus(library.asker, reading, first.status, second.status))
        return std::nullopt;
    if (first.status != HBA_STATUS_OK) {
        library.asker.Tell("status", CONTROLLER_INFO, identifier, fmt::format("status {}", first.status));
        return std::nullopt;
    }
    if (first.bytes != second.bytes)
        library.asker.Tell("other_answer", CONTROLLER_INFO, identifier, "another name");
    std::string name(first.bytes.begin(), first.bytes.end());
    const auto end = name.find('\0');
    if (end == name.npos)
        library.asker.Tell("unterminated", CONTROLLER_INFO, identifier, "260 characters");
    name.resize(std::min(end, ORVAN_NAME_SIZE - 1));
    if (name.empty())
        library.asker.Tell("no_name", CONTROLLER_INFO, identifier, "an empty name");
    return name;
}

HBA_HANDLE Open(Library& library, const std::string& identifier, const std::string& name) {
    const VendorMutex mutex(library.asker);
    HBA_HANDLE handle = HBA_HANDLE_INVALID;
    if (library.asker.Ask(HANDLE_BY_NAME, identifier,
                          [&] { handle = library.functions.controllerHandle(name.c_str()); }) &&
        handle == HBA_HANDLE_INVALID)
        library.asker.Tell("no_handle", HANDLE_BY_NAME, identifier, fmt::format("0 for \"{}\"", name));
    return handle;
}

void OpenAdapter(Library& library, const std::string& identifier, bool known) {
    const auto name = NameOf(library, identifier, known);
    if (!name || !library.functions.controllerHandle)
        return;
    OpenedAdapter adapter{identifier, *name, Open(library, identifier, *name), {}};
    if (adapter.handle == HBA_HANDLE_INVALID)
        return;
    const auto same = std::ranges::find(library.adapters, adapter.handle, &OpenedAdapter::handle);
    if (same != library.adapters.end())
        library.asker.Tell("same_handle", HANDLE_BY_NAME, identifier,
                           fmt::format("{}, as for {}", adapter.handle, same->identifier));
    library.adapters.push_back(adapter);
}

// Asks for all that a handle stands for by one that stands for nothing.
void AskInVain(Library& library, std::string_view code, HBA_HANDLE handle, const std::string& adapter) {
    for (const HandleReading& reading : HandleReadings(library.functions)) {
        const VendorMutex mutex(library.asker, reading.underMutex);
        HBA_STATUS status = HBA_STATUS_ERROR_INVALID_HANDLE;
        GuardedBuffer buffer(reading.size, ZEROS);
        if (library.asker.Ask(reading.function, adapter, [&] { status = reading.call(handle, buffer.As<void>()); }) &&
            (status == HBA_STATUS_OK || status == HBA_STATUS_ERROR_MORE_DATA))
            library.asker.Tell(code, reading.function, adapter, fmt::format("status {}", status));
    }
}

template <class Record, class Function> HandleReading RecordReading(std::string_view name, Function function) {
    return {name, sizeof(Record),
            [function](HBA_HANDLE handle, void* record) { return function(handle, static_cast<Record*>(record)); }};
}

template <class List, class Function> HandleReading ListReading(std::string_view name, Function function) {
    return {name, sizeof(List), [function](HBA_HANDLE handle, void* buffer) {
                auto* list = static_cast<List*>(buffer);
                list->NumberOfEntries = 1;
                return function(handle, list);
            }};
}

// port 0, as the agent asks.
template <class Record> auto OfPort0(HBA_STATUS (*function)(HBA_HANDLE, HBA_UINT32, Record*)) {
    return [function](HBA_HANDLE handle, Record* record) { return function(handle, 0, record); };
}

} // namespace

std::vector<HandleReading> HandleReadings(const LibraryFunctions& functions) {
    const HBA_ENTRYPOINTSV2& table = functions.table;
    std::vector<HandleReading> readings;
    if (table.GetAdapterAttributesHandler)
        readings.push_back(
            RecordReading<HBA_ADAPTERATTRIBUTES>("GetAdapterAttributes", table.GetAdapterAttributesHandler));
    if (table.GetAdapterPortAttributesHandler)
        readings.push_back(RecordReading<HBA_PORTATTRIBUTES>("GetAdapterPortAttributes",
                                                             OfPort0(table.GetAdapterPortAttributesHandler)));
    if (table.GetPortStatisticsHandler)
        readings.push_back(
            RecordReading<HBA_PORTSTATISTICS>("GetPortStatistics", OfPort0(table.GetPortStatisticsHandler)));
    if (functions.properties)
        readings.push_back(RecordReading<ORVAN_FC_NIC_PROPERTIES>("ORVAN_GetFCAndNICProperties", functions.properties));
    if (functions.targetList)
        readings.push_back(ListReading<ORVAN_TARGET_LIST>("ORVAN_GetTargetList", functions.targetList));
    if (functions.vlanList)
        readings.push_back(ListReading<ORVAN_VLAN_LIST>("ORVAN_GetVlanIdList", functions.vlanList));
    if (table.GetFcpTargetMappingHandler)
        readings.push_back(ListReading<HBA_FCPTARGETMAPPING>("GetFcpTargetMapping", table.GetFcpTargetMappingHandler));
    if (functions.portList) {
        readings.push_back(ListReading<ORVAN_FC_PORT_LIST>("ORVAN_GetFCPortList", functions.portList));
        readings.back().underMutex = true;
    }
    return readings;
}

void OpenAdapters(Library& library, const CQelModule& module) {
    if (!library.functions.controllerInfo)
        return;
    const Request& request = library.asker.What();
    std::vector<std::string> known = request.adapters;
    if (known.empty() && ExportOf<void*>(module, "OrvanSim_TopologyError"))
        known = request.simulated;
    const auto told = library.asker.TellCount();
    for (const auto& identifier : known)
        OpenAdapter(library, identifier, true);
    const auto tried = known.empty() ? NetworkAdapters() : std::vector<std::string>();
    for (const auto& identifier : tried)
        OpenAdapter(library, identifier, false);
    const bool skipped =
        request.skipped.contains(std::string(CONTROLLER_INFO)) || request.skipped.contains(std::string(HANDLE_BY_NAME));
    if (library.adapters.empty() && !skipped && told == library.asker.TellCount())
        library.asker.Tell("no_adapter", CONTROLLER_INFO, {},
                           fmt::format("none of {} identifiers is known", known.size() + tried.size()));
}

void AskForHandle0(Library& library) {
    AskInVain(library, "handle_0", HBA_HANDLE_INVALID, {});
}

void CloseAdapters(Library& library) {
    const auto close = library.functions.table.CloseAdapterHandler;
    if (!close)
        return;
    const auto closeOne = [&](const OpenedAdapter& adapter, HBA_HANDLE handle) {
        return library.asker.Ask("CloseAdapter", adapter.identifier, [&] { close(handle); });
    };
    for (const auto& adapter : library.adapters) {
        if (!closeOne(adapter, adapter.handle))
            return;
        // One of two adapters with the same handle is still open by it.
        if (std::ranges::count(library.adapters, adapter.handle, &OpenedAdapter::handle) == 1)
            AskInVain(library, "closed_handle", adapter.handle, adapter.identifier);
        const HBA_HANDLE again = Open(library, adapter.identifier, adapter.name);
        if (again == HBA_HANDLE_INVALID)
            continue;
        if (again != adapter.handle)
            library.asker.Tell("moved_handle", HANDLE_BY_NAME, adapter.identifier,
                               fmt::format("{}, then {}", adapter.handle, again));
        closeOne(adapter, again);
    }
}

} // namespace verify

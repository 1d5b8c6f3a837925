// The SNIA handlers that open, close and describe an adapter.
#include <windows.h>

#include "simulator/orvanhapi/LibraryCall.h"
#include "simulator/orvanhapi/SniaHandlers.h"
#include "simulator/orvanhapi/TargetView.h"

namespace orvanhapi {
namespace {

constexpr HBA_UINT32 API_VERSION = 2;
constexpr std::size_t SNIA_NAME_SIZE = 256;

// A handler about one port of the adapter; every simulated adapter has port 0 only.
template <class Record, class Fill>
HBA_STATUS AnswerPortRecord(LibraryCall& call, HBA_UINT32 port, Record* record, Fill fill) {
    call.Note("port", port);
    if (port != 0 && !call.Refusal())
        return call.Done(HBA_STATUS_ERROR_ILLEGAL_INDEX);
    return AnswerRecord(call, record, fill);
}

// Supported counters grow with the time since the system started.
HBA_INT64 CounterNow(const sim::Statistics& statistics, std::size_t counter) {
    constexpr HBA_INT64 UNSUPPORTED = -1;
    const HBA_INT64 base = statistics.values[counter];
    if (base == UNSUPPORTED || statistics.perSecond[counter] == 0)
        return base;
    const HBA_UINT64 grown = static_cast<HBA_UINT64>(statistics.perSecond[counter]) * (GetTickCount64() / 1000);
    return static_cast<HBA_INT64>(static_cast<HBA_UINT64>(base) + grown);
}

} // namespace

HBA_UINT32 GetVersionHandler(void) {
    LibraryCall call("GetVersion");
    return call.Done(API_VERSION);
}

HBA_STATUS LoadLibraryHandler(void) {
    LibraryCall call("LoadLibrary");
    return call.DoneEarly(call.Refusal());
}

HBA_STATUS FreeLibraryHandler(void) {
    LibraryCall call("FreeLibrary");
    return call.DoneEarly(call.Refusal());
}

HBA_UINT32 GetNumberOfAdapters(void) {
    LibraryCall call("GetNumberOfAdapters");
    return call.Done(call.Count(static_cast<HBA_UINT32>(call.Scene().topology.adapters.size())));
}

HBA_STATUS GetAdapterName(HBA_UINT32 index, char* name) {
    LibraryCall call("GetAdapterName");
    call.Note("index", index);
    const auto refusal = call.Refusal();
    if (call.Garbage(name, SNIA_NAME_SIZE) || refusal)
        return call.DoneEarly(refusal);
    const auto& adapters = call.Scene().topology.adapters;
    if (!name || index >= adapters.size())
        return call.Done(name ? HBA_STATUS_ERROR_ILLEGAL_INDEX : HBA_STATUS_ERROR_ARG);
    const std::string text = sim::Ansi(adapters[index].libraryName);
    name[text.copy(name, SNIA_NAME_SIZE - 1)] = '\0';
    return call.Done(HBA_STATUS_OK);
}

HBA_HANDLE OpenAdapter(char* name) {
    LibraryCall call("OpenAdapter", [&](const sim::Scene& scene) -> const sim::Adapter* {
        const auto& adapters = scene.topology.adapters;
        const auto found = std::find_if(adapters.begin(), adapters.end(), [&](const sim::Adapter& adapter) {
            return name && sim::Ansi(adapter.libraryName) == name;
        });
        return found == adapters.end() ? nullptr : &*found;
    });
    if (call.Refusal() || !call.About())
        return call.Done(HBA_HANDLE_INVALID);
    return call.Done(HandleTable::Instance().Open(call.Adapter()));
}

void CloseAdapter(HBA_HANDLE handle) {
    LibraryCall call("CloseAdapter", handle);
    if (!call.Refusal())
        HandleTable::Instance().Close(handle);
    call.DoneEarly(call.Refusal());
}

HBA_STATUS GetAdapterAttributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES* attributes) {
    LibraryCall call("GetAdapterAttributes", handle);
    return AnswerRecord(call, attributes, [&](HBA_ADAPTERATTRIBUTES& record) {
        const sim::AdapterAttributes& from = call.Adapter().attributes;
        record = {};
        CopyText(call, record.Manufacturer, from.manufacturer);
        CopyText(call, record.SerialNumber, from.serialNumber);
        CopyText(call, record.Model, from.model);
        CopyText(call, record.ModelDescription, from.modelDescription);
        record.NodeWWN = ToHba(call.Adapter().port.nodeWwn);
        CopyText(call, record.NodeSymbolicName, from.nodeSymbolicName);
        CopyText(call, record.HardwareVersion, from.hardwareVersion);
        CopyText(call, record.DriverVersion, from.driverVersion);
        CopyText(call, record.OptionROMVersion, from.optionRomVersion);
        CopyText(call, record.FirmwareVersion, from.firmwareVersion);
        record.VendorSpecificID = from.vendorSpecificId;
        record.NumberOfPorts = from.numberOfPorts;
        CopyText(call, record.DriverName, from.driverName);
    });
}

HBA_STATUS GetAdapterPortAttributes(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTATTRIBUTES* attributes) {
    LibraryCall call("GetAdapterPortAttributes", handle);
    return AnswerPortRecord(call, port, attributes, [&](HBA_PORTATTRIBUTES& record) {
        const sim::PortAttributes& from = call.Adapter().port;
        record = {};
        record.NodeWWN = ToHba(from.nodeWwn);
        record.PortWWN = ToHba(from.portWwn);
        record.PortFcId = from.fcId;
        record.PortType = from.type;
        record.PortState = from.state;
        record.PortSupportedClassofService = from.classesOfService;
        record.PortSupportedFc4Types.bits[2] = 1; // FCP
        record.PortActiveFc4Types.bits[2] = 1;
        CopyText(call, record.PortSymbolicName, from.symbolicName);
        CopyText(call, record.OSDeviceName, from.osDeviceName);
        record.PortSupportedSpeed = from.supportedSpeed;
        record.PortSpeed = from.speed;
        record.PortMaxFrameSize = from.maxFrameSize;
        record.FabricName = ToHba(from.fabricName);
        record.NumberofDiscoveredPorts = from.discoveredPorts;
    });
}

HBA_STATUS GetPortStatistics(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTSTATISTICS* statistics) {
    LibraryCall call("GetPortStatistics", handle);
    return AnswerPortRecord(call, port, statistics, [&](HBA_PORTSTATISTICS& record) {
        const sim::Statistics& from = call.Adapter().statistics;
        HBA_INT64 counters[sim::COUNTER_COUNT];
        for (std::size_t i = 0; i < sim::COUNTER_COUNT; ++i)
            counters[i] = CounterNow(from, i);
        static_assert(sizeof counters == sizeof record, "the counters stand in the record's order");
        std::memcpy(&record, counters, sizeof record);
    });
}

HBA_STATUS GetFcpTargetMapping(HBA_HANDLE handle, HBA_FCPTARGETMAPPING* mapping) {
    LibraryCall call("GetFcpTargetMapping", handle);
    return AnswerList(call, mapping, [&](auto& writer) {
        return WithState(call, [&] {
            ForEachTarget(call.Scene(), call.Adapter(), [&](const TargetView& view) {
                for (const auto& lun : view.target->luns) {
                    writer.Add([&](HBA_FCPSCSIENTRY& entry) {
                        CopyText(call, entry.ScsiId.OSDeviceName, lun.osDeviceName);
                        entry.ScsiId.ScsiBusNumber = view.target->bus;
                        entry.ScsiId.ScsiTargetNumber = view.target->target;
                        entry.ScsiId.ScsiOSLun = lun.osLun;
                        entry.FcpId.FcId = view.fcId;
                        entry.FcpId.NodeWWN = ToHba(view.target->nodeWwn);
                        entry.FcpId.PortWWN = ToHba(view.target->portWwn);
                        entry.FcpId.FcpLun = lun.fcpLun;
                    });
                }
            });
            return HBA_STATUS_OK;
        });
    });
}

} // namespace orvanhapi

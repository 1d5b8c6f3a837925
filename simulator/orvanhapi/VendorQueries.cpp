// The vendor extensions that find, describe and rescan an adapter.
#include <windows.h>

#include "simulator/orvanhapi/LibraryCall.h"
#include "simulator/orvanhapi/TargetView.h"

using orvanhapi::AnswerList;
using orvanhapi::AnswerRecord;
using orvanhapi::CopyText;
using orvanhapi::HandleTable;
using orvanhapi::LibraryCall;
using orvanhapi::ToHba;

namespace {

template <class Matches> const sim::Adapter* FindFcoeAdapter(const sim::Scene& scene, Matches matches) {
    const auto& adapters = scene.topology.adapters;
    const auto found = std::find_if(adapters.begin(), adapters.end(), [&](const sim::Adapter& adapter) {
        return adapter.supportsFcoe && matches(adapter);
    });
    return found == adapters.end() ? nullptr : &*found;
}

} // namespace

extern "C" {

HBA_STATUS ORVAN_InitializeLibrary(void) {
    LibraryCall call("ORVAN_InitializeLibrary");
    return call.DoneEarly(call.Refusal());
}

HBA_STATUS ORVAN_GetFCoEControllerInfo(const wchar_t* device, HBA_UINT32* controller, char name[ORVAN_NAME_SIZE]) {
    LibraryCall call("ORVAN_GetFCoEControllerInfo", [&](const sim::Scene& scene) {
        return FindFcoeAdapter(scene, [&](const sim::Adapter& adapter) {
            return device && sim::EqualNoCase(sim::Wide("\\DEVICE\\" + adapter.identifier), device);
        });
    });
    call.Note("device", [&] { return sim::Utf8(device ? device : L""); });
    const auto refusal = call.Refusal();
    if (call.Garbage(name, ORVAN_NAME_SIZE) || refusal) {
        call.Garbage(controller, sizeof *controller);
        return call.DoneEarly(refusal);
    }
    if (!device || !controller || !name)
        return call.Done(HBA_STATUS_ERROR_ARG);
    if (!call.About())
        return call.Done(HBA_STATUS_ERROR_ILLEGAL_INDEX);
    if (const sim::Reply* const recorded = call.Recorded({})) {
        orvanhapi::PutRecorded(recorded->data, name, ORVAN_NAME_SIZE);
        *controller = recorded->controller.value_or(*controller);
        return call.Done(recorded->status.value_or(HBA_STATUS_OK));
    }
    const sim::Adapter& adapter = call.Adapter();
    *controller = adapter.controller;
    const std::string text = sim::Ansi(adapter.libraryName);
    std::memset(name, call.TextPadding(), ORVAN_NAME_SIZE);
    name[text.copy(name, ORVAN_NAME_SIZE - 1)] = call.TextPadding();
    call.Note("name", [&] { return adapter.libraryName; });
    return call.Done(HBA_STATUS_OK);
}

HBA_HANDLE ORVAN_GetFCoEControllerHandle(const char* name) {
    LibraryCall call("ORVAN_GetFCoEControllerHandle", [&](const sim::Scene& scene) {
        return FindFcoeAdapter(
            scene, [&](const sim::Adapter& adapter) { return name && sim::Ansi(adapter.libraryName) == name; });
    });
    call.Note("name", [&] { return std::string(name ? name : ""); });
    HBA_HANDLE handle = HBA_HANDLE_INVALID;
    if (!call.Garbage(&handle, sizeof handle) && !call.Refusal() && call.About())
        handle = HandleTable::Instance().Open(call.Adapter());
    return call.Done(handle);
}

HBA_STATUS ORVAN_GetFCAndNICProperties(HBA_HANDLE handle, ORVAN_FC_NIC_PROPERTIES* properties) {
    LibraryCall call("ORVAN_GetFCAndNICProperties", handle);
    return AnswerRecord(call, properties, [&](ORVAN_FC_NIC_PROPERTIES& record) {
        const sim::FcNicProperties& from = call.Adapter().properties;
        record.NodeWWN = ToHba(from.nodeWwn);
        record.PortWWN = ToHba(from.portWwn);
        std::copy(from.mac.begin(), from.mac.end(), record.MacAddress);
        CopyText(call, record.NetworkInstance, from.networkInstance);
        record.Flags = (from.remoteBooted ? ORVAN_FLAG_REMOTE_BOOTED : 0) |
                       (from.remotePageFile ? ORVAN_FLAG_REMOTE_PAGE_FILE : 0);
    });
}

HBA_STATUS ORVAN_GetTargetList(HBA_HANDLE handle, ORVAN_TARGET_LIST* list) {
    LibraryCall call("ORVAN_GetTargetList", handle);
    return AnswerList(call, list, [&](auto& writer) {
        return orvanhapi::WithState(call, [&] {
            orvanhapi::ForEachTarget(call.Scene(), call.Adapter(), [&](const orvanhapi::TargetView& view) {
                writer.Add([&](ORVAN_TARGET_ENTRY& entry) {
                    entry.ScsiBusNumber = view.target->bus;
                    entry.ScsiTargetNumber = view.target->target;
                    entry.NodeWWN = ToHba(view.target->nodeWwn);
                    entry.PortWWN = ToHba(view.target->portWwn);
                    entry.InitiatorPortWWN = ToHba(view.initiatorWwn);
                    entry.InitiatorPortType = view.initiatorType;
                    entry.FcId = view.fcId;
                    entry.Number = view.target->number;
                });
            });
            return HBA_STATUS_OK;
        });
    });
}

HBA_STATUS ORVAN_GetVlanIdList(HBA_HANDLE handle, ORVAN_VLAN_LIST* list) {
    LibraryCall call("ORVAN_GetVlanIdList", handle);
    return AnswerList(call, list, [&](auto& writer) {
        for (const auto& vlan : call.Adapter().vlans)
            writer.Add([&](HBA_UINT32& entry) { entry = HBA_UINT32(vlan.state) << 16 | vlan.id; });
        return HBA_STATUS_OK;
    });
}

// The adapter looks again: a topology file that was changed meanwhile is what it finds.
HBA_STATUS ORVAN_RescanScsiBus(HBA_HANDLE handle, HBA_UINT32 selector) {
    LibraryCall call("ORVAN_RescanScsiBus", handle);
    call.Note("selector", selector);
    const auto refusal = call.Refusal();
    if (!refusal)
        sim::Simulation::Instance().LoadIfChanged();
    return call.DoneEarly(refusal);
}

} // extern "C"

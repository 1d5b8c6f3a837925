// The vendor extensions that list and change an adapter's FC ports.
#include "simulator/orvanhapi/LibraryCall.h"
#include "simulator/orvanhapi/VirtualPorts.h"

using orvanhapi::AnswerList;
using orvanhapi::FromHba;
using orvanhapi::LibraryCall;
using orvanhapi::ToHba;
using orvanhapi::VirtualPorts;
using orvanhapi::WithState;

namespace {

HBA_STATUS ChangePort(LibraryCall& call, const ORVAN_FC_PORT* request,
                      HBA_STATUS (VirtualPorts::*change)(const sim::Wwn&)) {
    if (request)
        call.Note("wwpn", [&] { return sim::WwnText(FromHba(request->PortWWN)); });
    const auto refusal = call.Refusal();
    if (refusal)
        return call.DoneEarly(refusal);
    if (!request)
        return call.Done(HBA_STATUS_ERROR_ARG);
    VirtualPorts ports(call.Scene(), call.Adapter());
    return call.Done(WithState(call, [&] { return (ports.*change)(FromHba(request->PortWWN)); }));
}

} // namespace

extern "C" {

HBA_STATUS ORVAN_GeneratePortWWN(HBA_HANDLE handle, HBA_WWN* wwpn) {
    LibraryCall call("ORVAN_GeneratePortWWN", handle);
    const auto refusal = call.Refusal();
    if (call.Garbage(wwpn, sizeof *wwpn) || refusal)
        return call.DoneEarly(refusal);
    if (!wwpn)
        return call.Done(HBA_STATUS_ERROR_ARG);
    sim::Wwn name{};
    const HBA_STATUS status =
        WithState(call, [&] { return VirtualPorts(call.Scene(), call.Adapter()).Generate(name); });
    if (status == HBA_STATUS_OK) {
        *wwpn = ToHba(name);
        call.Note("wwpn", [&] { return sim::WwnText(name); });
    }
    return call.Done(status);
}

HBA_STATUS ORVAN_CreateVPort(HBA_HANDLE handle, ORVAN_FC_PORT* request) {
    LibraryCall call("ORVAN_CreateVPort", handle);
    return ChangePort(call, request, &VirtualPorts::Create);
}

HBA_STATUS ORVAN_RemoveVPort(HBA_HANDLE handle, ORVAN_FC_PORT* request) {
    LibraryCall call("ORVAN_RemoveVPort", handle);
    return ChangePort(call, request, &VirtualPorts::Remove);
}

HBA_STATUS ORVAN_GetFCPortList(HBA_HANDLE handle, ORVAN_FC_PORT_LIST* list) {
    LibraryCall call("ORVAN_GetFCPortList", handle);
    return AnswerList(call, list, [&](auto& writer) {
        return WithState(call, [&] {
            for (const auto& port : VirtualPorts(call.Scene(), call.Adapter()).Ports()) {
                writer.Add([&](ORVAN_FC_PORT& entry) {
                    entry.NodeWWN = ToHba(port.nodeWwn);
                    entry.PortWWN = ToHba(port.portWwn);
                    entry.PortType = port.type;
                    entry.WordA = port.wordA;
                    entry.WordB = port.wordB;
                    for (std::size_t i = 0; i < port.identifiers.size(); ++i)
                        entry.Identifier[i] = ToHba(port.identifiers[i]);
                    entry.Word56 = port.word56;
                    entry.Number = port.number;
                    entry.Byte62 = port.byte62;
                });
            }
            return HBA_STATUS_OK;
        });
    });
}

} // extern "C"

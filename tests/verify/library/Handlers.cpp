// The handlers of the deviating library.
#include <atomic>
#include <cstring>
#include <stdexcept>

#include <windows.h>

#include "tests/verify/library/Real.h"

namespace {

const int s_noCode = 0;

void Close(HBA_HANDLE handle) {
    if (Is("crashes when closing"))
        *reinterpret_cast<volatile int*>(16) = 0;
    if (!Is("closed handles are good"))
        Real().table.CloseAdapterHandler(RealHandle(handle));
}

HBA_STATUS Attributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES* attributes) {
    if (Is("throws"))
        throw std::runtime_error("out of order");
    const HBA_STATUS status = Real().table.GetAdapterAttributesHandler(RealHandle(handle), attributes);
    if (Is("model without end"))
        std::memset(attributes->Model, 'M', sizeof attributes->Model);
    return status;
}

HBA_STATUS PortAttributes(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTATTRIBUTES* attributes) {
    static std::atomic<int> inside, calls;
    HBA_PORTATTRIBUTES elsewhere;
    if (Is("nothing is written"))
        attributes = &elsewhere;
    const HBA_STATUS status = Real().table.GetAdapterPortAttributesHandler(RealHandle(handle), port, attributes);
    if (Is("state 99"))
        attributes->PortState = 99;
    if (Is("speed 3"))
        attributes->PortSpeed = 3;
    if (Is("port without a name"))
        attributes->PortWWN = {};
    if (Is("record too long"))
        attributes[1].NodeWWN = {};
    if (Is("record differs"))
        attributes->PortMaxFrameSize = static_cast<HBA_UINT32>(++calls);
    if (Is("fails now and then") && ++calls % 2 == 0)
        return HBA_STATUS_ERROR_TRY_AGAIN;
    if (Is("not for two threads")) {
        if (++inside > 1)
            attributes->PortMaxFrameSize ^= 1;
        Sleep(1);
        --inside;
    }
    return status;
}

HBA_STATUS Statistics(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTSTATISTICS* statistics) {
    static std::atomic<HBA_INT64> calls;
    const HBA_STATUS status = Real().table.GetPortStatisticsHandler(RealHandle(handle), port, statistics);
    if (Is("counters go back"))
        statistics->TxFrames = 1'000'000'000 - ++calls;
    if (Is("negative counter"))
        statistics->RxFrames = -5;
    return status;
}

HBA_STATUS Mapping(HBA_HANDLE handle, HBA_FCPTARGETMAPPING* mapping) {
    const HBA_UINT32 room = mapping->NumberOfEntries;
    const HBA_STATUS status = Real().table.GetFcpTargetMappingHandler(RealHandle(handle), mapping);
    if (status != HBA_STATUS_OK || room == 1)
        return status;
    if (Is("LUN of no target"))
        mapping->entry[0].FcpId.FcId = 0xFFFFFF;
    if (Is("device name without end"))
        std::memset(mapping->entry[0].ScsiId.OSDeviceName, 'd', sizeof mapping->entry[0].ScsiId.OSDeviceName);
    return Is("more LUNs for ever") ? HBA_STATUS_ERROR_MORE_DATA : status;
}

HBA_STATUS Inquiry(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, HBA_UINT8 evpd, HBA_UINT32 page, void* rsp,
                   HBA_UINT32 rspSize, void* sense, HBA_UINT32 senseSize) {
    if (Is("INQUIRY writes nothing"))
        return HBA_STATUS_OK;
    const HBA_STATUS status =
        Real().table.ScsiInquiryHandler(RealHandle(handle), port, lun, evpd, page, rsp, rspSize, sense, senseSize);
    auto* bytes = static_cast<HBA_UINT8*>(rsp);
    if (Is("another page") && evpd)
        bytes[1] = 0x83;
    if (Is("another format") && !evpd)
        bytes[3] = 1;
    if (Is("response too long"))
        bytes[rspSize] = 0;
    return status;
}

HBA_STATUS Capacity(HBA_HANDLE handle, HBA_WWN hbaPort, HBA_WWN target, HBA_UINT64 lun, void* rsp, HBA_UINT32* rspSize,
                    HBA_UINT8* scsiStatus, void* sense, HBA_UINT32* senseSize) {
    static std::atomic<int> calls;
    if (Is("writes the SCSI status"))
        *static_cast<volatile HBA_UINT8*>(scsiStatus) = 0;
    if (Is("CHECK CONDITION for ever"))
        return HBA_STATUS_SCSI_CHECK_CONDITION;
    if (Is("no room after CHECK CONDITION") && ++calls % 2 == 1) {
        *rspSize = 0;
        return HBA_STATUS_SCSI_CHECK_CONDITION;
    }
    if (Is("no capacity"))
        return HBA_STATUS_ERROR_UNAVAILABLE;
    if (Is("writes no capacity"))
        return HBA_STATUS_OK;
    const HBA_STATUS status = Real().table.ScsiReadCapacityV2Handler(RealHandle(handle), hbaPort, target, lun, rsp,
                                                                     rspSize, scsiStatus, sense, senseSize);
    auto* bytes = static_cast<HBA_UINT8*>(rsp);
    if (Is("short layout") && status == HBA_STATUS_OK)
        std::memset(bytes + 8, 0, 24);
    if (Is("larger than the buffer"))
        *rspSize = 4096;
    return status;
}

} // namespace

HBA_ENTRYPOINTSV2 DeviatingTable() {
    HBA_ENTRYPOINTSV2 table = Real().table;
    table.CloseAdapterHandler = Close;
    table.GetAdapterAttributesHandler = Attributes;
    table.GetAdapterPortAttributesHandler = PortAttributes;
    table.GetPortStatisticsHandler = Is("no statistics") ? nullptr : Statistics;
    table.GetFcpTargetMappingHandler = Mapping;
    table.ScsiInquiryHandler = Inquiry;
    table.ScsiReadCapacityV2Handler = Capacity;
    if (Is("handler is no code"))
        table.GetAdapterAttributesHandler = reinterpret_cast<HBA_GETADAPTERATTRIBUTESFUNC>(const_cast<int*>(&s_noCode));
    return table;
}

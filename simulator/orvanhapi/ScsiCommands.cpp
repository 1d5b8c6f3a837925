// The functions of the library that send a SCSI command to a logical unit.
#include "simulator/orvanhapi/LibraryCall.h"
#include "simulator/orvanhapi/ScsiDevice.h"
#include "simulator/orvanhapi/SniaHandlers.h"

namespace orvanhapi {
namespace {

// Where the caller wants the outcome of a command.
struct Buffers {
    void* rsp;
    HBA_UINT32 rspSize;
    void* sense;
    HBA_UINT32 senseSize;
};

HBA_UINT32 Copy(void* to, HBA_UINT32 size, const std::vector<std::uint8_t>& from) {
    const auto copied = static_cast<HBA_UINT32>(std::min<std::size_t>(size, from.size()));
    if (to)
        std::copy_n(from.data(), copied, static_cast<std::uint8_t*>(to)); // also none of an empty answer
    return to ? copied : 0;
}

// Refusals and faults; none when the command shall be sent.
std::optional<HBA_STATUS> Begin(LibraryCall& call, const HBA_WWN& target, HBA_UINT64 lun, const Buffers& buffers,
                                bool& answered) {
    call.Note("target", [&] { return sim::WwnText(FromHba(target)); });
    call.Note("lun", lun);
    answered = call.Garbage(buffers.rsp, buffers.rspSize);
    return call.Refusal();
}

// What was recorded of a command: its data and its sense data.
void Put(const sim::Reply& recorded, const Buffers& buffers) {
    PutRecorded(recorded.data, buffers.rsp, buffers.rspSize);
    PutRecorded(recorded.sense, buffers.sense, buffers.senseSize);
}

// Finds the unit and sends it the command. answer stays as it is when there is no such unit.
template <class Send>
HBA_STATUS SendToUnit(LibraryCall& call, const HBA_WWN& wwn, HBA_UINT64 lun, ScsiAnswer& answer, Send send) {
    const sim::Target* target = FindTarget(call.Adapter(), FromHba(wwn));
    if (!target)
        return HBA_STATUS_ERROR_ILLEGAL_WWN;
    const sim::Lun* unit = FindLun(*target, lun);
    if (!unit)
        return HBA_STATUS_ERROR_INVALID_LUN;
    answer = send(*unit);
    return answer.status == SCSI_GOOD ? HBA_STATUS_OK : HBA_STATUS_SCSI_CHECK_CONDITION;
}

} // namespace

HBA_STATUS ScsiInquiry(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, HBA_UINT8 evpd, HBA_UINT32 page, void* rsp,
                       HBA_UINT32 rspSize, void* sense, HBA_UINT32 senseSize) {
    LibraryCall call("ScsiInquiry", handle);
    bool answered = false;
    const auto refusal = Begin(call, port, lun, {rsp, rspSize, sense, senseSize}, answered);
    call.Note("evpd", evpd);
    call.Note("page", page);
    if (answered || refusal)
        return call.DoneEarly(refusal);
    if (const sim::Reply* const recorded =
            call.Recorded({.target = FromHba(port), .lun = lun, .evpd = evpd, .page = page})) {
        Put(*recorded, {rsp, rspSize, sense, senseSize});
        return call.Done(recorded->status.value_or(HBA_STATUS_OK));
    }
    const sim::Target* target = FindTarget(call.Adapter(), FromHba(port));
    if (!target)
        return call.Done(HBA_STATUS_ERROR_ILLEGAL_WWN);
    const ScsiAnswer answer = Inquiry(*target, FindLun(*target, lun), evpd != 0, page);
    Copy(rsp, rspSize, answer.data);
    Copy(sense, senseSize, answer.sense);
    return call.Done(answer.status == SCSI_GOOD ? HBA_STATUS_OK : HBA_STATUS_SCSI_CHECK_CONDITION);
}

// The sizes say what came back. After a check condition the response size stays: the caller will ask again with it.
HBA_STATUS ScsiReadCapacityV2(HBA_HANDLE handle, HBA_WWN, HBA_WWN target, HBA_UINT64 lun, void* rsp,
                              HBA_UINT32* rspSize, HBA_UINT8* scsiStatus, void* sense, HBA_UINT32* senseSize) {
    LibraryCall call("ScsiReadCapacityV2", handle);
    const Buffers buffers{rsp, rspSize ? *rspSize : 0, sense, senseSize ? *senseSize : 0};
    bool answered = false;
    const auto refusal = Begin(call, target, lun, buffers, answered);
    if (answered || refusal)
        return call.DoneEarly(refusal);
    if (const sim::Reply* const recorded = call.Recorded({.target = FromHba(target), .lun = lun})) {
        Put(*recorded, buffers);
        if (rspSize)
            *rspSize = recorded->size.value_or(*rspSize);
        if (senseSize)
            *senseSize = recorded->senseSize.value_or(*senseSize);
        if (scsiStatus)
            *scsiStatus = static_cast<HBA_UINT8>(recorded->scsiStatus.value_or(*scsiStatus));
        return call.Done(recorded->status.value_or(HBA_STATUS_OK));
    }
    ScsiAnswer answer;
    const HBA_STATUS status = SendToUnit(call, target, lun, answer, [&](const sim::Lun& unit) {
        return ReadCapacity(call.Scene(), unit, unit.readCapacity);
    });
    const HBA_UINT32 copied = Copy(rsp, buffers.rspSize, answer.data);
    if (rspSize && status == HBA_STATUS_OK)
        *rspSize = copied;
    const HBA_UINT32 senseCopied = Copy(sense, buffers.senseSize, answer.sense);
    if (senseSize && status == HBA_STATUS_SCSI_CHECK_CONDITION)
        *senseSize = senseCopied;
    if (scsiStatus)
        *scsiStatus = answer.status;
    return call.Done(status);
}

} // namespace orvanhapi

extern "C" HBA_STATUS ORVAN_SendReadCapacity16(HBA_HANDLE handle, HBA_WWN target, HBA_UINT64 lun, void* rsp,
                                               HBA_UINT32 rspSize, void* sense, HBA_UINT32 senseSize) {
    using namespace orvanhapi;
    LibraryCall call("ORVAN_SendReadCapacity16", handle);
    bool answered = false;
    const auto refusal = Begin(call, target, lun, {rsp, rspSize, sense, senseSize}, answered);
    if (answered || refusal)
        return call.DoneEarly(refusal);
    if (const sim::Reply* const recorded = call.Recorded({.target = FromHba(target), .lun = lun})) {
        Put(*recorded, {rsp, rspSize, sense, senseSize});
        return call.Done(recorded->status.value_or(HBA_STATUS_OK));
    }
    ScsiAnswer answer;
    const HBA_STATUS status = SendToUnit(call, target, lun, answer,
                                         [&](const sim::Lun& unit) { return ReadCapacity(call.Scene(), unit, 16); });
    Copy(rsp, rspSize, answer.data);
    Copy(sense, senseSize, answer.sense);
    return call.Done(status);
}

#include "tools/log/LibraryStatus.h"

#include <algorithm>
#include <iterator>

#include "FcoeAgent/HbaApi.h"

namespace agentlog {
namespace {

#define AGENTLOG_STATUS(name, meaning)                                                                                 \
    { name, #name, meaning }

constexpr LibraryStatus STATUSES[] = {
    AGENTLOG_STATUS(HBA_STATUS_OK, "success"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR, "an error without a reason"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_NOT_SUPPORTED, "not supported"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_INVALID_HANDLE, "invalid handle"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_ARG, "bad argument"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_ILLEGAL_WWN, "no such World Wide Name"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_ILLEGAL_INDEX, "no such index"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_MORE_DATA, "more data than the buffer holds"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_STALE_DATA, "the information is stale"),
    AGENTLOG_STATUS(HBA_STATUS_SCSI_CHECK_CONDITION, "the device answered CHECK CONDITION"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_BUSY, "busy"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_TRY_AGAIN, "try again"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_UNAVAILABLE, "unavailable"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_ELS_REJECT, "the fabric or device rejected the request"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_INVALID_LUN, "no such LUN"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_INCOMPATIBLE, "incompatible"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_AMBIGUOUS_WWN, "the World Wide Name is in use more than once"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_LOCAL_BUS, "the local bus number does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_LOCAL_TARGET, "the local target number does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_LOCAL_LUN, "the local LUN does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_LOCAL_SCSIID_BOUND, "the local SCSI identifier is bound already"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_TARGET_FCID, "the target's FC identifier does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_TARGET_NODE_WWN, "the target's node name does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_TARGET_PORT_WWN, "the target's port name does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_TARGET_LUN, "the target's LUN does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_TARGET_LUID, "the LUN's identifier does not fit"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_NO_SUCH_BINDING, "no such binding"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_NOT_A_TARGET, "not a target"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_UNSUPPORTED_FC4, "the protocol is not supported"),
    AGENTLOG_STATUS(HBA_STATUS_ERROR_INCAPABLE, "the adapter is not capable of it"),
};

#undef AGENTLOG_STATUS

} // namespace

const LibraryStatus* FindLibraryStatus(std::uint32_t value) {
    const auto found = std::ranges::find(STATUSES, value, &LibraryStatus::value);
    return found != std::end(STATUSES) ? found : nullptr;
}

std::string LibraryStatusText(std::uint32_t value) {
    const LibraryStatus* const known = FindLibraryStatus(value);
    return std::string(known ? known->meaning : "unknown status") + " (status " + std::to_string(value) + ")";
}

} // namespace agentlog

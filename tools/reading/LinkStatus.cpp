#include "tools/reading/LinkStatus.h"

#include <algorithm>
#include <string_view>

#include "FcoeAgent/QelResource.h"

namespace reading {
namespace {

struct KnownStatus {
    UINT resource; // of the common library's text
    LinkStatus status;
};

constexpr KnownStatus STATUSES[] = {
    {IDS_QEL_LINK_UP, USABLE_LINK},
    {IDS_QEL_LINK_PORT_OFFLINE, {"offline", "The port is not online: check cable, switch port and driver."}},
    {IDS_QEL_LINK_QUERY_FAILED, {"query_failed", "The DCB service failed: see the agent's log, restart OrvanDCB."}},
    {IDS_QEL_LINK_REASON_1_OR_2, {"reserved", "DCB holds the link back and does not tell why."}},
    {IDS_QEL_LINK_REASON_UNKNOWN, {"unknown", "DCB cannot tell: the switch must speak DCBX on this port."}},
    {IDS_QEL_LINK_NO_USER_PRIORITY, {"no_priority", "FCoE has no user priority: configure it on the switch."}},
    {IDS_QEL_LINK_DCB_DISABLED, {"dcb_off", "DCB is off, or OrvanDCB does not run: enable DCB, start it."}},
    {IDS_QEL_LINK_REASON_5, {"reserved", "DCB holds the link back and does not tell why."}},
    {IDS_QEL_LINK_REASON_6, {"reserved", "DCB holds the link back and does not tell why."}},
    {IDS_QEL_LINK_PFC_MISMATCH, {"pfc_mismatch", "Enable priority flow control for FCoE on the switch."}},
    {IDS_QEL_LINK_APP_DISABLED_BY_PEER, {"application_off_remote", "Enable the FCoE application TLV on the switch."}},
    {IDS_QEL_LINK_PFC_DISABLED_LOCALLY, {"pfc_off_local", "Enable priority flow control on the adapter."}},
    {IDS_QEL_LINK_APP_DISABLED_LOCALLY,
     {"application_off_local", "Enable the DCB application feature on the adapter."}},
};

constexpr LinkStatus UNRECOGNIZED{"unrecognized", "This program does not know the status."};

} // namespace

std::vector<LinkStatus> LinkStatuses() {
    std::vector<LinkStatus> statuses;
    for (const KnownStatus& known : STATUSES)
        if (std::ranges::find(statuses, std::string_view(known.status.state), &LinkStatus::state) == statuses.end())
            statuses.push_back(known.status);
    statuses.push_back(UNREAD_LINK);
    statuses.push_back(UNRECOGNIZED);
    return statuses;
}

LinkStatus ExplainLinkStatus(const CQelString& status) {
    if (status.empty())
        return UNREAD_LINK;
    for (const KnownStatus& known : STATUSES) {
        CQelString text;
        if (text.LoadCommonResString(known.resource) > 0 && text.CompareI(status))
            return known.status;
    }
    return UNRECOGNIZED;
}

} // namespace reading

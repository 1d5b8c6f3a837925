#include "model/LinkStatus.h"

#include <iterator>

#include "FcoeAgent/QelResource.h"

UINT PortSpeedResource(HBA_PORTSPEED ulSpeed) {
    switch (ulSpeed) {
    case HBA_PORTSPEED_1GBIT:
        return IDS_QEL_SPEED_1GBPS;
    case HBA_PORTSPEED_2GBIT:
        return IDS_QEL_SPEED_2GBPS;
    case HBA_PORTSPEED_10GBIT:
        return IDS_QEL_SPEED_10GBPS;
    case HBA_PORTSPEED_4GBIT:
        return IDS_QEL_SPEED_4GBPS;
    default:
        return IDS_QEL_SPEED_UNKNOWN;
    }
}

UINT LinkStatusResource(const QEL_RESULT& result, bool bQueryDone, ULONG ulLinkStatus) {
    // By the link status, a DCB_FCOE_LINK_STATUS; 1, 2, 5 and 6 come from other sources than this module's client.
    static constexpr UINT RESOURCES[] = {
        IDS_QEL_LINK_UP,
        IDS_QEL_LINK_REASON_1_OR_2,
        IDS_QEL_LINK_REASON_1_OR_2,
        IDS_QEL_LINK_PFC_DISABLED_LOCALLY,
        IDS_QEL_LINK_NO_USER_PRIORITY,
        IDS_QEL_LINK_REASON_5,
        IDS_QEL_LINK_REASON_6,
        IDS_QEL_LINK_APP_DISABLED_LOCALLY,
        IDS_QEL_LINK_PFC_MISMATCH,
        IDS_QEL_LINK_APP_DISABLED_BY_PEER,
    };
    if (result.ulErrCode != 0)
        return IDS_QEL_LINK_QUERY_FAILED;
    if (!bQueryDone)
        return IDS_QEL_LINK_DCB_DISABLED;
    return ulLinkStatus < std::size(RESOURCES) ? RESOURCES[ulLinkStatus] : IDS_QEL_LINK_REASON_UNKNOWN;
}

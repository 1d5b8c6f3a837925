// Display texts of an adapter port's speed and FCoE link, as resource numbers.
#pragma once

#include <windows.h>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/QelTypes.h"

UINT PortSpeedResource(HBA_PORTSPEED ulSpeed);

// Of an online port, by what the DCB client answered.
UINT LinkStatusResource(const QEL_RESULT& result, bool bQueryDone, ULONG ulLinkStatus);

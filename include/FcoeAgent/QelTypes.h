// Small records shared by the agent, the core agent and their hosts.
#pragma once

#include <vector>

#include <windows.h>

#include "FcoeAgent/QelString.h"

// Status of a core-agent operation. Returned by value.
struct QEL_RESULT {
    ULONG ulErrCode; // 0 is success; 0xFFFFFFFF before a call and after an exception
    ULONG ulDetail;  // detail of the code; 0xFFFFFFFF when there is none
};

// The status before a call, and after one that ended by an exception.
constexpr QEL_RESULT QEL_RESULT_NOT_DONE{0xFFFFFFFF, 0xFFFFFFFF};

// Request for the core agent's configuration lock; passed through to the core agent without interpretation. CreateVPort
// makes one of its owner's number and zeros.
struct QEL_LOCK_REQUEST {
    ULONG ulOwner; // lock owner, as the host and the core agent agreed on
    ULONG ulReserved1;
    ULONG ulReserved2;
};

// One error of a virtual-port operation, appended to the host's list.
struct QEL_ERROR_ENTRY {
    ULONG ulCode;                         // (3 << 28) | (7 << 24) | n; the codes are listed in docs/errors.md
    ULONG ulClass;                        // always 16
    ULONG ulSeverity;                     // always 1
    std::vector<CQelString> vecArguments; // the port name, or nothing; docs/errors.md tells for which codes
    CQelString strSource;                 // the second identifier of the adapter
};

static_assert(sizeof(QEL_RESULT) == 8);
static_assert(sizeof(QEL_LOCK_REQUEST) == 12);

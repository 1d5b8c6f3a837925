// The buffers of one SCSI command.
#pragma once

#include "FcoeAgent/HbaApi.h"

// Cleared when it is made. Large enough for any response with an 8-bit length behind a 4-byte header.
struct CQelScsiBuffers {
    static constexpr HBA_UINT32 SIZE = 260; // of each, in bytes

    HBA_UINT8 abyResponse[SIZE] = {};
    HBA_UINT8 abySense[SIZE] = {};

    void Clear() { *this = {}; }
};

static_assert(CQelScsiBuffers::SIZE >= 4 + 0xFF);

// What of the agent's records --mask replaces, beside the addresses that it knows by their form.
#pragma once

#include "tools/fcoectl/Text.h"
#include "tools/reading/Mask.h"

namespace fcoectl {

// The names of adapters and the serial numbers of targets.
template <class Record> void LearnNames(reading::Mask& mask, const Record& record) {
    if constexpr (requires { record.strSecondId; })
        mask.Learn(ToUtf8(record.strSecondId));
    if constexpr (requires { record.strAdapterName; })
        mask.Learn(ToUtf8(record.strAdapterName));
    if constexpr (requires { record.strSerial; })
        mask.Learn(ToUtf8(record.strSerial));
}

} // namespace fcoectl

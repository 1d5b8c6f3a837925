// A part of an answer that was not read, as one source tells of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/reading/What.h"

namespace reading {

enum class How {
    Refused,    // the function failed
    Missing,    // there is no such function
    Threw,      // an exception came out of it
    Unloaded,   // the module cannot be loaded
    Withheld,   // the mutex that guards the module was not to be had
    Stopped,    // the service does not run
    Senseless,  // it reported success, and what it gave cannot be
    Incomplete, // the agent says so, nothing tells more
};

struct Loss {
    static constexpr std::size_t UNPLACED = static_cast<std::size_t>(-1);

    What what = What::Adapter;
    How how = How::Refused;
    std::string function;               // or module, or service
    std::optional<std::int64_t> status; // that it answered
    bool isLibraryStatus = false;       // else an HRESULT, a system error or a core agent's code
    std::size_t place = UNPLACED;       // among the adapters that were asked
    std::string adapter;                // identifier, where the source names it
    unsigned times = 1;
    std::string object; // which of the adapter's objects, in words; empty: not known
};

} // namespace reading

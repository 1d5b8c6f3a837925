// Which adapter a command works on.
#pragma once

#include <string>

#include "FcoeAgent/QelString.h"
#include "tools/fcoectl/Agent.h"

namespace fcoectl {

struct Adapter {
    CQelString id;   // empty: all
    CQelString name; // in the suite; may be empty

    // "name ({...})" for messages.
    std::string Label() const;
};

// What is said when the agent lists no adapter at all.
inline constexpr char NO_ADAPTER[] = "FCoE is not installed, or the core agent knows no adapter that supports it.";

enum class Need {
    Any, // no name means all adapters
    One, // no name means the only adapter
};

// wanted: the identifier as typed, in any letter case; empty when none was. Throws Failure AdapterUnknown with the
// known adapters when the agent lists others, or when one must be named. While the agent cannot list all adapters, a
// name that is not among them is taken as it is.
[[nodiscard]] Adapter ChooseAdapter(Agent& agent, const std::string& wanted, Need need);

} // namespace fcoectl

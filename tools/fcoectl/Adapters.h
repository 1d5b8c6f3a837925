// Which adapter a command works on.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/fcoectl/Agent.h"
#include "tools/reading/AdapterLookup.h"

namespace fcoectl {

struct Adapter : reading::Adapter {
    // "name ({...})" for messages.
    std::string Label() const;
};

enum class Need {
    Any, // none named means all adapters
    One, // none named means the only adapter
};

// wanted: as typed, an adapter's number in the order of the agent's list, its name or a part of it, its port WWN or its
// identifier, in any letter case. The whole identifier asks that adapter alone. Throws Failure AdapterUnknown, with the
// adapters that could have been meant, when none or several are, or when one must be named. While the agent cannot list
// all adapters, an identifier in braces that is not among them is taken as it is.
[[nodiscard]] Adapter ChooseAdapter(Agent& agent, const std::optional<std::string>& wanted, Need need);

// The adapter that has the port. Throws Failure PortNotFound when several adapters are asked and none has it; a single
// adapter is taken without it, since the agent judges then.
[[nodiscard]] Adapter AdapterOfPort(Agent& agent, const std::string& wwpn);

// Every adapter, by its record; an empty record for one that could not be read. Throws Failure AdapterUnknown when
// there is none.
[[nodiscard]] Reading<QEL_FCOE_HBA> AllAdapters(Agent& agent);

} // namespace fcoectl

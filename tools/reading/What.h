// The parts of the agent's answers that can be lacking, and which of them each kind of answer shows.
#pragma once

#include <vector>

namespace reading {

enum class What {
    Adapter, // its own record
    Name,
    Model,
    PciLocation,
    LinkState,
    Counters,
    Fabrics,
    Ports,
    Targets,
    Vendor,
    SerialNumber,
    Luns,
    Capacity,
    Vlans,
};

// "adapter", "link_state"; and in a sentence, "the FCoE link state".
[[nodiscard]] const char* KeyOf(What what);
[[nodiscard]] const char* PhraseOf(What what);
// The keys of all.
[[nodiscard]] std::vector<const char*> WhatKeys();

// What a host asks the agent for and shows.
enum class Answer {
    Hbas,
    Adapters, // which there are
    Links,    // of the adapters' records no more than names and the link's state
    Fabrics,
    Ports,
    Targets,
    Luns,
    Vlans,
    Statistics,
};

[[nodiscard]] bool Shows(Answer answer, What what);
// What an adapter lacks that is not in the answer at all.
[[nodiscard]] What WholeOf(Answer answer);

} // namespace reading

// Records a machine's neighbours of the agent: the core agent, the adapters' vendor library, PCI data and the DCB
// service. They are asked by reading calls only, beside any agent or without one; nothing of them changes.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "tools/reading/Mask.h"

namespace recording {

struct Recording {
    std::string topology; // a topology file of the simulated suite that answers the same
    std::size_t adapters = 0;
    std::uint64_t calls = 0;
    std::vector<std::string> notes; // sentences: what of it a topology cannot say
    // Function and adapter of calls that did not return within the limit. A thread of this process is still in each.
    std::vector<std::pair<std::string, std::string>> hanging;
};

// limit: of one call. mask: null: nothing is masked; otherwise it learns the names that are read. The vendor library is
// taken from where this process finds it. Throws std::bad_alloc.
[[nodiscard]] Recording Record(std::chrono::duration<double> limit, reading::Mask* mask);

} // namespace recording

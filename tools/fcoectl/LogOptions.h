// The options of the commands that read the agent's log.
#pragma once

#include <cstdint>
#include <string>

namespace fcoectl {

struct LogOptions {
    std::string file; // --file; empty: where the agent writes it
    bool follow = false;
    unsigned count = 0; // --count; 0: as many as the command shows of itself
    std::uint64_t request = 0;
};

} // namespace fcoectl

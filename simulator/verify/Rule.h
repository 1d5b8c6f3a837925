// One thing that the agent relies on, and what it makes of a neighbour that is otherwise. Texts are the manual's, too.
#pragma once

#include <string_view>

namespace verify {

struct Rule {
    std::string_view code;
    std::string_view functions; // their names with ", " between; empty: any that is asked
    std::string_view asked;
    std::string_view deviation;
    std::string_view consequence;
};

} // namespace verify

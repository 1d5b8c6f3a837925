// World Wide Names as people type them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fcoectl {

// Sixteen hexadecimal digits in any letter case, together or in pairs with colons between, as upper-case pairs with
// colons: the one form that the agent takes and writes. None when the text is no such name.
std::optional<std::string> CanonicalWwn(std::string_view text);

} // namespace fcoectl

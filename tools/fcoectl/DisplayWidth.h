// How wide a terminal shows a text.
#pragma once

#include <cstddef>
#include <string_view>

namespace fcoectl {

// Cells of a UTF-8 text without control characters. East Asian wide characters and emoji take two, combining ones none,
// emoji that are joined or coloured as much as one.
std::size_t DisplayWidth(std::string_view utf8);

} // namespace fcoectl

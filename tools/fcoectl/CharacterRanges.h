// What characters take more or less than one cell of a terminal.
#pragma once

#include <span>

namespace fcoectl {

struct CharacterRange {
    char32_t first;
    char32_t last;
};

// Each in ascending order.
std::span<const CharacterRange> WideCharacters();      // two cells
std::span<const CharacterRange> ZeroWidthCharacters(); // none: they go with the one before

} // namespace fcoectl

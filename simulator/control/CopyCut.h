#pragma once

#include <cstddef>
#include <string>

namespace sim {

// Into an array of shared memory: as much as there is room for, and the end.
template <class Char, std::size_t N> void CopyCut(Char (&to)[N], const std::basic_string<Char>& from) {
    to[from.copy(to, N - 1)] = 0;
}

} // namespace sim

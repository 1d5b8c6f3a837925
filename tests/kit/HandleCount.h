// How many handles this process has open.
#pragma once

#include <cstddef>

// Counts all kinds. Compare two counts with the same work done once before: the first named object of a process opens a
// handle that stays.
std::size_t CountHandles();

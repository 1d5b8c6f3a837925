// What the heaps of this process hold.
#pragma once

#include <cstddef>

// Bytes in busy blocks of all heaps.
std::size_t BusyHeapBytes();

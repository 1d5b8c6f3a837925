// What a process holds: handles and heap memory.
#pragma once

#include <cstddef>

// Open handles of this process.
std::size_t CountHandles();
// Bytes in busy blocks of all heaps of this process.
std::size_t BusyHeapBytes();

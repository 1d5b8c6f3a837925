// A C and C++ heap whose every block ends at a page that cannot be touched, so that the instruction that reads or
// writes behind a block, or uses a freed one, faults. For the program and the modules in its folder, the C++ run time
// among them; also for those that are loaded later.
#pragma once

#include <cstddef>

namespace GuardHeap {

// Puts it in place when the environment variable FCOE_GUARD_HEAP is 1; whether it is. Blocks that were allocated before
// stay where they are. Call it first thing in main.
bool InstallIfAsked();
bool IsInstalled();

// The heap itself. Blocks of others are handed to the C run time.
void* Allocate(std::size_t size);
void* AllocateCleared(std::size_t count, std::size_t size);
void* Resize(void* block, std::size_t size);
// Ends the program when the block was freed before or bytes around it were written.
void Free(void* block);

std::size_t LiveBlocks();

} // namespace GuardHeap

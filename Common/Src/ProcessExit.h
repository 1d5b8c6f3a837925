// Whether the process is on its way out.
#pragma once

// While the process ends without unloading the module first, all other threads are gone and may have left locks held:
// a destructor that runs then must not wait for any lock. Any thread; never blocks.
bool ProcessIsTerminating() noexcept;

// For the module's entry point, when it is detached because the process ends.
void MarkProcessTerminating() noexcept;

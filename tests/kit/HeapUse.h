// What the heaps of this process hold. A header alone, because the benchmark uses it, which has nothing else of the
// kit.
#pragma once

#include <algorithm>
#include <cstddef>

#include <windows.h>

// Bytes in busy blocks of all heaps.
inline std::size_t BusyHeapBytes() {
    HANDLE heaps[64];
    const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
    std::size_t bytes = 0;
    for (DWORD i = 0; i < count; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                bytes += entry.cbData;
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

#include "tests/kit/HandleCount.h"

#include <cstdint>

#include <windows.h>

// GetProcessHandleCount answers 0 under Wine; and Wine 8 breaks a thread off now and then that asks for the system's
// table of all handles while other processes come and go. So each handle is asked after: they are given out lowest
// first.
std::size_t CountHandles() {
    constexpr std::uintptr_t STEP = 4;
    constexpr int LONGEST_GAP = 1024;
    std::size_t count = 0;
    int gap = 0;
    for (std::uintptr_t value = STEP; gap < LONGEST_GAP; value += STEP) {
        DWORD flags = 0;
        const bool isOpen = GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags);
        count += isOpen;
        gap = isOpen ? 0 : gap + 1;
    }
    return count;
}

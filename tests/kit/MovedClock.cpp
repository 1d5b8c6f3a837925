#include "tests/kit/MovedClock.h"

#include <atomic>

namespace {
std::atomic<DWORD> g_ticks;
DWORD WINAPI Ticks() {
    return g_ticks;
}
} // namespace

MovedClock::MovedClock(DWORD ticks, HMODULE module)
    : m_patch(module, "KERNEL32.dll", "GetTickCount", reinterpret_cast<void*>(&Ticks)) {
    g_ticks = ticks;
}

void MovedClock::Set(DWORD ticks) {
    g_ticks = ticks;
}

void MovedClock::Advance(DWORD milliseconds) {
    g_ticks += milliseconds;
}

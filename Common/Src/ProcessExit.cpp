#include "Common/Src/ProcessExit.h"

#include <atomic>

#include <windows.h>

namespace {

std::atomic<bool> g_bTerminating;

using PFN_RtlDllShutdownInProgress = BOOLEAN(NTAPI*)();

PFN_RtlDllShutdownInProgress FindShutdownTest() noexcept {
    const HMODULE hNtdll = GetModuleHandleW(L"ntdll.dll");
    return hNtdll ? reinterpret_cast<PFN_RtlDllShutdownInProgress>(
                        reinterpret_cast<void*>(GetProcAddress(hNtdll, "RtlDllShutdownInProgress")))
                  : nullptr;
}

} // namespace

bool ProcessIsTerminating() noexcept {
    static const PFN_RtlDllShutdownInProgress pfnShutdownInProgress = FindShutdownTest();
    return g_bTerminating.load(std::memory_order_relaxed) || (pfnShutdownInProgress && pfnShutdownInProgress());
}

void MarkProcessTerminating() noexcept {
    g_bTerminating.store(true, std::memory_order_relaxed);
}

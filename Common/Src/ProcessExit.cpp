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

// Looked up while the module is loaded: the first to ask may be the end of the process, and the test of a local
// static's first use is a lock.
const PFN_RtlDllShutdownInProgress g_pfnShutdownInProgress = FindShutdownTest();

} // namespace

bool ProcessIsTerminating() noexcept {
    return g_bTerminating.load(std::memory_order_relaxed) || (g_pfnShutdownInProgress && g_pfnShutdownInProgress());
}

void MarkProcessTerminating() noexcept {
    g_bTerminating.store(true, std::memory_order_relaxed);
}

#include "Common/Src/ProcessExit.h"

#include <atomic>

#include <windows.h>

#include "Common/Src/ModuleFunction.h"

namespace {

std::atomic<bool> g_bTerminating;

using PFN_RtlDllShutdownInProgress = BOOLEAN(NTAPI*)();

// Looked up while the module is loaded: the first to ask may be the end of the process, and the test of a local
// static's first use is a lock.
const auto g_pfnShutdownInProgress =
    FindFunction<PFN_RtlDllShutdownInProgress>(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");

} // namespace

bool ProcessIsTerminating() noexcept {
    return g_bTerminating.load(std::memory_order_relaxed) || (g_pfnShutdownInProgress && g_pfnShutdownInProgress());
}

void MarkProcessTerminating() noexcept {
    g_bTerminating.store(true, std::memory_order_relaxed);
}

#include "tests/faults/ComBalance.h"

#include <atomic>

#include <objbase.h>

namespace {

std::atomic<int> g_joined;

HRESULT WINAPI Initialize(void* reserved, DWORD model) {
    const HRESULT result = CoInitializeEx(reserved, model);
    g_joined += SUCCEEDED(result);
    return result;
}

void WINAPI Uninitialize() {
    --g_joined;
    CoUninitialize();
}

} // namespace

ComBalance::ComBalance(HMODULE agent)
    : m_initialize(agent, "ole32.dll", "CoInitializeEx", reinterpret_cast<void*>(&Initialize)),
      m_uninitialize(agent, "ole32.dll", "CoUninitialize", reinterpret_cast<void*>(&Uninitialize)) {
    g_joined = 0;
}

int ComBalance::Joined() const {
    return g_joined;
}

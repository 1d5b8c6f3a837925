#include "tests/unit/FailingMemory.h"

#include <atomic>
#include <cstddef>

#include <gtest/gtest.h>

namespace {

std::atomic<DWORD> g_thread; // whose allocations fail; 0: nobody's
std::atomic<int> g_refused;

using PFN_malloc = void* (*)(std::size_t);
using PFN_calloc = void* (*)(std::size_t, std::size_t);

// Never reset: another thread may be on its way through an import when the object goes.
PFN_malloc g_malloc, g_runtimeMalloc;
PFN_calloc g_calloc;

bool Refuses() {
    if (g_thread != GetCurrentThreadId())
        return false;
    ++g_refused;
    return true;
}

void* Malloc(std::size_t size) {
    return Refuses() ? nullptr : g_malloc(size);
}

void* Calloc(std::size_t count, std::size_t size) {
    return Refuses() ? nullptr : g_calloc(count, size);
}

void* RuntimeMalloc(std::size_t size) {
    return Refuses() ? nullptr : g_runtimeMalloc(size);
}

} // namespace

FailingMemory::FailingMemory()
    : m_malloc(nullptr, "msvcrt.dll", "malloc", reinterpret_cast<void*>(&Malloc)),
      m_calloc(nullptr, "msvcrt.dll", "calloc", reinterpret_cast<void*>(&Calloc)),
      m_runtimeMalloc(GetModuleHandleW(L"libstdc++-6.dll"), "msvcrt.dll", "malloc",
                      reinterpret_cast<void*>(&RuntimeMalloc)) {
    EXPECT_EQ(0u, g_thread) << "one at a time";
    g_malloc = m_malloc.Original<PFN_malloc>();
    g_calloc = m_calloc.Original<PFN_calloc>();
    g_runtimeMalloc = m_runtimeMalloc.Original<PFN_malloc>();
    g_refused = 0;
    g_thread = GetCurrentThreadId();
}

FailingMemory::~FailingMemory() {
    g_thread = 0;
}

int FailingMemory::Refused() const {
    return g_refused;
}

FailingMemory::Pause::Pause() : m_thread(g_thread == GetCurrentThreadId() ? g_thread.exchange(0) : 0) {}

FailingMemory::Pause::~Pause() {
    if (m_thread)
        g_thread = m_thread;
}

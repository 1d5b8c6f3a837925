#include "tests/unit/CAllocatorWatch.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

CAllocatorWatch* g_watch;

using PFN_free = void (*)(void*);
PFN_free g_free;

void* WatchedMalloc(std::size_t size) {
    return g_watch->Allocate(size, CAllocatorWatch::FILL);
}

void* WatchedCalloc(std::size_t count, std::size_t size) {
    return g_watch->Allocate(count * size, 0);
}

void WatchedFree(void* block) {
    if (!g_watch->Free(block))
        g_free(block);
}

} // namespace

CAllocatorWatch::CAllocatorWatch()
    : m_malloc(nullptr, "msvcrt.dll", "malloc", reinterpret_cast<void*>(&WatchedMalloc)),
      m_calloc(nullptr, "msvcrt.dll", "calloc", reinterpret_cast<void*>(&WatchedCalloc)),
      m_free(nullptr, "msvcrt.dll", "free", reinterpret_cast<void*>(&WatchedFree)) {
    EXPECT_EQ(nullptr, g_watch) << "one watch at a time";
    g_free = m_free.Original<PFN_free>();
    g_watch = this;
}

CAllocatorWatch::~CAllocatorWatch() {
    EXPECT_EQ(0u, Live()) << "blocks were not freed";
    EXPECT_TRUE(m_failing.empty()) << "an allocation that was to fail was not made";
    g_watch = nullptr;
}

std::vector<std::size_t> CAllocatorWatch::Sizes() const {
    const std::lock_guard lock(m_lock);
    return m_sizes;
}

std::size_t CAllocatorWatch::Live() const {
    const std::lock_guard lock(m_lock);
    return m_bases.size();
}

void* CAllocatorWatch::Allocate(std::size_t size, unsigned char fill) {
    constexpr std::size_t PAGE = 4096;
    const std::lock_guard lock(m_lock);
    m_sizes.push_back(size);
    if (const auto it = m_failing.find(size); it != m_failing.end()) {
        m_failing.erase(it);
        return nullptr;
    }
    const std::size_t used = (size + PAGE - 1) / PAGE * PAGE;
    auto* base = static_cast<BYTE*>(VirtualAlloc(nullptr, used + PAGE, MEM_RESERVE, PAGE_NOACCESS));
    if (!base || !VirtualAlloc(base, used, MEM_COMMIT, PAGE_READWRITE))
        return nullptr;
    BYTE* block = base + used - size;
    if (fill)
        std::memset(block, fill, size);
    m_bases[block] = base;
    return block;
}

bool CAllocatorWatch::Free(void* block) {
    const std::lock_guard lock(m_lock);
    const auto it = m_bases.find(block);
    if (it == m_bases.end())
        return false;
    VirtualFree(it->second, 0, MEM_RELEASE);
    m_bases.erase(it);
    return true;
}

#include "tests/faults/Allocations.h"

#include <atomic>
#include <cstdlib>

namespace {

struct WATCH {
    Allocations::Use use;
    unsigned long long number = 0;
    Allocations::Failing failing = Allocations::Failing::None;
};
WATCH g_watch;
std::atomic<DWORD> g_thread; // whose calls count; 0: nobody's

bool Watched() {
    return g_thread.load(std::memory_order_relaxed) == GetCurrentThreadId();
}

// Whether this allocation of the watched thread fails.
bool Fails() {
    const unsigned long long made = ++g_watch.use.made;
    const bool fails =
        g_watch.failing != Allocations::Failing::None &&
        (made == g_watch.number || (made > g_watch.number && g_watch.failing == Allocations::Failing::OneAndAllAfter));
    g_watch.use.failed |= fails;
    return fails;
}

template <class Allocate> void* Count(Allocate allocate) {
    if (!Watched())
        return allocate();
    if (Fails())
        return nullptr;
    void* const block = allocate();
    g_watch.use.live += block != nullptr;
    return block;
}

void* Malloc(std::size_t size) {
    return Count([=] { return std::malloc(size); });
}

void* Calloc(std::size_t count, std::size_t size) {
    return Count([=] { return std::calloc(count, size); });
}

void* Realloc(void* block, std::size_t size) {
    if (!block)
        return Malloc(size);
    return Watched() && Fails() ? nullptr : std::realloc(block, size);
}

void Free(void* block) {
    if (block && Watched())
        --g_watch.use.live;
    std::free(block);
}

void* Address(auto function) {
    return reinterpret_cast<void*>(function);
}

} // namespace

Allocations::Allocations(HMODULE agent, HMODULE another)
    : m_agentMalloc(agent, "msvcrt.dll", "malloc", Address(&Malloc)),
      m_agentCalloc(agent, "msvcrt.dll", "calloc", Address(&Calloc)),
      m_agentRealloc(agent, "msvcrt.dll", "realloc", Address(&Realloc)),
      m_agentFree(agent, "msvcrt.dll", "free", Address(&Free)),
      m_runtimeMalloc(GetModuleHandleW(L"libstdc++-6.dll"), "msvcrt.dll", "malloc", Address(&Malloc)),
      m_runtimeFree(GetModuleHandleW(L"libstdc++-6.dll"), "msvcrt.dll", "free", Address(&Free)) {
    if (!another)
        return;
    m_anotherMalloc.emplace(another, "msvcrt.dll", "malloc", Address(&Malloc));
    m_anotherFree.emplace(another, "msvcrt.dll", "free", Address(&Free));
}

Allocations::Use Allocations::Watch(const std::function<void()>& work, unsigned long long number, Failing failing) {
    struct SCOPE {
        ~SCOPE() { g_thread = 0; }
    } scope;
    g_watch = {{}, number, failing};
    g_thread = GetCurrentThreadId();
    work();
    g_thread = 0;
    return g_watch.use;
}

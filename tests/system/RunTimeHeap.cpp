#include "tests/system/RunTimeHeap.h"

#include <atomic>

namespace {

std::atomic<long long> g_bytes;

long long SizeOf(HANDLE heap, const void* block) {
    return block ? static_cast<long long>(HeapSize(heap, 0, block)) : 0;
}

void* WINAPI Alloc(HANDLE heap, DWORD flags, SIZE_T size) {
    void* const block = HeapAlloc(heap, flags, size);
    g_bytes += SizeOf(heap, block);
    return block;
}

void* WINAPI ReAlloc(HANDLE heap, DWORD flags, void* block, SIZE_T size) {
    const long long before = SizeOf(heap, block);
    void* const moved = HeapReAlloc(heap, flags, block, size);
    if (moved)
        g_bytes += SizeOf(heap, moved) - before;
    return moved;
}

BOOL WINAPI Free(HANDLE heap, DWORD flags, void* block) {
    g_bytes -= SizeOf(heap, block);
    return HeapFree(heap, flags, block);
}

HMODULE RunTime() {
    return GetModuleHandleW(L"msvcrt.dll");
}

} // namespace

RunTimeHeap::RunTimeHeap()
    : m_alloc(RunTime(), "kernel32.dll", "HeapAlloc", reinterpret_cast<void*>(&Alloc)),
      m_realloc(RunTime(), "kernel32.dll", "HeapReAlloc", reinterpret_cast<void*>(&ReAlloc)),
      m_free(RunTime(), "kernel32.dll", "HeapFree", reinterpret_cast<void*>(&Free)) {
    g_bytes = 0;
}

long long RunTimeHeap::Bytes() {
    return g_bytes;
}

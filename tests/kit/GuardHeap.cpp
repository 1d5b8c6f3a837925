#include "tests/kit/GuardHeap.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

#include <windows.h>

#include <psapi.h>
#include <winternl.h>

#include "tests/kit/FindFunction.h"
#include "tests/kit/ImportPatch.h"

namespace {

constexpr std::size_t PAGE = 4096;
constexpr std::size_t PAGES = 4u << 20; // 16 GB of addresses: what is freed is not used again for long
constexpr std::size_t ALIGNMENT = 16;
constexpr std::size_t WATCHED_BEFORE = 32; // bytes in front of a block that free looks at
constexpr std::size_t LARGE = 1u << 28;    // the C run time's
constexpr std::size_t MOST_LIVE = 25000;   // further blocks are the C run time's: each of ours takes two of the 65530
                                           // mappings that Linux allows a process
constexpr BYTE UNWRITTEN = 0xA5;           // what a new block holds
constexpr BYTE WATCHED = 0xFB;             // what is around it

// By page: of a block's first page the pages that it takes, guard included; INNER of the others; 0 of a free one.
constexpr std::uint32_t INNER = 0xFFFFFFFF;
std::uint32_t* g_pages;
std::uint32_t* g_sizes; // of the blocks, by their first page
BYTE* g_area;
std::size_t g_next, g_live;
SRWLOCK g_lock = SRWLOCK_INIT;

decltype(&std::malloc) g_malloc;
decltype(&std::calloc) g_calloc;
decltype(&std::realloc) g_realloc;
decltype(&std::free) g_free;

class Locked {
  public:
    Locked() { AcquireSRWLockExclusive(&g_lock); }
    ~Locked() { ReleaseSRWLockExclusive(&g_lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

bool IsOurs(const void* block) {
    return g_area && block >= g_area && block < g_area + PAGES * PAGE;
}

std::size_t FirstPage(const void* block) {
    return static_cast<std::size_t>(static_cast<const BYTE*>(block) - g_area) / PAGE;
}

[[noreturn]] void Die(const char* what, const void* block, std::size_t size) {
    std::fprintf(stderr, "GUARD HEAP: %s: block %p of %llu bytes\n", what, block,
                 static_cast<unsigned long long>(size));
    std::fflush(stderr);
    std::abort();
}

// So many free pages in a row, taken; the search goes on where the last one ended.
std::size_t TakePages(std::size_t count) {
    for (std::size_t seen = 0, run = 0; seen < 2 * PAGES; ++seen) {
        if (g_next == PAGES)
            g_next = run = 0;
        run = g_pages[g_next++] == 0 ? run + 1 : 0;
        if (run < count)
            continue;
        const std::size_t first = g_next - count;
        std::fill_n(g_pages + first, count, INNER);
        g_pages[first] = static_cast<std::uint32_t>(count);
        return first;
    }
    return PAGES;
}

void* Take(std::size_t size) {
    const std::size_t rounded = std::max(ALIGNMENT, (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT);
    const std::size_t used = (rounded + PAGE - 1) / PAGE;
    const Locked locked;
    if (g_live >= MOST_LIVE)
        return g_malloc(size);
    const std::size_t first = TakePages(used + 1);
    if (first == PAGES)
        return nullptr;
    BYTE* const start = g_area + first * PAGE;
    if (!VirtualAlloc(start, used * PAGE, MEM_COMMIT, PAGE_READWRITE)) {
        std::fill_n(g_pages + first, used + 1, 0);
        return nullptr;
    }
    g_sizes[first] = static_cast<std::uint32_t>(size);
    ++g_live;
    BYTE* const block = start + used * PAGE - rounded;
    const std::size_t before = std::min<std::size_t>(WATCHED_BEFORE, static_cast<std::size_t>(block - start));
    std::memset(block - before, WATCHED, before);
    std::memset(block + size, WATCHED, rounded - size);
    return block;
}

// What is wrong with the block; null: nothing, and it is gone.
const char* TryRelease(BYTE* block, std::size_t& size) {
    const std::size_t first = FirstPage(block);
    BYTE* const start = g_area + first * PAGE;
    const Locked locked;
    const std::size_t pages = g_pages[first];
    size = g_sizes[first];
    if (pages == 0)
        return "freed twice";
    const std::size_t rounded = std::max(ALIGNMENT, (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT);
    BYTE* const end = start + (pages - 1) * PAGE;
    if (pages == INNER || block != end - rounded)
        return "freed, but none";
    const auto Unwritten = [](BYTE byte) { return byte == WATCHED; };
    if (!std::all_of(block + size, end, Unwritten))
        return "written behind its end";
    if (!std::all_of(std::max(start, block - WATCHED_BEFORE), block, Unwritten))
        return "written before its start";
    VirtualFree(start, (pages - 1) * PAGE, MEM_DECOMMIT);
    std::fill_n(g_pages + first, pages, 0);
    --g_live;
    return nullptr;
}

// Without the lock when it dies: the crash report allocates.
void Release(void* block) {
    std::size_t size = 0;
    if (const char* problem = TryRelease(static_cast<BYTE*>(block), size))
        Die(problem, block, size);
}

bool Reserve() {
    g_area = static_cast<BYTE*>(VirtualAlloc(nullptr, PAGES * PAGE, MEM_RESERVE, PAGE_READWRITE));
    const auto Table = [] {
        return static_cast<std::uint32_t*>(
            VirtualAlloc(nullptr, PAGES * sizeof(std::uint32_t), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    };
    g_pages = Table();
    g_sizes = Table();
    return g_area && g_pages && g_sizes;
}

std::wstring Folder(HMODULE module) {
    wchar_t file[MAX_PATH];
    GetModuleFileNameW(module, file, MAX_PATH);
    return std::filesystem::path(file).parent_path().wstring();
}

void Patch(HMODULE module) {
    constexpr char RUN_TIME[] = "msvcrt.dll";
    const auto Replace = [&](const char* function, auto replacement) {
        if (void** const slot = FindImport(module, RUN_TIME, function))
            StoreImport(slot, reinterpret_cast<void*>(replacement));
    };
    Replace("malloc", &GuardHeap::Allocate);
    Replace("calloc", &GuardHeap::AllocateCleared);
    Replace("realloc", &GuardHeap::Resize);
    Replace("free", &GuardHeap::Free);
}

// By the loader, before the module's own code runs. The names are those of its documentation.
struct LDR_DLL_LOADED_NOTIFICATION_DATA {
    ULONG Flags;
    const UNICODE_STRING* FullDllName;
    const UNICODE_STRING* BaseDllName;
    void* DllBase;
    ULONG SizeOfImage;
};
constexpr ULONG LDR_DLL_NOTIFICATION_REASON_LOADED = 1;
wchar_t g_folder[MAX_PATH];

void CALLBACK OnModule(ULONG reason, const LDR_DLL_LOADED_NOTIFICATION_DATA* data, void*) {
    if (reason != LDR_DLL_NOTIFICATION_REASON_LOADED)
        return;
    const std::size_t length = std::wcslen(g_folder);
    if (data->FullDllName->Length > length * sizeof(wchar_t) &&
        _wcsnicmp(data->FullDllName->Buffer, g_folder, length) == 0)
        Patch(static_cast<HMODULE>(data->DllBase));
}

void PatchModules() {
    const std::wstring folder = Folder(nullptr);
    folder.copy(g_folder, MAX_PATH - 1);
    HMODULE modules[1024];
    DWORD size = 0;
    K32EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size);
    for (DWORD i = 0; i < std::min<DWORD>(size, sizeof modules) / sizeof(HMODULE); ++i)
        if (_wcsicmp(Folder(modules[i]).c_str(), g_folder) == 0)
            Patch(modules[i]);

    using PFN_Register =
        LONG(NTAPI*)(ULONG, void(CALLBACK*)(ULONG, const LDR_DLL_LOADED_NOTIFICATION_DATA*, void*), void*, void**);
    static void* cookie;
    const auto registerNotification =
        FindFunction<PFN_Register>(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
    if (!registerNotification || registerNotification(0, &OnModule, nullptr, &cookie) != 0) {
        std::fputs("GUARD HEAP: modules that are loaded later cannot be watched\n", stderr);
        std::abort();
    }
}

} // namespace

bool GuardHeap::InstallIfAsked() {
    const char* asked = std::getenv("FCOE_GUARD_HEAP");
    if (!asked || std::strcmp(asked, "1") != 0 || g_area)
        return IsInstalled();
    const HMODULE runTime = GetModuleHandleW(L"msvcrt.dll");
    g_malloc = FindFunction<decltype(g_malloc)>(runTime, "malloc");
    g_calloc = FindFunction<decltype(g_calloc)>(runTime, "calloc");
    g_realloc = FindFunction<decltype(g_realloc)>(runTime, "realloc");
    g_free = FindFunction<decltype(g_free)>(runTime, "free");
    if (!Reserve()) {
        std::fputs("GUARD HEAP: no room\n", stderr);
        std::abort();
    }
    PatchModules();
    return true;
}

bool GuardHeap::IsInstalled() {
    return g_area != nullptr;
}

void* GuardHeap::Allocate(std::size_t size) {
    if (size >= LARGE)
        return g_malloc(size);
    void* const block = Take(size);
    if (block)
        std::memset(block, UNWRITTEN, size);
    return block;
}

void* GuardHeap::AllocateCleared(std::size_t count, std::size_t size) {
    if (count != 0 && size >= LARGE / count)
        return g_calloc(count, size);
    void* const block = Take(count * size);
    if (block)
        std::memset(block, 0, count * size);
    return block;
}

void* GuardHeap::Resize(void* block, std::size_t size) {
    if (!block)
        return Allocate(size);
    if (!IsOurs(block))
        return g_realloc(block, size);
    if (size == 0) {
        Free(block);
        return nullptr;
    }
    const std::size_t before = g_sizes[FirstPage(block)];
    void* const moved = Allocate(size);
    if (!moved)
        return nullptr;
    std::memcpy(moved, block, std::min(before, size));
    Release(block);
    return moved;
}

void GuardHeap::Free(void* block) {
    if (!block)
        return;
    if (IsOurs(block))
        Release(block);
    else
        g_free(block);
}

std::size_t GuardHeap::LiveBlocks() {
    const Locked locked;
    return g_live;
}

#include "tests/kit/CrashReport.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <vector>

#include <windows.h>

#include <dbghelp.h>
#include <tlhelp32.h>

namespace {

std::vector<DWORD64> Walk(CONTEXT context) {
    std::vector<DWORD64> frames;
    if (!context.Rip) { // a null function was called: by whom?
        context.Rip = *reinterpret_cast<DWORD64*>(context.Rsp);
        context.Rsp += 8;
    }
    while (frames.size() < 40 && context.Rip) {
        frames.push_back(context.Rip - (frames.empty() ? 0 : 1));
        DWORD64 base = 0, frame = 0;
        void* data = nullptr;
        if (auto* function = RtlLookupFunctionEntry(context.Rip, &base, nullptr)) {
            RtlVirtualUnwind(0, base, context.Rip, function, &context, &data, &frame, nullptr);
        } else {
            context.Rip = *reinterpret_cast<DWORD64*>(context.Rsp);
            context.Rsp += 8;
        }
    }
    return frames;
}

void PrintFrames(const std::vector<DWORD64>& frames) {
    int n = 0;
    for (DWORD64 pc : frames) {
        HMODULE module = nullptr;
        char file[MAX_PATH] = "?";
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCSTR>(pc), &module);
        if (module)
            GetModuleFileNameA(module, file, MAX_PATH);
        std::fprintf(stderr, "  #%d %s+0x%llx\n", n++, file, pc - reinterpret_cast<DWORD64>(module));
    }
    std::fflush(nullptr);
}

void PrintNames(const std::vector<DWORD64>& frames) {
    static bool ready = SymSetOptions(SYMOPT_LOAD_LINES | SYMOPT_UNDNAME),
                loaded = SymInitialize(GetCurrentProcess(), nullptr, TRUE);
    (void)ready;
    (void)loaded;
    int n = 0;
    for (DWORD64 pc : frames) {
        alignas(SYMBOL_INFO) char buffer[sizeof(SYMBOL_INFO) + 512]{};
        auto* symbol = reinterpret_cast<SYMBOL_INFO*>(buffer);
        symbol->SizeOfStruct = sizeof *symbol;
        symbol->MaxNameLen = 500;
        IMAGEHLP_LINE64 line{};
        line.SizeOfStruct = sizeof line;
        DWORD64 offset = 0;
        DWORD column = 0;
        const bool named = SymFromAddr(GetCurrentProcess(), pc, &offset, symbol);
        const bool placed = SymGetLineFromAddr64(GetCurrentProcess(), pc, &column, &line);
        std::fprintf(stderr, "  #%d %s %s:%lu\n", n++, named ? symbol->Name : "?", placed ? line.FileName : "?",
                     placed ? line.LineNumber : 0);
    }
    std::fflush(nullptr);
}

void Die(const CONTEXT& context) {
    static volatile LONG reporting;
    const LONG self = static_cast<LONG>(GetCurrentThreadId());
    const LONG first = InterlockedCompareExchange(&reporting, self, 0);
    if (first == self) // dbghelp may fault itself: the raw frames come first
        TerminateProcess(GetCurrentProcess(), EXIT_CRASHED);
    if (first) // the process ends with the first thread's report
        Sleep(INFINITE);
    const auto frames = Walk(context);
    std::fprintf(stderr, "CRASH\n");
    PrintFrames(frames);
    PrintNames(frames);
    TerminateProcess(GetCurrentProcess(), EXIT_CRASHED);
}

void DieHere() {
    CONTEXT context;
    RtlCaptureContext(&context);
    Die(context);
}

constexpr DWORD NAMES_TIMEOUT_MS = 10000;

HANDLE g_stopWatch, g_watch;
// Taken before a test can redirect the import: the watchdog's thread may start late.
decltype(&WaitForSingleObject) g_wait;

DWORD WINAPI PrintAllNames(void* stacks) {
    for (const auto& frames : *static_cast<std::vector<std::vector<DWORD64>>*>(stacks)) {
        std::fprintf(stderr, " names\n");
        PrintNames(frames);
    }
    return 0;
}

DWORD WINAPI Watch(void* seconds) {
    if (g_wait(g_stopWatch, static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(seconds)) * 1000) == WAIT_OBJECT_0)
        return 0;
    std::fprintf(stderr, "HANG: no end in %lu s\n", static_cast<unsigned long>(reinterpret_cast<ULONG_PTR>(seconds)));
    std::vector<std::vector<DWORD64>> stacks;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == GetCurrentThreadId())
            continue;
        const HANDLE thread = OpenThread(THREAD_ALL_ACCESS, FALSE, entry.th32ThreadID);
        if (!thread)
            continue;
        SuspendThread(thread);
        alignas(16) CONTEXT context{};
        context.ContextFlags = CONTEXT_FULL;
        if (GetThreadContext(thread, &context)) {
            stacks.push_back(Walk(context));
            std::fprintf(stderr, " thread %lx\n", entry.th32ThreadID);
            PrintFrames(stacks.back());
        }
        CloseHandle(thread);
    }
    // The names last, and not waited for long: dbghelp may fault, or wait for what a suspended thread holds.
    const HANDLE names = CreateThread(nullptr, 0, PrintAllNames, &stacks, 0, nullptr);
    g_wait(names, NAMES_TIMEOUT_MS);
    TerminateProcess(GetCurrentProcess(), EXIT_HUNG);
    return 0;
}

} // namespace

void InstallCrashReport() {
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS* pointers) -> LONG {
        Die(*pointers->ContextRecord);
        return EXCEPTION_EXECUTE_HANDLER;
    });
    std::signal(SIGABRT, [](int) { DieHere(); });
    std::set_terminate(DieHere);
}

void StartWatchdog(unsigned seconds) {
    if (g_watch) {
        // To its end: a thread that is still starting when the process ends takes the process's exit code with it.
        SetEvent(g_stopWatch);
        WaitForSingleObject(g_watch, INFINITE);
        CloseHandle(g_watch);
        CloseHandle(g_stopWatch);
        g_watch = g_stopWatch = nullptr;
    }
    if (seconds == 0)
        return;
    g_wait = &WaitForSingleObject;
    g_stopWatch = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    g_watch = CreateThread(nullptr, 0, Watch, reinterpret_cast<void*>(static_cast<ULONG_PTR>(seconds)), 0, nullptr);
}

#include "Common/Src/InvalidParameterHandler.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "Common/Src/ProcessExit.h"
#include "FcoeAgent/QelDebug.h"

// A section of the module's own, by whose name its siblings find what lies there.
#ifdef _MSC_VER
#pragma section(".qelsec", read, write)
#define QEL_IN_SIBLINGS_VIEW __declspec(allocate(".qelsec"))
#else
#define QEL_IN_SIBLINGS_VIEW __attribute__((section(".qelsec")))
#endif

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelSecure"; // as its lines are searched for
constexpr char SECTION_NAME[IMAGE_SIZEOF_SHORT_NAME] = ".qelsec";
constexpr GUID RECORD_ID{0x4D1F6A52, 0x0B7E, 0x4C35, {0x9A, 0x61, 0xE2, 0x38, 0x5C, 0x70, 0x1D, 0x94}};
// Far more than there are modules of the suite; only so that a walk ends, whatever became of the records.
constexpr int MAXIMUM_SIBLINGS = 64;

using PFN_Handler = _invalid_parameter_handler;

// What a module shows its siblings: its handler, and what that one replaced.
struct HandlerRecord {
    GUID id;
    PFN_Handler pfnOwn;
    std::atomic<PFN_Handler> pfnPrevious;
};

// Initialised by the compiler: static objects of other files copy texts while they are made.
QEL_IN_SIBLINGS_VIEW constinit HandlerRecord g_record{RECORD_ID, QelSecureInvalidParameterHandler, nullptr};
constinit std::atomic<bool> g_bEnded = false;

bool IsInstalled() {
    return _get_invalid_parameter_handler() == QelSecureInvalidParameterHandler;
}

// The module that the handler lies in, held; none for code that was made at run time.
CQelModule HoldModule(PFN_Handler pfnHandler) {
    CQelModule module;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(pfnHandler),
                            module.Put()))
        module.Release();
    return module;
}

// The record of the module whose handler that is; null when the module is no sibling.
HandlerRecord* FindRecord(HMODULE hModule, PFN_Handler pfnHandler) {
    BYTE* const pbyBase = reinterpret_cast<BYTE*>(hModule);
    const auto* pHeaders =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(pbyBase + reinterpret_cast<IMAGE_DOS_HEADER*>(pbyBase)->e_lfanew);
    const IMAGE_SECTION_HEADER* pSection = IMAGE_FIRST_SECTION(pHeaders);
    for (WORD wLeft = pHeaders->FileHeader.NumberOfSections; wLeft > 0; --wLeft, ++pSection) {
        if (std::memcmp(pSection->Name, SECTION_NAME, sizeof SECTION_NAME) != 0 ||
            pSection->Misc.VirtualSize < sizeof(HandlerRecord))
            continue;
        auto* const pRecord = reinterpret_cast<HandlerRecord*>(pbyBase + pSection->VirtualAddress);
        if (IsEqualGUID(pRecord->id, RECORD_ID) && pRecord->pfnOwn == pfnHandler)
            return pRecord;
    }
    return nullptr;
}

// What may be put back: a module that is no sibling may have gone without taking its handler along.
PFN_Handler StillThere(PFN_Handler pfnHandler) {
    constexpr DWORD EXECUTABLE = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MEMORY_BASIC_INFORMATION memory{};
    const bool bThere = VirtualQuery(reinterpret_cast<const void*>(pfnHandler), &memory, sizeof memory) != 0 &&
                        memory.State == MEM_COMMIT && (memory.Protect & EXECUTABLE) != 0;
    return bThere ? pfnHandler : nullptr;
}

// Takes ours out from among the handlers that replaced one another: what it replaced takes its place, at the front or
// behind a sibling's. One that is not the suite's and stands before ours is its owner's matter.
void Remove() {
    PFN_Handler pfnHandler = _get_invalid_parameter_handler();
    if (pfnHandler == QelSecureInvalidParameterHandler) {
        _set_invalid_parameter_handler(StillThere(g_record.pfnPrevious));
        return;
    }
    for (int nSibling = 0; pfnHandler && nSibling < MAXIMUM_SIBLINGS; ++nSibling) {
        const CQelModule module = HoldModule(pfnHandler);
        HandlerRecord* const pRecord = module ? FindRecord(module.Get(), pfnHandler) : nullptr;
        if (!pRecord)
            return;
        pfnHandler = pRecord->pfnPrevious;
        if (pfnHandler == QelSecureInvalidParameterHandler) {
            pRecord->pfnPrevious = g_record.pfnPrevious.load();
            return;
        }
    }
}

// At the end of the process our code stays, and the handler is silent once the log is.
struct RemovedAtUnload {
    ~RemovedAtUnload() {
        Remove();
        g_bEnded = true;
    }
};
constinit CQelLeftAtProcessEnd<RemovedAtUnload> g_removal;

} // namespace

void QelSecureInvalidParameterHandler(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, std::uintptr_t) {
    QEL_PRINT(L"QelSecureInvalidParameterHandler : ERROR");
}

CQelInvalidParameterHandler::CQelInvalidParameterHandler() {
    if (IsInstalled())
        return;
    CQelDebug::Instance().Error(SOURCE_FILE, __LINE__,
                                L"Setting invalid parameter handler to: QelSecureInvalidParameterHandler");
    Remove(); // a sibling's may have come before it
    const PFN_Handler pfnPrevious = _set_invalid_parameter_handler(QelSecureInvalidParameterHandler);
    if (pfnPrevious != QelSecureInvalidParameterHandler) // another thread's doing
        g_record.pfnPrevious = pfnPrevious;
}

CQelInvalidParameterHandler::~CQelInvalidParameterHandler() {
    if (g_bEnded)
        Remove();
}

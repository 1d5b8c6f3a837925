// Binding of the vendor library and adapter handles.
#include "hbaapi/HBAAPIInt.h"

#include <utility>

#include "Common/Src/Helper.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/VendorCall.h"

namespace {
// Binding for an adapter names another operation in its messages; support tools look for them as they are.
constexpr wchar_t ADAPTER_NOT_CONVERTED[] = L"CHBAAPIInt::GetAdapterAtrributes ConvertTCHARToChar failed";
} // namespace

CHBAAPIInt::CHBAAPIInt() : m_pNoLibrary(std::make_shared<const VendorLibrary>()), m_pLibrary(m_pNoLibrary) {}

VendorBinding CHBAAPIInt::GetBinding() const {
    return {.pLibrary = m_pLibrary.load(), .bEntryPtsInited = m_bEntryPtsInited, .bLibraryReady = m_bLibraryReady};
}

// A module that is held already is released once the new one is in its place; a failed load leaves none.
bool CHBAAPIInt::LoadModule() {
    CQelModule module(CHelper().PwLoadLibrary(L"orvanhapi.dll"));
    const DWORD dwError = GetLastError();
    if (!module) {
        m_pLibrary = m_pNoLibrary;
        QEL_PRINT(L"LoadLibrary of orvanhapi.dll failed - %d", dwError);
        return false;
    }
    const auto pModule = std::make_shared<const CQelModule>(std::move(module));
    Library pOld = m_pLibrary;
    while (!m_pLibrary.compare_exchange_strong(pOld, pOld->Reloaded(pModule)))
        ; // a stop without the mutex came between
    return true;
}

// A library without the one function or the other counts as bound.
BOOL CHBAAPIInt::Bind(const wchar_t* pszNotConverted, const wchar_t* pszNotInitialized) {
    const VendorBinding binding = GetBinding();
    const auto Initialize = [&](auto pfnInitialize) {
        const HBA_STATUS ulStatus = pfnInitialize();
        if (ulStatus == HBA_STATUS_OK)
            m_bLibraryReady = true;
        return ulStatus;
    };
    if (!CallVendor(binding.FindExport(VendorExports::ORVAN_InitializeLibrary),
                    {.pszNotConverted = pszNotConverted, .pszFailed = pszNotInitialized, .bWithoutFunction = TRUE},
                    Initialize))
        return FALSE;

    HBA_ENTRYPOINTSV2 entryPoints = binding.pLibrary->entryPoints;
    const auto Register = [&](auto pfnRegister) {
        pfnRegister(&entryPoints);
        return HBA_STATUS_OK; // the library's own tells nothing: what was registered is in the table
    };
    if (!CallVendor(binding.FindExport(VendorExports::HBA_RegisterLibraryV2),
                    {.pszNotConverted = pszNotConverted, .bWithoutFunction = TRUE}, Register))
        return FALSE;
    // Handlers of a module that a stop without the mutex has taken away meanwhile are of no use.
    Library pFound = binding.pLibrary;
    const Library pBound = std::make_shared<const VendorLibrary>(VendorLibrary{pFound->pModule, entryPoints});
    if (m_pLibrary.compare_exchange_strong(pFound, pBound))
        m_bEntryPtsInited = true;
    return TRUE;
}

BOOL CHBAAPIInt::InitHBAAPIMod() {
    CQelTracedResult traced(L"CHBAAPIInt::InitHBAAPIMod", TRUE);

    const CQelVendorLock lock(L"CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex");
    if (!lock.IsAcquired() || !LoadModule())
        return traced(FALSE);
    return traced(Bind(L"CHBAAPIInt::InitHBAAPIMod ConvertTCHARToChar failed",
                       L"CHBAAPIInt::InitHBAAPIMod InitializeLibrary failed - Status - %d"));
}

BOOL CHBAAPIInt::InitHBAAPIMod(const wchar_t* pszDevice, BOOL bEthInst, wchar_t* pszAdapterName) {
    CQelTracedResult traced(L"CHBAAPIInt::InitHBAAPIMod", FALSE);

    if (!bEthInst) {
        QEL_PRINT(L"CHBAAPIInt::InitHBAAPIMod bEthInst = false hence returning");
        return traced(FALSE);
    }
    const CQelVendorLock lock(L"CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex");
    if (!lock.IsAcquired())
        return traced(FALSE);
    if (!GetBinding().IsReady()) {
        if (!LoadModule())
            return traced(FALSE);
        QEL_PRINT(L"LoadLibrary of orvanhapi.dll succeeded");
        m_bLibraryReady = true;
    }
    return traced(
        Bind(ADAPTER_NOT_CONVERTED, L"CHBAAPIInt::GetAdapterAtrributes InitializeLibrary failed - Status - %d") &&
        GetAdapterName(pszDevice, pszAdapterName));
}

// The library's name of the adapter; also notes the adapter's controller number.
BOOL CHBAAPIInt::GetAdapterName(const wchar_t* pszDevice, wchar_t* pszAdapterName) {
    const VendorBinding binding = GetBinding();
    HBA_UINT32 ulController = 0;
    char szName[ORVAN_NAME_SIZE] = {};
    if (!CallVendor(binding.FindExport(VendorExports::ORVAN_GetFCoEControllerInfo),
                    {.pszNotConverted = ADAPTER_NOT_CONVERTED,
                     .pszMissing = L"GetProcAddress of ORVAN_GetControllerHandle failed with error %d",
                     .pszFailed = L"Error Getting Handle"},
                    [&](auto pfnGetInfo) { return pfnGetInfo(pszDevice, &ulController, szName); }))
        return FALSE;
    m_ulController = ulController;

    szName[sizeof szName - 1] = '\0'; // the library may fill the buffer without a terminator
    if (CQelString::QelMultiByteToWideChar(CP_ACP, 0, szName, -1, pszAdapterName, NAME_SIZE) < 1) {
        QEL_PRINT(ADAPTER_NOT_CONVERTED);
        return FALSE;
    }
    return TRUE;
}

BOOL CHBAAPIInt::DeInitHBAAPIMod() {
    CQelTracedResult traced(L"CHBAAPIInt::DeInitHBAAPIMod", TRUE);

    // Before the wait: no handler of version 1 is called any more while it lasts. Exports and what version 2 adds still
    // are, and an initialization that has the mutex now brings the handlers back.
    m_bEntryPtsInited = false;
    // A stop is not held up by others: without the mutex it goes on all the same.
    const CQelVendorLock lock(L"CHBAAPIInt::DeInitHBAAPIMod Failed to acquire Mutex");
    m_pLibrary = m_pNoLibrary;
    return traced(TRUE);
}

BOOL CHBAAPIInt::GetAdapterHandle(const wchar_t* pszAdapterName, HBA_HANDLE& hAdapter) {
    constexpr wchar_t NOT_CONVERTED[] = L"CHBAAPIInt::GetAdapterHandle ConvertTCHARToChar failed";
    CQelTracedResult traced(L"CHBAAPIInt::GetAdapterHandle", FALSE);

    const CQelVendorLock lock(L"GetAdapterHandle Failure to get Mutex");
    if (!lock.IsAcquired())
        return traced(FALSE);
    const VendorBinding binding = GetBinding();
    if (!binding.IsReady())
        return traced(FALSE);
    const auto found = binding.FindExport(VendorExports::ORVAN_GetFCoEControllerHandle);
    if (!CanCall(found, {.pszNotConverted = NOT_CONVERTED,
                         .pszMissing = L"GetProcAddress of ORVAN_GetControllerHandle failed with error %d"}))
        return traced(FALSE);
    char szName[ORVAN_NAME_SIZE];
    if (!ConvertTCHARToChar(pszAdapterName, szName)) {
        QEL_PRINT(NOT_CONVERTED);
        return traced(FALSE);
    }
    const HBA_HANDLE hOpened = found.pfn(szName);
    if (hOpened == HBA_HANDLE_INVALID) {
        QEL_PRINT(L"Error Getting Handle");
        return traced(FALSE);
    }
    hAdapter = hOpened;
    QEL_PRINT(L"Succeeded getting Adapter Handle - %d", hAdapter);
    return traced(TRUE);
}

BOOL CHBAAPIInt::CloseAdapHandle(HBA_HANDLE& hAdapter) {
    CQelTracedResult traced(L"CHBAAPIInt::CloseAdapHandle", TRUE);

    QEL_PRINT(L"CHBAAPIInt::CloseAdapHandle closing adapter handle - %d", hAdapter);
    const VendorBinding binding = GetBinding();
    if (const auto close = binding.FindHandler(&HBA_ENTRYPOINTSV2::CloseAdapterHandler); close.pfn)
        close.pfn(hAdapter);
    hAdapter = HBA_HANDLE_INVALID;
    return traced(TRUE);
}

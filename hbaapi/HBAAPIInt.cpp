// Binding of the vendor library and adapter handles.
#include "hbaapi/HBAAPIInt.h"

#include <cstring>
#include <utility>

#include "Common/Src/Helper.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/CrossProcessMutex.h"
#include "hbaapi/VendorBinding.h"

CHBAAPIInt::CHBAAPIInt() : m_pBinding(std::make_shared<const CVendorBinding>()) {}

template <class Change> void CHBAAPIInt::ChangeBinding(Change change) {
    Binding pOld = GetBinding();
    Binding pNew;
    do {
        auto pChanged = std::make_shared<CVendorBinding>(*pOld);
        change(*pChanged);
        pNew = std::move(pChanged);
    } while (!m_pBinding.compare_exchange_strong(pOld, pNew));
}

// A module that is held already is released once the new one is in its place; a failed load leaves none.
bool CHBAAPIInt::LoadModule(DWORD& dwError) {
    CQelModule module(CHelper().PwLoadLibrary(L"orvanhapi.dll"));
    dwError = GetLastError();
    const bool bLoaded = static_cast<bool>(module);
    const auto pModule = bLoaded ? std::make_shared<const CQelModule>(std::move(module)) : nullptr;
    ChangeBinding([&](CVendorBinding& binding) { binding.SetModule(pModule); });
    return bLoaded;
}

// Initializes the library and registers its handlers. A library without the one or the other counts as bound.
BOOL CHBAAPIInt::Bind(const wchar_t* pszConversionFailure, const wchar_t* pszInitializeFailure) {
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_InitializeLibrary) pfnInitializeLibrary = nullptr;
    if (!pBinding->FindExport(L"ORVAN_InitializeLibrary", pfnInitializeLibrary)) {
        QEL_PRINT(pszConversionFailure);
        return FALSE;
    }
    if (pfnInitializeLibrary) {
        const HBA_STATUS ulStatus = pfnInitializeLibrary();
        if (ulStatus != HBA_STATUS_OK) {
            QEL_PRINT(pszInitializeFailure, ulStatus);
            return FALSE;
        }
        ChangeBinding([](CVendorBinding& binding) { binding.m_bLibraryReady = TRUE; });
    }

    decltype(&HBA_RegisterLibraryV2) pfnRegisterLibrary = nullptr;
    if (!pBinding->FindExport(L"HBA_RegisterLibraryV2", pfnRegisterLibrary)) {
        QEL_PRINT(pszConversionFailure);
        return FALSE;
    }
    HBA_ENTRYPOINTSV2 entryPoints = pBinding->m_entryPoints;
    if (pfnRegisterLibrary)
        pfnRegisterLibrary(&entryPoints); // the status tells nothing: what was registered is in the table
    ChangeBinding([&](CVendorBinding& binding) { binding.SetEntryPoints(pBinding->m_pModule, entryPoints); });
    return TRUE;
}

BOOL CHBAAPIInt::InitHBAAPIMod() {
    CQelTracedResult traced(L"CHBAAPIInt::InitHBAAPIMod", TRUE);

    const CCrossProcessMutex mutex;
    if (!mutex.IsAcquired()) {
        QEL_PRINT(L"CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex");
        return traced(FALSE);
    }
    DWORD dwError = ERROR_SUCCESS;
    if (!LoadModule(dwError)) {
        QEL_PRINT(L"LoadLibrary of orvanhapi.dll failed - %d", dwError);
        return traced(FALSE);
    }
    return traced(Bind(L"CHBAAPIInt::InitHBAAPIMod ConvertTCHARToChar failed",
                       L"CHBAAPIInt::InitHBAAPIMod InitializeLibrary failed - Status - %d"));
}

// The messages of this overload name another operation; support tools look for them as they are.
BOOL CHBAAPIInt::InitHBAAPIMod(const wchar_t* pszDevice, BOOL bEthInst, wchar_t* pszAdapterName) {
    CQelTracedResult traced(L"CHBAAPIInt::InitHBAAPIMod", FALSE);

    if (!bEthInst) {
        QEL_PRINT(L"CHBAAPIInt::InitHBAAPIMod bEthInst = false hence returning");
        return traced(FALSE);
    }
    const CCrossProcessMutex mutex;
    if (!mutex.IsAcquired()) {
        QEL_PRINT(L"CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex");
        return traced(FALSE);
    }
    if (!GetBinding()->IsReady()) {
        DWORD dwError = ERROR_SUCCESS;
        if (!LoadModule(dwError)) {
            QEL_PRINT(L"LoadLibrary of orvanhapi.dll failed - %d", dwError);
            return traced(FALSE);
        }
        QEL_PRINT(L"LoadLibrary of orvanhapi.dll succeeded");
        ChangeBinding([](CVendorBinding& binding) { binding.m_bLibraryReady = TRUE; });
    }
    // These messages name another operation; they are searched for as they stand.
    return traced(Bind(L"CHBAAPIInt::GetAdapterAtrributes ConvertTCHARToChar failed",
                       L"CHBAAPIInt::GetAdapterAtrributes InitializeLibrary failed - Status - %d") &&
                  GetAdapterName(pszDevice, pszAdapterName));
}

// The library's name of the adapter; also notes the adapter's controller number.
BOOL CHBAAPIInt::GetAdapterName(const wchar_t* pszDevice, wchar_t* pszAdapterName) {
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_GetFCoEControllerInfo) pfnGetControllerInfo = nullptr;
    if (!pBinding->FindExport(L"ORVAN_GetFCoEControllerInfo", pfnGetControllerInfo)) {
        QEL_PRINT(L"CHBAAPIInt::GetAdapterAtrributes ConvertTCHARToChar failed");
        return FALSE;
    }
    if (!pfnGetControllerInfo) {
        const DWORD dwError = GetLastError();
        QEL_PRINT(L"GetProcAddress of ORVAN_GetControllerHandle failed with error %d", dwError);
        return FALSE;
    }
    HBA_UINT32 ulController = 0;
    char szFilled[ORVAN_NAME_SIZE] = {};
    if (pfnGetControllerInfo(pszDevice, &ulController, szFilled) != HBA_STATUS_OK) {
        QEL_PRINT(L"Error Getting Handle");
        return FALSE;
    }
    ChangeBinding([=](CVendorBinding& binding) { binding.m_ulController = ulController; });

    char szName[ORVAN_NAME_SIZE]; // the library may fill its buffer without a terminator
    std::memcpy(szName, szFilled, sizeof szName);
    szName[sizeof szName - 1] = '\0';
    if (CQelString::QelMultiByteToWideChar(CP_ACP, 0, szName, -1, pszAdapterName, NAME_SIZE) < 1) {
        QEL_PRINT(L"CHBAAPIInt::GetAdapterAtrributes ConvertTCHARToChar failed");
        return FALSE;
    }
    return TRUE;
}

BOOL CHBAAPIInt::DeInitHBAAPIMod() {
    CQelTracedResult traced(L"CHBAAPIInt::DeInitHBAAPIMod", TRUE);

    // At once, so that calls that start while this one waits for the mutex are not made.
    ChangeBinding([](CVendorBinding& binding) {
        binding.m_bEntryPtsInited = FALSE;
        binding.ClearVersion1();
    });
    const CCrossProcessMutex mutex;
    if (!mutex.IsAcquired())
        QEL_PRINT(L"CHBAAPIInt::DeInitHBAAPIMod Failed to acquire Mutex"); // a stop is not held up by others
    ChangeBinding([](CVendorBinding& binding) { binding.SetModule(nullptr); });
    return traced(TRUE);
}

BOOL CHBAAPIInt::GetAdapterHandle(const wchar_t* pszAdapterName, HBA_HANDLE& hAdapter) {
    CQelTracedResult traced(L"CHBAAPIInt::GetAdapterHandle", FALSE);

    const CCrossProcessMutex mutex;
    if (!mutex.IsAcquired()) {
        QEL_PRINT(L"GetAdapterHandle Failure to get Mutex");
        return traced(FALSE);
    }
    const Binding pBinding = GetBinding();
    if (!pBinding->IsReady())
        return traced(FALSE);

    decltype(&ORVAN_GetFCoEControllerHandle) pfnGetControllerHandle = nullptr;
    if (!pBinding->FindExport(L"ORVAN_GetFCoEControllerHandle", pfnGetControllerHandle)) {
        QEL_PRINT(L"CHBAAPIInt::GetAdapterHandle ConvertTCHARToChar failed");
        return traced(FALSE);
    }
    if (!pfnGetControllerHandle) {
        const DWORD dwError = GetLastError();
        QEL_PRINT(L"GetProcAddress of ORVAN_GetControllerHandle failed with error %d", dwError);
        return traced(FALSE);
    }
    char szName[ORVAN_NAME_SIZE];
    if (!ConvertTCHARToChar(pszAdapterName, szName)) {
        QEL_PRINT(L"CHBAAPIInt::GetAdapterHandle ConvertTCHARToChar failed");
        return traced(FALSE);
    }
    const HBA_HANDLE hOpened = pfnGetControllerHandle(szName);
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
    const Binding pBinding = GetBinding();
    if (pBinding->m_entryPoints.CloseAdapterHandler)
        pBinding->m_entryPoints.CloseAdapterHandler(hAdapter);
    hAdapter = HBA_HANDLE_INVALID;
    return traced(TRUE);
}

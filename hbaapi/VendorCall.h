// The frame of a call to the vendor library: what each way that it can go writes to the log, and what it yields.
#pragma once

#include <windows.h>

#include "hbaapi/CrossProcessMutex.h"
#include "hbaapi/VendorBinding.h"

// One operation: the line that it writes in each case, null for none, and what it yields.
struct VendorCallKind {
    const wchar_t* pszNotConverted = nullptr; // the function's name cannot be converted
    const wchar_t* pszMissing = nullptr;      // there is no such function; %d is GetLastError
    const wchar_t* pszMoreData = nullptr;     // null: as any other failure
    const wchar_t* pszFailed = nullptr;       // %d is the status
    const wchar_t* pszLastError = nullptr;    // after pszFailed; %d is GetLastError
    const wchar_t* pszSucceeded = nullptr;
    BOOL bWithoutFunction = FALSE; // the result when there is no such function
};

// The cross-process mutex for the scope of an operation. pszNotAcquired: the operation's line when it is not to be had.
class CQelVendorLock {
  public:
    explicit CQelVendorLock(const wchar_t* pszNotAcquired);

    [[nodiscard]] bool IsAcquired() const noexcept { return m_mutex.IsAcquired(); }

  private:
    const CQelCrossProcessMutex m_mutex;
};

// The line for a function that cannot be called, and for the status of one that was; TRUE for success.
void LogNoFunction(FunctionState eState, const VendorCallKind& kind);
BOOL LogStatus(HBA_STATUS ulStatus, DWORD dwError, const VendorCallKind& kind);

// Whether the function can be called; the log tells why not.
template <class F> [[nodiscard]] bool CanCall(const FoundFunction<F>& function, const VendorCallKind& kind) {
    if (function.eState == FunctionState::There)
        return true;
    LogNoFunction(function.eState, kind);
    return false;
}

// The whole of it. Call is handed the function and returns the library's status.
template <class F, class Call>
BOOL CallVendor(const FoundFunction<F>& function, const VendorCallKind& kind, Call call) {
    if (!CanCall(function, kind))
        return function.eState == FunctionState::Missing && kind.bWithoutFunction;
    const HBA_STATUS ulStatus = call(function.pfn);
    return LogStatus(ulStatus, GetLastError(), kind);
}

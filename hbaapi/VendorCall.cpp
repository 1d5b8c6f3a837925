#include "hbaapi/VendorCall.h"

#include "FcoeAgent/QelDebug.h"

namespace {

// A text without a place for the number goes without it.
void PrintIfAny(const wchar_t* pszText, DWORD dwNumber = 0) {
    if (pszText)
        QEL_PRINT(pszText, dwNumber);
}

} // namespace

CQelVendorLock::CQelVendorLock(const wchar_t* pszNotAcquired) {
    if (!m_mutex.IsAcquired())
        QEL_PRINT(pszNotAcquired);
}

void LogNoFunction(FunctionState eState, const VendorCallKind& kind) {
    if (eState == FunctionState::Missing)
        PrintIfAny(kind.pszMissing, GetLastError());
    else
        PrintIfAny(kind.pszNotConverted);
}

BOOL LogStatus(HBA_STATUS ulStatus, DWORD dwError, const VendorCallKind& kind) {
    if (ulStatus == HBA_STATUS_OK) {
        PrintIfAny(kind.pszSucceeded);
        return TRUE;
    }
    if (ulStatus == HBA_STATUS_ERROR_MORE_DATA && kind.pszMoreData)
        PrintIfAny(kind.pszMoreData);
    else
        PrintIfAny(kind.pszFailed, ulStatus);
    PrintIfAny(kind.pszLastError, dwError);
    return FALSE;
}

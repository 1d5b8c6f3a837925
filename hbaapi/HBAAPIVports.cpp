// Virtual-port calls.
#include "hbaapi/HBAAPIInt.h"

#include <cstdlib>

#include "Common/Src/Owner.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/CrossProcessMutex.h"
#include "hbaapi/VendorBinding.h"

namespace {

// What a virtual-port call writes to the log. Two of the operations go by older names there.
struct VPORT_MESSAGES {
    const wchar_t* pszLockFailure;
    const wchar_t* pszConversionFailure;
    const wchar_t* pszFailure; // with the status
    const wchar_t* pszSuccess;
};

constexpr VPORT_MESSAGES GENERATE_MESSAGES = {
    L"CHBAAPIInt::GenerateVportWwpn failed to acquire Mutex",
    L"CHBAAPIInt::GenerateVportWwpn ConvertTCHARToChar failed",
    L"GenerateVportWwpn failed - status - %d",
    L"GenerateVportWwpn Succeeded",
};
constexpr VPORT_MESSAGES CREATE_MESSAGES = {
    L"CHBAAPIInt::CreateVport failed to acquire Mutex",
    L"CHBAAPIInt::CreateVport ConvertTCHARToChar failed",
    L"CreateVport failed - status - %d",
    L"CreateVport Succeeded",
};
constexpr VPORT_MESSAGES REMOVE_MESSAGES = {
    L"CHBAAPIInt::RemoveVport failed to acquire Mutex",
    L"CHBAAPIInt::RemoveVport ConvertTCHARToChar failed",
    L"RemoveVport failed - status - %d",
    L"RemoveVport Succeeded",
};
constexpr VPORT_MESSAGES GET_PORTS_MESSAGES = {
    L"CHBAAPIInt::GetVports failed to acquire Mutex",
    L"CHBAAPIInt::GetVports ConvertTCHARToChar failed",
    L"GetVports failed - status - %d",
    L"GetVports Succeeded",
};
constexpr VPORT_MESSAGES GET_COUNT_MESSAGES = {
    L"CHBAAPIInt::GetVportCount failed to acquire Mutex",
    L"CHBAAPIInt::GetVportCount ConvertTCHARToChar failed",
    nullptr,
    nullptr,
};

// The frame of every virtual-port call: holds the cross-process mutex, finds the library's function and logs how the
// call went.
class CVportCall {
  public:
    explicit CVportCall(const VPORT_MESSAGES& messages) : m_messages(messages) {
        if (!m_mutex.IsAcquired())
            QEL_PRINT(m_messages.pszLockFailure);
    }

    // Nothing may be done without the mutex.
    bool MayProceed() const { return m_mutex.IsAcquired(); }

    // Null when the library has no such function.
    template <class F> void Find(const CVendorBinding& binding, const wchar_t* pszExport, F& pfn) const {
        if (!binding.FindExport(pszExport, pfn))
            QEL_PRINT(m_messages.pszConversionFailure);
    }

    BOOL LogStatus(HBA_STATUS ulStatus) const {
        if (ulStatus != HBA_STATUS_OK) {
            QEL_PRINT(m_messages.pszFailure, ulStatus);
            return FALSE;
        }
        QEL_PRINT(m_messages.pszSuccess);
        return TRUE;
    }

  private:
    const VPORT_MESSAGES& m_messages;
    CCrossProcessMutex m_mutex;
};

} // namespace

BOOL CHBAAPIInt::GenerateVportWwpn(HBA_HANDLE hAdapter, HBA_WWN* pWwpn) {
    CQelTracedResult traced(L"CHBAAPIInt::GenerateVportWwpn", FALSE);

    const CVportCall call(GENERATE_MESSAGES);
    if (!call.MayProceed())
        return traced(FALSE);
    if (!pWwpn) {
        QEL_PRINT(L"CHBAAPIInt::GenerateVportWwpn wwpn is NULL");
        return traced(FALSE);
    }
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_GeneratePortWWN) pfnGenerate = nullptr;
    call.Find(*pBinding, L"ORVAN_GeneratePortWWN", pfnGenerate);
    if (!pfnGenerate)
        return traced(FALSE);
    HBA_WWN wwpn{};
    if (!call.LogStatus(pfnGenerate(hAdapter, &wwpn)))
        return traced(FALSE);
    *pWwpn = wwpn;
    return traced(TRUE);
}

BOOL CHBAAPIInt::CreateVport(HBA_HANDLE hAdapter, ORVAN_FC_PORT& request, HBA_STATUS& ulStatus) {
    CQelTracedResult traced(L"CHBAAPIInt::CreateVport", FALSE);

    const CVportCall call(CREATE_MESSAGES);
    if (!call.MayProceed())
        return traced(FALSE);
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_CreateVPort) pfnCreate = nullptr;
    call.Find(*pBinding, L"ORVAN_CreateVPort", pfnCreate);
    if (!pfnCreate)
        return traced(FALSE);
    const HBA_STATUS ulCreated = pfnCreate(hAdapter, &request);
    if (ulCreated != HBA_STATUS_OK)
        ulStatus = ulCreated;
    return traced(call.LogStatus(ulCreated));
}

BOOL CHBAAPIInt::RemoveVport(HBA_HANDLE hAdapter, ORVAN_FC_PORT& request) {
    CQelTracedResult traced(L"CHBAAPIInt::RemoveVport", FALSE);

    const CVportCall call(REMOVE_MESSAGES);
    if (!call.MayProceed())
        return traced(FALSE);
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_RemoveVPort) pfnRemove = nullptr;
    call.Find(*pBinding, L"ORVAN_RemoveVPort", pfnRemove);
    if (!pfnRemove)
        return traced(FALSE);
    return traced(call.LogStatus(pfnRemove(hAdapter, &request)));
}

BOOL CHBAAPIInt::GetPorts(HBA_HANDLE hAdapter, ORVAN_FC_PORT_LIST* pPorts, ULONG& ulCount) {
    CQelTracedResult traced(L"CHBAAPIInt::GetPorts", FALSE);

    const CVportCall call(GET_PORTS_MESSAGES);
    if (!call.MayProceed())
        return traced(FALSE);
    if (!pPorts) {
        QEL_PRINT(L"CHBAAPIInt::Null Pointer passed, memory must be allocated before calling this function");
        return traced(FALSE);
    }
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_GetFCPortList) pfnGetPorts = nullptr;
    call.Find(*pBinding, L"ORVAN_GetFCPortList", pfnGetPorts);
    if (!pfnGetPorts)
        return traced(FALSE);
    const HBA_STATUS ulStatus = pfnGetPorts(hAdapter, pPorts);
    if (ulStatus == HBA_STATUS_OK || ulStatus == HBA_STATUS_ERROR_MORE_DATA)
        ulCount = pPorts->NumberOfEntries;
    return traced(call.LogStatus(ulStatus));
}

LONG CHBAAPIInt::GetPortsCount(HBA_HANDLE hAdapter) {
    CQelTracedResult traced(L"CHBAAPIInt::GetPortsCount", LONG{0});

    const CVportCall call(GET_COUNT_MESSAGES);
    if (!call.MayProceed())
        return traced(0);
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_GetFCPortList) pfnGetPorts = nullptr;
    call.Find(*pBinding, L"ORVAN_GetFCPortList", pfnGetPorts);
    if (!pfnGetPorts)
        return traced(0);
    // The call is made for the count alone: one entry is room enough, and too little room is as good an answer.
    const CQelAllocation<ORVAN_FC_PORT_LIST> list(
        static_cast<ORVAN_FC_PORT_LIST*>(std::calloc(1, sizeof(ORVAN_FC_PORT_LIST))));
    if (!list)
        return traced(0);
    list.Get()->NumberOfEntries = 1;
    const HBA_STATUS ulStatus = pfnGetPorts(hAdapter, list.Get());
    const bool bCounted = ulStatus == HBA_STATUS_OK || ulStatus == HBA_STATUS_ERROR_MORE_DATA;
    return traced(bCounted ? static_cast<LONG>(list.Get()->NumberOfEntries) : 0);
}

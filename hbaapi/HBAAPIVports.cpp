// Virtual-port calls: under the cross-process mutex, of any library that is loaded, ready or not.
#include "hbaapi/HBAAPIInt.h"

#include <cstdlib>

#include "Common/Src/Owner.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/VendorCall.h"

BOOL CHBAAPIInt::GenerateVportWwpn(HBA_HANDLE hAdapter, HBA_WWN* pWwpn) {
    CQelTracedResult traced(L"CHBAAPIInt::GenerateVportWwpn", FALSE);

    const CQelVendorLock lock(L"CHBAAPIInt::GenerateVportWwpn failed to acquire Mutex");
    if (!lock.IsAcquired())
        return traced(FALSE);
    if (!pWwpn) {
        QEL_PRINT(L"CHBAAPIInt::GenerateVportWwpn wwpn is NULL");
        return traced(FALSE);
    }
    const VendorBinding binding = GetBinding();
    HBA_WWN wwpn{};
    if (!CallVendor(binding.FindExport(VendorExports::ORVAN_GeneratePortWWN),
                    {.pszNotConverted = L"CHBAAPIInt::GenerateVportWwpn ConvertTCHARToChar failed",
                     .pszFailed = L"GenerateVportWwpn failed - status - %d",
                     .pszSucceeded = L"GenerateVportWwpn Succeeded"},
                    [&](auto pfnGenerate) { return pfnGenerate(hAdapter, &wwpn); }))
        return traced(FALSE);
    *pWwpn = wwpn;
    return traced(TRUE);
}

BOOL CHBAAPIInt::CreateVport(HBA_HANDLE hAdapter, ORVAN_FC_PORT& request, HBA_STATUS& ulStatus) {
    CQelTracedResult traced(L"CHBAAPIInt::CreateVport", FALSE);

    const CQelVendorLock lock(L"CHBAAPIInt::CreateVport failed to acquire Mutex");
    if (!lock.IsAcquired())
        return traced(FALSE);
    const VendorBinding binding = GetBinding();
    return traced(CallVendor(binding.FindExport(VendorExports::ORVAN_CreateVPort),
                             {.pszNotConverted = L"CHBAAPIInt::CreateVport ConvertTCHARToChar failed",
                              .pszFailed = L"CreateVport failed - status - %d",
                              .pszSucceeded = L"CreateVport Succeeded"},
                             [&](auto pfnCreate) {
                                 const HBA_STATUS ulCreated = pfnCreate(hAdapter, &request);
                                 if (ulCreated != HBA_STATUS_OK)
                                     ulStatus = ulCreated;
                                 return ulCreated;
                             }));
}

BOOL CHBAAPIInt::RemoveVport(HBA_HANDLE hAdapter, ORVAN_FC_PORT& request) {
    CQelTracedResult traced(L"CHBAAPIInt::RemoveVport", FALSE);

    const CQelVendorLock lock(L"CHBAAPIInt::RemoveVport failed to acquire Mutex");
    if (!lock.IsAcquired())
        return traced(FALSE);
    const VendorBinding binding = GetBinding();
    return traced(CallVendor(binding.FindExport(VendorExports::ORVAN_RemoveVPort),
                             {.pszNotConverted = L"CHBAAPIInt::RemoveVport ConvertTCHARToChar failed",
                              .pszFailed = L"RemoveVport failed - status - %d",
                              .pszSucceeded = L"RemoveVport Succeeded"},
                             [&](auto pfnRemove) { return pfnRemove(hAdapter, &request); }));
}

// This operation and the next go by older names in their messages.
BOOL CHBAAPIInt::GetPorts(HBA_HANDLE hAdapter, ORVAN_FC_PORT_LIST* pPorts, ULONG& ulCount) {
    CQelTracedResult traced(L"CHBAAPIInt::GetPorts", FALSE);

    const CQelVendorLock lock(L"CHBAAPIInt::GetVports failed to acquire Mutex");
    if (!lock.IsAcquired())
        return traced(FALSE);
    if (!pPorts) {
        QEL_PRINT(L"CHBAAPIInt::Null Pointer passed, memory must be allocated before calling this function");
        return traced(FALSE);
    }
    const VendorBinding binding = GetBinding();
    return traced(CallVendor(binding.FindExport(VendorExports::ORVAN_GetFCPortList),
                             {.pszNotConverted = L"CHBAAPIInt::GetVports ConvertTCHARToChar failed",
                              .pszFailed = L"GetVports failed - status - %d",
                              .pszSucceeded = L"GetVports Succeeded"},
                             [&](auto pfnGetPorts) {
                                 const HBA_STATUS ulStatus = pfnGetPorts(hAdapter, pPorts);
                                 if (ulStatus == HBA_STATUS_OK || ulStatus == HBA_STATUS_ERROR_MORE_DATA)
                                     ulCount = pPorts->NumberOfEntries;
                                 return ulStatus;
                             }));
}

LONG CHBAAPIInt::GetPortsCount(HBA_HANDLE hAdapter) {
    CQelTracedResult traced(L"CHBAAPIInt::GetPortsCount", LONG{0});

    const CQelVendorLock lock(L"CHBAAPIInt::GetVportCount failed to acquire Mutex");
    if (!lock.IsAcquired())
        return traced(0);
    const VendorBinding binding = GetBinding();
    const auto found = binding.FindExport(VendorExports::ORVAN_GetFCPortList);
    if (!CanCall(found, {.pszNotConverted = L"CHBAAPIInt::GetVportCount ConvertTCHARToChar failed"}))
        return traced(0);
    // The call is made for the count alone: one entry is room enough, and too little room is as good an answer.
    const CQelAllocation<ORVAN_FC_PORT_LIST> list(
        static_cast<ORVAN_FC_PORT_LIST*>(std::calloc(1, sizeof(ORVAN_FC_PORT_LIST))));
    if (!list)
        return traced(0);
    list.Get()->NumberOfEntries = 1;
    const HBA_STATUS ulStatus = found.pfn(hAdapter, list.Get());
    const bool bCounted = ulStatus == HBA_STATUS_OK || ulStatus == HBA_STATUS_ERROR_MORE_DATA;
    return traced(bCounted ? static_cast<LONG>(list.Get()->NumberOfEntries) : 0);
}

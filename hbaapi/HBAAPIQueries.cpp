// Adapter and port queries.
#include "hbaapi/HBAAPIInt.h"

#include "Common/Src/Helper.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/VendorCall.h"

namespace {

// The only port of an adapter that is ever asked for.
constexpr HBA_UINT32 PORT_INDEX = 0;

BOOL IsForced(const wchar_t* pszSetting) {
    ULONG ulValue = 0;
    return CHelper().IsSettingDebugable(pszSetting, ulValue) && ulValue == 1;
}

struct ListCallKind {
    const wchar_t* pszNullList;
    const wchar_t* pszBefore; // %d is the handle, but for the target mapping the controller number
    VendorCallKind call;
};

// One list read. find() looks the function up.
template <class List, class Find>
BOOL CallListFunction(HBA_HANDLE hAdapter, List* pList, BOOL& bMoreData, ULONG& ulCount, ULONG ulLoggedNumber,
                      const ListCallKind& kind, Find find) {
    ulCount = 0;
    bMoreData = FALSE;
    if (!pList) {
        QEL_PRINT(kind.pszNullList);
        return FALSE;
    }
    return CallVendor(find(), kind.call, [&](auto pfnGetList) {
        QEL_PRINT(kind.pszBefore, ulLoggedNumber);
        const HBA_STATUS ulStatus = pfnGetList(hAdapter, pList);
        bMoreData = ulStatus == HBA_STATUS_ERROR_MORE_DATA && pList->NumberOfEntries != 0;
        if (bMoreData || ulStatus == HBA_STATUS_OK)
            ulCount = pList->NumberOfEntries;
        return ulStatus;
    });
}

} // namespace

// The three reads below succeed without a call while no table is registered: hosts show an adapter without its details
// rather than none.

BOOL CHBAAPIInt::GetAdapterAtrributes(HBA_HANDLE hAdapter, HBA_ADAPTERATTRIBUTES& attributes) {
    CQelTracedResult traced(L"CHBAAPIInt::GetAdapterAtrributes", TRUE);

    const VendorBinding binding = GetBinding();
    return traced(CallVendor(binding.FindHandler(&HBA_ENTRYPOINTSV2::GetAdapterAttributesHandler),
                             {.pszLastError = L"CHBAAPIInt::GetAdapterAtrributes failed with error: %d",
                              .pszSucceeded = L"CHBAAPIInt::GetAdapterAtrributes succeeded",
                              .bWithoutFunction = TRUE},
                             [&](auto pfnGetAttributes) { return pfnGetAttributes(hAdapter, &attributes); }));
}

BOOL CHBAAPIInt::GetAdapterPortAttributes(HBA_HANDLE hAdapter, HBA_PORTATTRIBUTES& attributes) {
    CQelTracedResult traced(L"CHBAAPIInt::GetAdapterPortAttributes", TRUE);

    const VendorBinding binding = GetBinding();
    return traced(
        CallVendor(binding.FindHandler(&HBA_ENTRYPOINTSV2::GetAdapterPortAttributesHandler),
                   {.pszMissing = L"m_bEntryPtsInited is false",
                    .pszFailed = L"GetAdapterPortAttributesHandler Failed - Status = %d",
                    .pszLastError = L"CHBAAPIInt::GetAdapterPortAttributesHandler failed with error: %d",
                    .pszSucceeded = L"CHBAAPIInt::GetAdapterPortAttributesHandler succeeded",
                    .bWithoutFunction = TRUE},
                   [&](auto pfnGetAttributes) { return pfnGetAttributes(hAdapter, PORT_INDEX, &attributes); }));
}

BOOL CHBAAPIInt::GetPortStatistics(HBA_HANDLE hAdapter, HBA_PORTSTATISTICS& statistics) {
    CQelTracedResult traced(L"CHBAAPIInt::GetPortStatistics", TRUE);

    statistics = {};
    const VendorBinding binding = GetBinding();
    if (!CallVendor(binding.FindHandler(&HBA_ENTRYPOINTSV2::GetPortStatisticsHandler),
                    {.pszLastError = L"CHBAAPIInt::GetPortStatistics failed with error: %d",
                     .pszSucceeded = L"CHBAAPIInt::GetPortStatistics succeeded",
                     .bWithoutFunction = TRUE},
                    [&](auto pfnGetStatistics) { return pfnGetStatistics(hAdapter, PORT_INDEX, &statistics); })) {
        statistics = {}; // never partial counters
        return traced(FALSE);
    }
    return traced(TRUE);
}

BOOL CHBAAPIInt::GetFCEthernetProperties(HBA_HANDLE hAdapter, ORVAN_FC_NIC_PROPERTIES* pProperties) {
    CQelTracedResult traced(L"CHBAAPIInt::GetFCEthernetProperties", TRUE);

    if (!pProperties)
        return traced(FALSE);
    const VendorBinding binding = GetBinding();
    // Also of a library that is not ready.
    const auto found = binding.FindExport(VendorExports::ORVAN_GetFCAndNICProperties);
    if (found.eState == FunctionState::NotConverted)
        return traced(FALSE); // nothing is forced then
    BOOL bDone = traced(CallVendor(found,
                                   {.pszMissing = L"GetFCEthernetProperties GetProcAddress failed",
                                    .pszFailed = L"GetFCEthernetProperties failed",
                                    .pszSucceeded = L"GetFCEthernetProperties Succeeded",
                                    .bWithoutFunction = TRUE},
                                   [&](auto pfnGetProperties) { return pfnGetProperties(hAdapter, pProperties); }));

    // Support overrides: they set their flag, and make a success of a failed call.
    if (IsForced(L"FcoE_RemoteBooted")) {
        QEL_PRINT(L"Forcing QEL_SETTING_CHECK_FCOE_REMOTE_BOOTED TRUE");
        pProperties->Flags |= ORVAN_FLAG_REMOTE_BOOTED;
        bDone = traced(TRUE);
    }
    if (IsForced(L"FcoE_RemotePageFile")) {
        QEL_PRINT(L"Forcing QEL_SETTING_CHECK_FCOE_REMOTE_PAGE_FILE TRUE");
        pProperties->Flags |= ORVAN_FLAG_REMOTE_PAGE_FILE;
        bDone = traced(TRUE);
    }
    return traced(bDone);
}

BOOL CHBAAPIInt::GetTargetsInfo(HBA_HANDLE hAdapter, HBA_FCPTARGETMAPPING* pTargetsInfo, BOOL& bMoreData,
                                ULONG& ulCount) {
    static constexpr ListCallKind KIND = {
        .pszNullList = L"CHBAAPIInt::GetTargetsInfo pTargetsInfo = NULL",
        .pszBefore = L"CHBAAPIInt::GetTargetsInfo Before calling GetFcpTargetMappingHandler %d",
        .call = {.pszMoreData = L"CHBAAPIInt::GetFcpTargetMappingHandler failed with more data available",
                 .pszFailed = L"CHBAAPIInt::GetFcpTargetMappingHandler failed with error - %d",
                 .pszSucceeded = L"CHBAAPIInt::GetFcpTargetMappingHandler Succeeded"}};
    CQelTracedResult traced(L"CHBAAPIInt::GetTargetsInfo", FALSE);

    const VendorBinding binding = GetBinding();
    return traced(CallListFunction(hAdapter, pTargetsInfo, bMoreData, ulCount, m_ulController, KIND, [&] {
        return binding.FindHandler(&HBA_ENTRYPOINTSV2::GetFcpTargetMappingHandler);
    }));
}

BOOL CHBAAPIInt::GetTargetList(HBA_HANDLE hAdapter, ORVAN_TARGET_LIST* pTargetList, BOOL& bMoreData, ULONG& ulCount) {
    static constexpr ListCallKind KIND = {
        .pszNullList = L"CHBAAPIInt::GetTargetList pTargetList = NULL",
        .pszBefore = L"CHBAAPIInt::GetTargetList Before calling GetTargetList %d",
        .call = {.pszMissing = L"CHBAAPIInt::GetTargetList pFnGetTargetList == NULL",
                 .pszMoreData = L"CHBAAPIInt::GetTargetList failed with more data available",
                 .pszFailed = L"CHBAAPIInt::GetTargetList failed with error - %d",
                 .pszSucceeded = L"CHBAAPIInt::GetTargetList Succeeded"}};
    CQelTracedResult traced(L"CHBAAPIInt::GetTargetList", FALSE);

    const VendorBinding binding = GetBinding();
    return traced(CallListFunction(hAdapter, pTargetList, bMoreData, ulCount, hAdapter, KIND,
                                   [&] { return binding.FindReadyExport(VendorExports::ORVAN_GetTargetList); }));
}

BOOL CHBAAPIInt::GetVLANList(HBA_HANDLE hAdapter, ORVAN_VLAN_LIST* pVLANList, BOOL& bMoreData, ULONG& ulCount) {
    static constexpr ListCallKind KIND = {
        .pszNullList = L"CHBAAPIInt::GetVLANList pVLANList = NULL",
        .pszBefore = L"CHBAAPIInt::GetVLANList Before calling pFnVlanIdList Handle - %d",
        .call = {.pszMissing = L"CHBAAPIInt::GetVLANList pFnVlanIdList == NULL",
                 .pszMoreData = L"CHBAAPIInt::GetVlanIdList failed with more data available",
                 .pszFailed = L"CHBAAPIInt::GetVlanIdList failed with error - %d",
                 .pszSucceeded = L"CHBAAPIInt::GetVlanIdList Succeeded"}};
    CQelTracedResult traced(L"CHBAAPIInt::GetVLANList", FALSE);

    const VendorBinding binding = GetBinding();
    return traced(CallListFunction(hAdapter, pVLANList, bMoreData, ulCount, hAdapter, KIND,
                                   [&] { return binding.FindReadyExport(VendorExports::ORVAN_GetVlanIdList); }));
}

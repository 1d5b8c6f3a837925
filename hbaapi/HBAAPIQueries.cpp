// Adapter and port queries.
#include "hbaapi/HBAAPIInt.h"

#include "Common/Src/Helper.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/VendorBinding.h"

namespace {

// The only port of an adapter that is ever asked for.
constexpr HBA_UINT32 PORT_INDEX = 0;

BOOL IsForced(const wchar_t* pszSetting) {
    ULONG ulValue = 0;
    return CHelper().IsSettingDebugable(pszSetting, ulValue) && ulValue == 1;
}

struct LIST_MESSAGES {
    const wchar_t* pszNullList;
    const wchar_t* pszMissing; // null: a missing function is not worth a line
    const wchar_t* pszBefore;  // %d is the handle, but for the target mapping the controller number
    const wchar_t* pszMoreData;
    const wchar_t* pszError; // %d is the status
    const wchar_t* pszSuccess;
};

constexpr LIST_MESSAGES TARGETS_INFO_MESSAGES = {
    L"CHBAAPIInt::GetTargetsInfo pTargetsInfo = NULL",
    nullptr,
    L"CHBAAPIInt::GetTargetsInfo Before calling GetFcpTargetMappingHandler %d",
    L"CHBAAPIInt::GetFcpTargetMappingHandler failed with more data available",
    L"CHBAAPIInt::GetFcpTargetMappingHandler failed with error - %d",
    L"CHBAAPIInt::GetFcpTargetMappingHandler Succeeded",
};

constexpr LIST_MESSAGES TARGET_LIST_MESSAGES = {
    L"CHBAAPIInt::GetTargetList pTargetList = NULL",
    L"CHBAAPIInt::GetTargetList pFnGetTargetList == NULL",
    L"CHBAAPIInt::GetTargetList Before calling GetTargetList %d",
    L"CHBAAPIInt::GetTargetList failed with more data available",
    L"CHBAAPIInt::GetTargetList failed with error - %d",
    L"CHBAAPIInt::GetTargetList Succeeded",
};

constexpr LIST_MESSAGES VLAN_LIST_MESSAGES = {
    L"CHBAAPIInt::GetVLANList pVLANList = NULL",
    L"CHBAAPIInt::GetVLANList pFnVlanIdList == NULL",
    L"CHBAAPIInt::GetVLANList Before calling pFnVlanIdList Handle - %d",
    L"CHBAAPIInt::GetVlanIdList failed with more data available",
    L"CHBAAPIInt::GetVlanIdList failed with error - %d",
    L"CHBAAPIInt::GetVlanIdList Succeeded",
};

// One list read. find(pfn) yields the function, null when the library has none; false ends the read without a line.
template <class List, class Find>
BOOL ReadList(HBA_HANDLE hAdapter, List* pList, BOOL& bMoreData, ULONG& ulCount, ULONG ulLoggedNumber,
              const LIST_MESSAGES& messages, Find find) {
    ulCount = 0;
    bMoreData = FALSE;
    if (!pList) {
        QEL_PRINT(messages.pszNullList);
        return FALSE;
    }
    HBA_STATUS (*pfnGetList)(HBA_HANDLE, List*) = nullptr;
    if (!find(pfnGetList))
        return FALSE;
    if (!pfnGetList) {
        if (messages.pszMissing)
            QEL_PRINT(messages.pszMissing);
        return FALSE;
    }
    QEL_PRINT(messages.pszBefore, ulLoggedNumber);
    const HBA_STATUS ulStatus = pfnGetList(hAdapter, pList);
    if (ulStatus == HBA_STATUS_ERROR_MORE_DATA) {
        QEL_PRINT(messages.pszMoreData);
        if (pList->NumberOfEntries != 0) {
            bMoreData = TRUE;
            ulCount = pList->NumberOfEntries;
        }
        return FALSE;
    }
    if (ulStatus != HBA_STATUS_OK) {
        QEL_PRINT(messages.pszError, ulStatus);
        return FALSE;
    }
    ulCount = pList->NumberOfEntries;
    QEL_PRINT(messages.pszSuccess);
    return TRUE;
}

} // namespace

// The three reads below succeed without a call while no table is registered: hosts show an adapter without its details
// rather than none.

BOOL CHBAAPIInt::GetAdapterAtrributes(HBA_HANDLE hAdapter, HBA_ADAPTERATTRIBUTES& attributes) {
    CQelTracedResult traced(L"CHBAAPIInt::GetAdapterAtrributes", TRUE);

    const Binding pBinding = GetBinding();
    const auto pfnGetAttributes = pBinding->Handler(&HBA_ENTRYPOINTSV2::GetAdapterAttributesHandler);
    if (!pfnGetAttributes)
        return traced(TRUE);
    if (pfnGetAttributes(hAdapter, &attributes) != HBA_STATUS_OK) {
        const DWORD dwError = GetLastError();
        QEL_PRINT(L"CHBAAPIInt::GetAdapterAtrributes failed with error: %d", dwError);
        return traced(FALSE);
    }
    QEL_PRINT(L"CHBAAPIInt::GetAdapterAtrributes succeeded");
    return traced(TRUE);
}

BOOL CHBAAPIInt::GetAdapterPortAttributes(HBA_HANDLE hAdapter, HBA_PORTATTRIBUTES& attributes) {
    CQelTracedResult traced(L"CHBAAPIInt::GetAdapterPortAttributes", TRUE);

    const Binding pBinding = GetBinding();
    const auto pfnGetAttributes = pBinding->Handler(&HBA_ENTRYPOINTSV2::GetAdapterPortAttributesHandler);
    if (!pfnGetAttributes) {
        QEL_PRINT(L"m_bEntryPtsInited is false");
        return traced(TRUE);
    }
    const HBA_STATUS ulStatus = pfnGetAttributes(hAdapter, PORT_INDEX, &attributes);
    if (ulStatus != HBA_STATUS_OK) {
        const DWORD dwError = GetLastError();
        QEL_PRINT(L"GetAdapterPortAttributesHandler Failed - Status = %d", ulStatus);
        QEL_PRINT(L"CHBAAPIInt::GetAdapterPortAttributesHandler failed with error: %d", dwError);
        return traced(FALSE);
    }
    QEL_PRINT(L"CHBAAPIInt::GetAdapterPortAttributesHandler succeeded");
    return traced(TRUE);
}

BOOL CHBAAPIInt::GetPortStatistics(HBA_HANDLE hAdapter, HBA_PORTSTATISTICS& statistics) {
    CQelTracedResult traced(L"CHBAAPIInt::GetPortStatistics", TRUE);

    statistics = {};
    const Binding pBinding = GetBinding();
    const auto pfnGetStatistics = pBinding->Handler(&HBA_ENTRYPOINTSV2::GetPortStatisticsHandler);
    if (!pfnGetStatistics)
        return traced(TRUE);
    if (pfnGetStatistics(hAdapter, PORT_INDEX, &statistics) != HBA_STATUS_OK) {
        const DWORD dwError = GetLastError();
        QEL_PRINT(L"CHBAAPIInt::GetPortStatistics failed with error: %d", dwError);
        statistics = {}; // never partial counters
        return traced(FALSE);
    }
    QEL_PRINT(L"CHBAAPIInt::GetPortStatistics succeeded");
    return traced(TRUE);
}

BOOL CHBAAPIInt::GetFCEthernetProperties(HBA_HANDLE hAdapter, ORVAN_FC_NIC_PROPERTIES* pProperties) {
    CQelTracedResult traced(L"CHBAAPIInt::GetFCEthernetProperties", TRUE);

    if (!pProperties)
        return traced(FALSE);
    const Binding pBinding = GetBinding();
    decltype(&ORVAN_GetFCAndNICProperties) pfnGetProperties = nullptr;
    if (!pBinding->FindExport(L"ORVAN_GetFCAndNICProperties", pfnGetProperties))
        return traced(FALSE);

    BOOL bDone = TRUE;
    if (!pfnGetProperties) {
        QEL_PRINT(L"GetFCEthernetProperties GetProcAddress failed");
    } else if (pfnGetProperties(hAdapter, pProperties) != HBA_STATUS_OK) {
        QEL_PRINT(L"GetFCEthernetProperties failed");
        bDone = traced(FALSE);
    } else {
        QEL_PRINT(L"GetFCEthernetProperties Succeeded");
    }

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
    CQelTracedResult traced(L"CHBAAPIInt::GetTargetsInfo", FALSE);

    const Binding pBinding = GetBinding();
    const auto Find = [&](auto& pfnGetList) {
        pfnGetList = pBinding->Handler(&HBA_ENTRYPOINTSV2::GetFcpTargetMappingHandler);
        return true;
    };
    return traced(
        ReadList(hAdapter, pTargetsInfo, bMoreData, ulCount, pBinding->m_ulController, TARGETS_INFO_MESSAGES, Find));
}

BOOL CHBAAPIInt::GetTargetList(HBA_HANDLE hAdapter, ORVAN_TARGET_LIST* pTargetList, BOOL& bMoreData, ULONG& ulCount) {
    CQelTracedResult traced(L"CHBAAPIInt::GetTargetList", FALSE);

    const Binding pBinding = GetBinding();
    const auto Find = [&](auto& pfnGetList) {
        return !pBinding->IsReady() || pBinding->FindExport(L"ORVAN_GetTargetList", pfnGetList);
    };
    return traced(ReadList(hAdapter, pTargetList, bMoreData, ulCount, hAdapter, TARGET_LIST_MESSAGES, Find));
}

BOOL CHBAAPIInt::GetVLANList(HBA_HANDLE hAdapter, ORVAN_VLAN_LIST* pVLANList, BOOL& bMoreData, ULONG& ulCount) {
    CQelTracedResult traced(L"CHBAAPIInt::GetVLANList", FALSE);

    const Binding pBinding = GetBinding();
    const auto Find = [&](auto& pfnGetList) {
        return !pBinding->IsReady() || pBinding->FindExport(L"ORVAN_GetVlanIdList", pfnGetList);
    };
    return traced(ReadList(hAdapter, pVLANList, bMoreData, ulCount, hAdapter, VLAN_LIST_MESSAGES, Find));
}

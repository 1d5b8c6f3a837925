#include "model/FcoeVLAN.h"

#include <algorithm>
#include <utility>

#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/ListRead.h"
#include "model/ResourceText.h"

namespace {

constexpr ULONG STATE_ACTIVE = 1;

constexpr CQelListKind<ORVAN_VLAN_LIST> VLAN_LIST = {
    .pfnRead = &CHBAAPIInt::GetVLANList,
    .ullEntrySize = 8, // more than an entry takes: buffers have always had this size
    .bEmptyList = false,
    .pszProbeFailed = L"GetVLANList() failed Input No of vlans = %d, dwNoOfVlans = %d",
    .pszNoMemoryForAll = L"Memory Allocation failed - pVlanList.",
    .pszRetryFailed = L"GetVLANList() failed Inout No of Vlans = %d, dwNoOfVlans = %d",
    .pszSucceeded = L"GetVLANList() succeeded, dwNoOfVlans = %d",
    .pszNone = L"Looks like there are no Vlans found on this HBA",
    .nNoneLines = 1,
    .pszOne = L"Looks like there is only 1 Vlan",
    .pszNoMemoryForOne = L"Memory Allocation failed - m_pVlanList",
};

} // namespace

CQelFcoeVLAN::CQelFcoeVLAN(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                           ULONG ulEntry)
    : CQelFcoeBase(pLibrary, std::move(pNames), hAdapter) {
    const CQelDebugScope trace(L"CQelFcoeVLAN::CQelFcoeVLAN");
    SetupCache();
    QEL_FCOE_VLAN discarded;
    SetupVLAN(ulEntry, discarded);
}

CQelFcoeVLAN::~CQelFcoeVLAN() {
    const CQelDebugScope trace(L"CQelFcoeVLAN::~CQelFcoeVLAN");
}

void CQelFcoeVLAN::SetupCache() {
    const CQelDebugScope trace(L"CQelFcoeVLAN::SetupCache");
    m_cache.AddCache(CacheKey::VLAN_RECORD, CachePeriod::VLAN, Refresh<&CQelFcoeVLAN::GetVLAN_HBA>());
}

void CQelFcoeVLAN::SetupVLAN(ULONG ulEntry, QEL_FCOE_VLAN& vlan) {
    m_usVlanId = LOWORD(ulEntry);
    auto pRecord = std::make_shared<QEL_FCOE_VLAN>();
    pRecord->strName.FormatString(ResourceText<IDS_QEL_VLAN_FORMAT>(), m_usVlanId);
    pRecord->ulVlanId = m_usVlanId;
    pRecord->ulState = HIWORD(ulEntry);
    pRecord->strState =
        pRecord->ulState == STATE_ACTIVE ? ResourceText<IDS_QEL_ACTIVE>() : ResourceText<IDS_QEL_INACTIVE>();
    pRecord->strDeviceId = m_pNames->strName;
    pRecord->strSecondId = m_pNames->strSecondName;
    vlan = *pRecord;
    m_cache.AddCache(CacheKey::VLAN_RECORD, std::move(pRecord));
}

BOOL CQelFcoeVLAN::Get(QEL_FCOE_VLAN& vlan) const {
    CQelTracedResult traced(L"CQelFcoeVLAN::Get", FALSE);
    return traced(CopyCached(CacheKey::VLAN_RECORD, vlan));
}

void CQelFcoeVLAN::GetVLAN_HBA(QEL_FCOE_VLAN& vlan) {
    CQelAllocation<ORVAN_VLAN_LIST> list;
    if (GetVlansList_HBA(m_pLibrary, GetHandle(), *list.Put()) == 0)
        return;
    const auto entries = ListEntries(list.Get());
    const auto it = std::ranges::find(entries, m_usVlanId, [](ULONG ulEntry) { return LOWORD(ulEntry); });
    if (it != entries.end())
        SetupVLAN(*it, vlan);
}

ULONG CQelFcoeVLAN::GetVlansList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_VLAN_LIST*& pList) {
    CQelTracedResult traced(L"CQelFcoeVLAN::GetVlansList_HBA", LONG{0});
    auto result = ReadList(pLibrary, hAdapter, VLAN_LIST);
    pList = result.list.Release();
    return static_cast<ULONG>(traced(static_cast<LONG>(result.ulCount)));
}

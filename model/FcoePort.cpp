#include "model/FcoePort.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/ListRead.h"
#include "model/ResourceText.h"
#include "model/WwnText.h"

namespace {

// Of an entry that the library left as it was. It has this for a port type, too, and so belongs to no fabric.
constexpr int UNFILLED = 0xFF;

} // namespace

CQelFcoePort::CQelFcoePort(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                           const CQelString& strFabricName, const ORVAN_FC_PORT& entry)
    : CQelFcoeBase(pLibrary, std::move(pNames), hAdapter), m_strFabricName(strFabricName) {
    const CQelDebugScope trace(L"CQelFcoePort::CQelFcoePort");
    SetupCache();
    SetupPort(m_strFabricName, entry);
}

CQelFcoePort::~CQelFcoePort() {
    const CQelDebugScope trace(L"CQelFcoePort::~CQelFcoePort");
}

void CQelFcoePort::SetupCache() {
    const CQelDebugScope trace(L"CQelFcoePort::SetupCache");
    m_cache.AddCache(CacheKey::PORT_TARGETS, CachePeriod::LIST, Refresh<&CQelFcoePort::GetTargets_HBA>());
}

void CQelFcoePort::SetupPort(const CQelString& strFabricName, const ORVAN_FC_PORT& entry) {
    const CQelDebugScope trace(L"CQelFcoePort::SetupPort");
    auto pRecord = std::make_shared<QEL_FCOE_PORT>();
    pRecord->strNodeWWN = WwnText(entry.NodeWWN);
    pRecord->strPortWWN = WwnText(entry.PortWWN);
    pRecord->ulPortType = entry.PortType;
    // Type 1, too, shows as virtual: hosts know the kind text so.
    pRecord->strKind =
        entry.PortType == TYPE_PHYSICAL ? ResourceText<IDS_QEL_PHYSICAL_PORT>() : ResourceText<IDS_QEL_VIRTUAL_PORT>();
    pRecord->ulWordA = entry.WordA;
    pRecord->ulWordB = entry.WordB;
    pRecord->strDeviceId = m_pNames->strName;
    pRecord->strSecondId = m_pNames->strSecondName;
    pRecord->strWWN3 = WwnText(entry.Identifier[0]);
    pRecord->strFabricName = strFabricName;
    m_cache.AddCache(CacheKey::PORT_RECORD, std::move(pRecord));
}

BOOL CQelFcoePort::Get(QEL_FCOE_PORT& port) const {
    CQelTracedResult traced(L"CQelFcoePort::Get", FALSE);
    return traced(CopyCached(CacheKey::PORT_RECORD, port));
}

BOOL CQelFcoePort::GetTargets(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) const {
    CQelTracedResult traced(L"CQelFcoePort::GetTargets", FALSE);
    return traced(AppendCached(CacheKey::PORT_TARGETS, vecTargets));
}

BOOL CQelFcoePort::GetTargets_HBA(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) const {
    CQelTracedResult traced(L"CQelFcoePort::GetTargets_HBA", TRUE);
    const HBA_HANDLE hAdapter = GetHandle();
    CQelAllocation<ORVAN_TARGET_LIST> list;
    if (!CQelFcoeTarget::GetTargetsList_HBA(m_pLibrary, hAdapter, *list.Put()) || ListEntries(list.Get()).empty())
        return traced(TRUE);
    QEL_FCOE_PORT port;
    if (!Get(port))
        return traced(FALSE);
    const auto pPath = std::make_shared<const PortPath>(PortPath{port.strFabricName, port.strWWN3});
    for (const ORVAN_TARGET_ENTRY& entry : ListEntries(list.Get())) {
        if (entry.InitiatorPortType != port.ulPortType ||
            (port.ulPortType == TYPE_VIRTUAL_ADDRESSED && entry.FcId != port.ulWordB) ||
            !HasText(entry.InitiatorPortWWN, port.strPortWWN))
            continue;
        vecTargets.push_back(std::make_shared<CQelFcoeTarget>(m_pLibrary, m_pNames, hAdapter, pPath, entry));
    }
    return traced(TRUE);
}

LONG CQelFcoePort::GetPortsList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_FC_PORT_LIST*& pList) {
    CQelTracedResult traced(L"CQelFcoePort::GetPortsList_HBA", LONG{0});
    pList = nullptr;
    LONG lCount = traced(pLibrary->GetPortsCount(hAdapter));
    if (lCount < 1)
        return traced(lCount);
    const auto ulCapacity = static_cast<ULONG>(lCount);
    const ULONG64 ullSize = sizeof(ORVAN_FC_PORT_LIST) + (ulCapacity - 1ull) * sizeof(ORVAN_FC_PORT);
    if (ullSize <= UINT32_MAX)
        pList = static_cast<ORVAN_FC_PORT_LIST*>(std::malloc(ullSize));
    if (!pList)
        return traced(lCount);
    // The list is handed out even when the read fails: entries that the library leaves out must not look like ports.
    std::memset(pList->entry, UNFILLED, ulCapacity * sizeof(ORVAN_FC_PORT));
    pList->NumberOfEntries = ulCapacity;
    ULONG ulCount = 0;
    if (pLibrary->GetPorts(hAdapter, pList, ulCount))
        lCount = static_cast<LONG>(std::min(ulCount, ulCapacity));
    // Ports that were added since the count have no room in this buffer, though the library may count them.
    pList->NumberOfEntries = std::min<ULONG>(pList->NumberOfEntries, ulCapacity);
    return traced(lCount);
}

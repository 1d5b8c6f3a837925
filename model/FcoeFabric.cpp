#include "model/FcoeFabric.h"

#include <utility>

#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/Children.h"
#include "model/ListRead.h"
#include "model/ResourceText.h"
#include "model/WwnText.h"

namespace {

// Empty for a physical port whose word at offset 56 is 0, and for one of type 1.
CQelString FabricName(ULONG ulKind, const ORVAN_FC_PORT& entry) {
    CQelString strName;
    if (ulKind == CQelFcoeFabric::KIND_VIRTUAL)
        strName.FormatString(ResourceText<IDS_QEL_VIRTUAL_FABRIC_FORMAT>(), entry.Number);
    else if (entry.Word56 != 0 && entry.PortType == CQelFcoePort::TYPE_PHYSICAL)
        strName.FormatString(ResourceText<IDS_QEL_FABRIC_FORMAT>(), entry.Number);
    return strName;
}

} // namespace

std::optional<ULONG> CQelFcoeFabric::KindOf(const ORVAN_FC_PORT& port) {
    switch (port.PortType) {
    case CQelFcoePort::TYPE_PHYSICAL:
    case CQelFcoePort::TYPE_PHYSICAL_1:
        return KIND_PHYSICAL;
    case CQelFcoePort::TYPE_VIRTUAL:
    case CQelFcoePort::TYPE_VIRTUAL_ADDRESSED:
        return KIND_VIRTUAL;
    default:
        return std::nullopt;
    }
}

CQelFcoeFabric::CQelFcoeFabric(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                               const ORVAN_FC_PORT_LIST* pPorts, ULONG ulKind)
    : CQelFcoeBase(pLibrary, std::move(pNames), hAdapter) {
    const CQelDebugScope trace(L"CQelFcoeFabric::CQelFcoeFabric");
    {
        const CQelLockGuard guard(m_csLock);
        m_ulOpened = 1;
    }
    SetupFabric(hAdapter, pPorts, ulKind);
}

CQelFcoeFabric::~CQelFcoeFabric() {
    const CQelDebugScope trace(L"CQelFcoeFabric::~CQelFcoeFabric");
}

void CQelFcoeFabric::SetupFabric(HBA_HANDLE hAdapter, const ORVAN_FC_PORT_LIST* pPorts, ULONG ulKind) {
    auto pRecord = std::make_shared<QEL_FCOE_FABRIC>();
    pRecord->strDeviceId = m_pNames->strName;
    pRecord->strSecondId = m_pNames->strSecondName;
    if (ulKind == KIND_PHYSICAL)
        pRecord->strKind = ResourceText<IDS_QEL_PHYSICAL>();
    else if (ulKind == KIND_VIRTUAL)
        pRecord->strKind = ResourceText<IDS_QEL_VIRTUAL>();
    pRecord->ulKind = ulKind;

    auto pFabricPorts = std::make_shared<std::vector<std::shared_ptr<CQelFcoePort>>>();
    for (const ORVAN_FC_PORT& entry : ListEntries(pPorts)) {
        if (KindOf(entry) != ulKind)
            continue;
        // Entries that give no name leave their values, so the last of them shows when none names the fabric.
        if (pRecord->strName.empty()) {
            pRecord->strName = FabricName(ulKind, entry);
            pRecord->strWWN1 = WwnText(entry.Identifier[0]);
            pRecord->strWWN2 = WwnText(entry.Identifier[1]);
            pRecord->strWWN3 = WwnText(entry.Identifier[2]);
            pRecord->ulEntryWord = entry.Word56;
            pRecord->ulEntryByte = entry.Byte62;
            pRecord->ulNumber = entry.Number;
        }
        pFabricPorts->push_back(
            std::make_shared<CQelFcoePort>(m_pLibrary, m_pNames, hAdapter, pRecord->strName, entry));
    }
    m_cache.AddCache(CacheKey::FABRIC_PORTS, std::move(pFabricPorts));
    m_cache.AddCache(CacheKey::FABRIC_RECORD, std::move(pRecord));
}

BOOL CQelFcoeFabric::Get(QEL_FCOE_FABRIC& fabric) const {
    CQelTracedResult traced(L"CQelFcoeFabric::Get", FALSE);
    return traced(CopyCached(CacheKey::FABRIC_RECORD, fabric));
}

BOOL CQelFcoeFabric::GetPorts(std::vector<std::shared_ptr<CQelFcoePort>>& vecPorts) const {
    CQelTracedResult traced(L"CQelFcoeFabric::GetPorts", FALSE);
    return traced(AppendCached(CacheKey::FABRIC_PORTS, vecPorts));
}

BOOL CQelFcoeFabric::GetTargets(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) const {
    CQelTracedResult traced(L"CQelFcoeFabric::GetTargets", FALSE);
    std::vector<std::shared_ptr<CQelFcoePort>> vecPorts;
    return traced(AppendCached(CacheKey::FABRIC_PORTS, vecPorts) &&
                  AppendChildren<OfFailed::Nothing>(vecPorts, &CQelFcoePort::GetTargets, vecTargets));
}

BOOL CQelFcoeFabric::GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    CQelTracedResult traced(L"CQelFcoeFabric::GetLUNs", FALSE);
    std::vector<std::shared_ptr<CQelFcoeTarget>> vecTargets;
    return traced(GetTargets(vecTargets) &&
                  AppendChildren<OfFailed::Nothing>(vecTargets, &CQelFcoeTarget::GetLUNs, vecLUNs));
}

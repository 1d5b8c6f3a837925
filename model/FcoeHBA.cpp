#include "model/FcoeHBA.h"

#include <cstring>
#include <span>

#include "Common/Src/DCXServiceInterface.h"
#include "Common/Src/Owner.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/Children.h"
#include "model/FcoeFabric.h"
#include "model/FcoeLUN.h"
#include "model/FcoePort.h"
#include "model/FcoeTarget.h"
#include "model/FcoeVLAN.h"
#include "model/LinkStatus.h"
#include "model/ListRead.h"
#include "model/PciSlot.h"
#include "model/WwnText.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"model\\FcoeHBA";

// The model as hosts know it: 256 divided by the first character's code is the capacity that the conversion gets, so of
// most models only the first two or three characters arrive. Hosts rely on that.
CQelString ModelText(const char (&szModel)[256]) {
    wchar_t szWide[260] = {};
    char szTerminated[sizeof szModel + 1] = {}; // a model that fills its array has no terminator
    std::memcpy(szTerminated, szModel, sizeof szModel);
    if (const auto byFirst = static_cast<unsigned char>(szModel[0]))
        CQelString::QelMultiByteToWideChar(CP_ACP, 0, szTerminated, -1, szWide, 256 / byFirst);
    return szWide;
}

} // namespace

CQelFcoeHBA::CQelFcoeHBA(CHBAAPIInt* pLibrary, const CQelString& strName, const CQelString& strSecondName)
    : CQelFcoeBase(pLibrary, std::make_shared<const AdapterNames>(AdapterNames{strSecondName, strName}), 0) {
    try {
        Open();
        SetupCache();
    } catch (...) {
        Close();
        throw;
    }
}

CQelFcoeHBA::~CQelFcoeHBA() {
    const CQelDebugScope trace(L"CQelFcoeHBA::~CQelFcoeHBA");
    Close();
}

void CQelFcoeHBA::Close() noexcept {
    const CQelLockGuard guard(m_csLock);
    m_ulOpened = 0;
    if (m_hAdapter == 0)
        return;
    try {
        m_pLibrary->CloseAdapHandle(m_hAdapter);
    } catch (...) {
        CQelDebug::Instance().Error(SOURCE_FILE, __LINE__, L"CQelFcoeHBA::Close() - Exception caught");
    }
}

HBA_HANDLE CQelFcoeHBA::Open() {
    const CQelDebugScope trace(L"CQelFcoeHBA::Open");
    const CQelLockGuard guard(m_csLock);
    if (m_hAdapter != 0) {
        m_pLibrary->CloseAdapHandle(m_hAdapter);
        m_hAdapter = 0;
    }
    CQelString strDevice;
    strDevice.FormatString(L"\\DEVICE\\%s", m_pNames->strName.c_str());
    wchar_t szAdapterName[CHBAAPIInt::NAME_SIZE] = {};
    HBA_HANDLE hAdapter = 0;
    // The library has no adapter whose device name is too long for its buffers.
    if (strDevice.size() < CHBAAPIInt::NAME_SIZE && m_pLibrary->InitHBAAPIMod(strDevice, TRUE, szAdapterName) &&
        m_pLibrary->GetAdapterHandle(szAdapterName, hAdapter)) {
        m_hAdapter = hAdapter; // first: from here on the handle has an owner
        m_strAdapterName = szAdapterName;
    }
    m_ulOpened = 1;
    return m_hAdapter;
}

CQelString CQelFcoeHBA::GetAdapterName() const {
    const CQelLockGuard guard(m_csLock);
    return m_strAdapterName;
}

template <class Work> void CQelFcoeHBA::ForEachCachedValue(Work work) {
    work(CacheKey::HBA_RECORD, Refresh<&CQelFcoeHBA::GetHBA>());
    work(CacheKey::HBA_FABRICS, Refresh<&CQelFcoeHBA::GetFabrics_HBA>());
    work(CacheKey::HBA_VLANS, Refresh<&CQelFcoeHBA::GetVLANs_HBA>());
    work(CacheKey::HBA_LUNS, Refresh<&CQelFcoeHBA::GetLUNs_HBA>());
}

void CQelFcoeHBA::SetupCache() {
    const CQelDebugScope trace(L"CQelFcoeHBA::SetupCache");
    ForEachCachedValue([this](auto key, auto refresh) { m_cache.AddCache(key, CachePeriod::LIST, refresh); });
}

void CQelFcoeHBA::InvalidateCache() {
    const CQelDebugScope trace(L"CQelFcoeHBA::InvalidateCache");
    const CQelLockGuard guard(m_csLock);
    ForEachCachedValue([this](auto key, auto) { m_cache.Invalidate(key); });
}

BOOL CQelFcoeHBA::Get(QEL_FCOE_HBA& record) {
    CQelTracedResult traced(L"CQelFcoeHBA::Get", FALSE);
    return traced(CopyCached(CacheKey::HBA_RECORD, record));
}

BOOL CQelFcoeHBA::GetFabrics(std::vector<std::shared_ptr<CQelFcoeFabric>>& vecFabrics) {
    CQelTracedResult traced(L"CQelFcoeHBA::GetFabrics", FALSE);
    return traced(AppendCached(CacheKey::HBA_FABRICS, vecFabrics));
}

BOOL CQelFcoeHBA::GetVLANs(std::vector<std::shared_ptr<CQelFcoeVLAN>>& vecVLANs) {
    CQelTracedResult traced(L"CQelFcoeHBA::GetVLANs", FALSE);
    return traced(AppendCached(CacheKey::HBA_VLANS, vecVLANs));
}

BOOL CQelFcoeHBA::GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) {
    CQelTracedResult traced(L"CQelFcoeHBA::GetLUNs", FALSE);
    return traced(AppendCached(CacheKey::HBA_LUNS, vecLUNs));
}

BOOL CQelFcoeHBA::GetPorts(std::vector<std::shared_ptr<CQelFcoePort>>& vecPorts) {
    CQelTracedResult traced(L"CQelFcoeHBA::GetPorts", FALSE);
    std::vector<std::shared_ptr<CQelFcoeFabric>> vecFabrics;
    const BOOL bFabrics = traced(GetFabrics(vecFabrics));
    return traced(AppendChildren<OfFailed::Everything>(vecFabrics, &CQelFcoeFabric::GetPorts, vecPorts) && bFabrics);
}

BOOL CQelFcoeHBA::GetTargets(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) {
    CQelTracedResult traced(L"CQelFcoeHBA::GetTargets", FALSE);
    std::vector<std::shared_ptr<CQelFcoeFabric>> vecFabrics;
    const BOOL bFabrics = traced(GetFabrics(vecFabrics));
    return traced(AppendChildren<OfFailed::Everything>(vecFabrics, &CQelFcoeFabric::GetTargets, vecTargets) &&
                  bFabrics);
}

void CQelFcoeHBA::GetHBA(QEL_FCOE_HBA& record) {
    const CQelDebugScope trace(L"CQelFcoeHBA::GetHBA");
    record = {};
    const HBA_HANDLE hAdapter = Open();
    HBA_PORTATTRIBUTES portAttributes{};
    if (!m_pLibrary->GetAdapterPortAttributes(hAdapter, portAttributes)) {
        QEL_PRINT(L"ERROR calling GetAdapterPortAttributes");
        return;
    }
    HBA_ADAPTERATTRIBUTES adapterAttributes{};
    if (!m_pLibrary->GetAdapterAtrributes(hAdapter, adapterAttributes)) {
        QEL_PRINT(L"ERROR calling GetAdapterAtrributes");
        return;
    }
    record.strType.LoadCommonResString(IDS_QEL_FCOE_HBA);
    record.strDeviceId = m_pNames->strName;
    record.strSecondId = m_pNames->strSecondName;
    record.strAdapterName = GetAdapterName();

    PciSlot slot;
    GetPCISlotInfo(slot);
    CQelString strLocationFormat;
    strLocationFormat.LoadCommonResString(IDS_QEL_PCI_LOCATION_FORMAT);
    record.strPciLocation.FormatString(strLocationFormat, slot.Bus(), slot.Device(), slot.Function());

    record.strPortWWN = WwnText(portAttributes.PortWWN);
    record.strNodeWWN = WwnText(portAttributes.NodeWWN);
    record.ulPortFcId = portAttributes.PortFcId;
    record.strModel = ModelText(adapterAttributes.Model);
    record.strPortSpeed.LoadCommonResString(PortSpeedResource(portAttributes.PortSpeed));
    record.strFcoeLinkStatus.LoadCommonResString(GetLinkStatus(portAttributes.PortState));
}

// Only an online port is worth asking for: the client connects to another process.
UINT CQelFcoeHBA::GetLinkStatus(HBA_PORTSTATE ulPortState) const {
    if (ulPortState != HBA_PORTSTATE_ONLINE)
        return IDS_QEL_LINK_PORT_OFFLINE;
    QEL_RESULT result{0, 0};
    BYTE byDcbEnabled = 0;
    ULONG ulLinkStatus = DCB_LINK_UNKNOWN;
    CDCX_ServiceInterface client(m_pNames->strName, TRUE);
    if (client.IsInitialized())
        client.GetDCB_FcoeLinkStatus(result, byDcbEnabled, ulLinkStatus);
    return LinkStatusResource(result, byDcbEnabled != 0, ulLinkStatus);
}

void CQelFcoeHBA::GetFabrics_HBA(std::vector<std::shared_ptr<CQelFcoeFabric>>& vecFabrics) {
    const CQelDebugScope trace(L"CQelFcoeHBA::GetFabrics_HBA");
    vecFabrics.clear();
    const HBA_HANDLE hAdapter = Open();
    CQelAllocation<ORVAN_FC_PORT_LIST> list;
    const LONG lCount = CQelFcoePort::GetPortsList_HBA(m_pLibrary, hAdapter, *list.Put());
    if (lCount < 1 || !list)
        return;
    std::shared_ptr<CQelFcoeFabric> arrFabrics[2]; // by their kind
    // As many ports as were reported. A fabric takes its own from the list, by the list's count: after a read that
    // failed in part that can be another one.
    for (const ORVAN_FC_PORT& port : std::span(list.Get()->entry, static_cast<std::size_t>(lCount))) {
        const auto kind = CQelFcoeFabric::KindOf(port);
        // A port of type 1 belongs to the physical fabric, but makes none.
        if (!kind || port.PortType == CQelFcoePort::TYPE_PHYSICAL_1 || arrFabrics[*kind])
            continue;
        arrFabrics[*kind] = std::make_shared<CQelFcoeFabric>(m_pLibrary, m_pNames, hAdapter, list.Get(), *kind);
        if (arrFabrics[0] && arrFabrics[1])
            break;
    }
    for (auto& pFabric : arrFabrics)
        if (pFabric)
            vecFabrics.push_back(std::move(pFabric));
}

void CQelFcoeHBA::GetVLANs_HBA(std::vector<std::shared_ptr<CQelFcoeVLAN>>& vecVLANs) {
    const CQelDebugScope trace(L"CQelFcoeHBA::GetVLANs_HBA");
    vecVLANs.clear();
    const HBA_HANDLE hAdapter = Open();
    CQelAllocation<ORVAN_VLAN_LIST> list;
    const ULONG ulCount = CQelFcoeVLAN::GetVlansList_HBA(m_pLibrary, hAdapter, *list.Put());
    if (ulCount == 0 || !list)
        return;
    for (const HBA_UINT32 ulEntry : ListEntries(list.Get()))
        vecVLANs.push_back(std::make_shared<CQelFcoeVLAN>(m_pLibrary, m_pNames, hAdapter, ulEntry));
}

void CQelFcoeHBA::GetLUNs_HBA(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) {
    const CQelDebugScope trace(L"CQelFcoeHBA::GetLUNs_HBA");
    std::vector<std::shared_ptr<CQelFcoeFabric>> vecFabrics;
    GetFabrics(vecFabrics);
    AppendChildren<OfFailed::Everything>(vecFabrics, &CQelFcoeFabric::GetLUNs, vecLUNs);
}

BOOL CQelFcoeHBA::RefreshTargets() {
    CQelTracedResult traced(L"CQelFcoeHBA::RefreshTargets", FALSE);
    const BOOL bDone = m_pLibrary->RefreshTargetInfo(GetHandle());
    if (bDone)
        QEL_PRINT(L"CQelFcoeHBA::RefreshTargetInfo - successful");
    return traced(bDone);
}

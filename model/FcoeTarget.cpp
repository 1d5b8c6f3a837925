#include "model/FcoeTarget.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "FcoeAgent/QelDebug.h"
#include "model/ListRead.h"
#include "model/ScsiBuffers.h"
#include "model/WwnText.h"

namespace {

constexpr CQelListKind<ORVAN_TARGET_LIST> TARGET_LIST = {
    .pfnRead = &CHBAAPIInt::GetTargetList,
    .ullEntrySize = sizeof(ORVAN_TARGET_ENTRY),
    .bEmptyList = true,
    .pszProbeFailed = L"GetTargetList() failed Inout No of targets = %d, dwNoOfTargets = %d",
    .pszNoMemoryForAll = L"Memory Allocation failed - pTargetList.",
    .pszRetryFailed = L"GetTargetList() failed Inout No of targets = %d, dwNoOfTargets = %d",
    .pszSucceeded = L"GetTargetList() succeeded, dwNoOfTargets = %d",
    .pszNone = L"Looks like there are no targets found on this HBA",
    .nNoneLines = 2,
    .pszOne = L"Looks like there is only 1 target",
    .pszNoMemoryForOne = L"Memory Allocation failed - m_pTargetList",
};

constexpr HBA_UINT8 EVPD = 1;
constexpr HBA_UINT32 UNIT_SERIAL_NUMBER_PAGE = 0x80;
constexpr HBA_UINT32 STANDARD_PAGE = 0;

BOOL Inquire(CHBAAPIInt& library, HBA_HANDLE hAdapter, const HBA_WWN& port, HBA_UINT8 byEvpd, HBA_UINT32 ulPage,
             CQelScsiBuffers& buffers) {
    buffers.Clear();
    return library.RetrieveSCSIInfo(hAdapter, port, 0, byEvpd, ulPage, buffers.abyResponse, CQelScsiBuffers::SIZE,
                                    buffers.abySense, CQelScsiBuffers::SIZE);
}

// Unit serial number page: the length in byte 3, the text behind byte 3. Every byte is converted by itself, as if
// printed with "%c" and then converted: one that is no character of the system's code page is left out, as are nulls;
// blanks stay. ASCII is the same in every code page.
CQelString SerialNumber(const CQelScsiBuffers& buffers) {
    CQelString strSerial;
    strSerial.reserve(buffers.abyResponse[3]);
    for (int j = 0; j < buffers.abyResponse[3]; ++j) {
        const HBA_UINT8 by = buffers.abyResponse[4 + j];
        const char ch = static_cast<char>(by);
        wchar_t chWide = by;
        if (by >= 0x80 && CQelString::QelMultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, &ch, 1, &chWide, 1) < 1)
            continue;
        if (chWide != L'\0')
            strSerial.push_back(chWide);
    }
    return strSerial;
}

// Bytes as characters, whatever the code page, up to the first null: the text that the wide "%c%c%c%c%c%c%c%c" makes.
CQelString Vendor(const CQelScsiBuffers& buffers) {
    const HBA_UINT8* pbyVendor = buffers.abyResponse + 8;
    CQelString strVendor;
    strVendor.assign(pbyVendor, std::find(pbyVendor, pbyVendor + 8, HBA_UINT8{0}));
    return strVendor;
}

} // namespace

CQelFcoeTarget::CQelFcoeTarget(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                               std::shared_ptr<const PortPath> pPath, const ORVAN_TARGET_ENTRY& entry)
    : CQelFcoeBase(pLibrary, std::move(pNames), hAdapter), m_pPath(std::move(pPath)) {
    const CQelDebugScope trace(L"CQelFcoeTarget::CQelFcoeTarget");
    SetupCache();
    SetupTarget(hAdapter, entry);
}

CQelFcoeTarget::~CQelFcoeTarget() {
    const CQelDebugScope trace(L"CQelFcoeTarget::~CQelFcoeTarget");
}

void CQelFcoeTarget::SetupCache() {
    const CQelDebugScope trace(L"CQelFcoeTarget::SetupCache");
    m_cache.AddCache(CacheKey::TARGET_LUNS, CachePeriod::LIST, Refresh<&CQelFcoeTarget::GetLUNs_HBA>());
}

void CQelFcoeTarget::SetupTarget(HBA_HANDLE hAdapter, const ORVAN_TARGET_ENTRY& entry) {
    auto pData = std::make_shared<TargetData>(TargetData{entry, {}, {}});
    CQelScsiBuffers buffers;
    if (Inquire(*m_pLibrary, hAdapter, entry.PortWWN, EVPD, UNIT_SERIAL_NUMBER_PAGE, buffers))
        pData->strSerial = SerialNumber(buffers);
    if (Inquire(*m_pLibrary, hAdapter, entry.PortWWN, 0, STANDARD_PAGE, buffers))
        pData->strVendor = Vendor(buffers);
    m_cache.AddCache(CacheKey::TARGET_RECORD, std::move(pData));
}

BOOL CQelFcoeTarget::Get(QEL_FCOE_TARGET& target) const {
    CQelTracedResult traced(L"CQelFcoeTarget::Get", FALSE);
    std::shared_ptr<const TargetData> pData;
    if (!m_cache.Get(CacheKey::TARGET_RECORD, pData) || !pData)
        return traced(FALSE);
    const ORVAN_TARGET_ENTRY& entry = pData->entry;
    target.strNodeWWN = WwnText(entry.NodeWWN);
    target.strPortWWN = WwnText(entry.PortWWN);
    target.ulScsiBus = entry.ScsiBusNumber;
    target.ulScsiTarget = entry.ScsiTargetNumber;
    target.ulFcId = entry.FcId;
    target.ulNumber = entry.Number;
    target.strInitiatorPortWWN = WwnText(entry.InitiatorPortWWN);
    target.strOwningPortWWN = m_pPath->strOwningPortWWN;
    target.strFabricName = m_pPath->strFabricName;
    target.strDeviceId = m_pNames->strName;
    target.strSecondId = m_pNames->strSecondName;
    target.strVendor = pData->strVendor;
    target.strSerial = pData->strSerial;
    std::ranges::copy(entry.InitiatorPortWWN.wwn, target.byInitiatorPortWWN);
    target.ulPortType = entry.InitiatorPortType;
    return traced(TRUE);
}

BOOL CQelFcoeTarget::GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    CQelTracedResult traced(L"CQelFcoeTarget::GetLUNs", FALSE);
    return traced(GetLUNs_Cache(vecLUNs));
}

BOOL CQelFcoeTarget::GetLUNs_Cache(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    CQelTracedResult traced(L"CQelFcoeTarget::GetLUNs_Cache", FALSE);
    return traced(AppendCached(CacheKey::TARGET_LUNS, vecLUNs));
}

BOOL CQelFcoeTarget::GetLUNs_HBA(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    CQelTracedResult traced(L"CQelFcoeTarget::GetLUNs_HBA", TRUE);
    const HBA_HANDLE hAdapter = GetHandle();
    CQelAllocation<HBA_FCPTARGETMAPPING> mapping;
    if (!CQelFcoeLUN::GetLUNSList_HBA(m_pLibrary, hAdapter, *mapping.Put())) {
        QEL_PRINT(L"Unable to retrieve the LUNs List");
        return traced(TRUE);
    }
    QEL_FCOE_TARGET target;
    if (!Get(target)) {
        QEL_PRINT(L"ERROR:  Unable to retrieve the current target information");
        return traced(TRUE);
    }
    auto pPath = std::make_shared<TargetPath>(TargetPath{m_pPath, target.strPortWWN, {}, target.strInitiatorPortWWN});
    std::ranges::copy(target.byInitiatorPortWWN, pPath->initiatorPortWWN.wwn);
    for (const HBA_FCPSCSIENTRY& entry : ListEntries(mapping.Get())) {
        if (entry.ScsiId.ScsiBusNumber != target.ulScsiBus || entry.ScsiId.ScsiTargetNumber != target.ulScsiTarget ||
            entry.FcpId.FcId != target.ulFcId || !HasTextIgnoringCase(entry.FcpId.PortWWN, target.strPortWWN))
            continue;
        // A LUN is allocated by itself, unlike the other objects of the tree.
        vecLUNs.push_back(std::shared_ptr<CQelFcoeLUN>(new CQelFcoeLUN(m_pLibrary, m_pNames, hAdapter, pPath, entry)));
    }
    return traced(TRUE);
}

BOOL CQelFcoeTarget::GetTargetsList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_TARGET_LIST*& pList) {
    CQelTracedResult traced(L"CQelFcoeTarget::GetTargetsList_HBA", TRUE);
    if (pList) {
        QEL_PRINT(L"CFabricView::GetLUNList() Deleting m_pTargetInfo");
        std::free(pList);
        pList = nullptr;
    }
    auto result = ReadList(pLibrary, hAdapter, TARGET_LIST);
    pList = result.list.Release();
    return traced(result.bMemory);
}

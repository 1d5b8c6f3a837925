#include "model/FcoeTarget.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "FcoeAgent/QelDebug.h"
#include "model/ListRead.h"
#include "model/ScsiBuffers.h"
#include "model/WwnMatch.h"
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

constexpr HBA_UINT8 VPD = 1;
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
// blanks stay.
CQelString SerialNumber(const CQelScsiBuffers& buffers) {
    CQelString strSerial;
    strSerial.reserve(buffers.abyResponse[3]);
    for (int j = 0; j < buffers.abyResponse[3]; ++j) {
        const char ch = static_cast<char>(buffers.abyResponse[4 + j]);
        wchar_t chWide = L'\0';
        if (CQelString::QelMultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, &ch, 1, &chWide, 1) >= 1 &&
            chWide != L'\0')
            strSerial.push_back(chWide);
    }
    return strSerial;
}

CQelString Vendor(const CQelScsiBuffers& buffers) {
    const HBA_UINT8* pby = buffers.abyResponse + 8;
    CQelString strVendor;
    strVendor.assign(pby,
                     pby + 8); // as the wide "%c%c%c%c%c%c%c%c" has it: bytes as characters, whatever the code page
    return strVendor;
}

} // namespace

CQelFcoeTarget::CQelFcoeTarget(CHBAAPIInt* pLibrary, const CQelString& strName, const CQelString& strSecondName,
                               HBA_HANDLE hAdapter, const CQelString& strFabricName, const CQelString& strOwningPortWWN,
                               const ORVAN_TARGET_ENTRY& entry)
    : CQelFcoeBase(pLibrary, strName, strSecondName, hAdapter) {
    CQelDebugScope trace(L"CQelFcoeTarget::CQelFcoeTarget");
    SetupCache();
    SetupTarget(strFabricName, strOwningPortWWN, entry);
}

CQelFcoeTarget::~CQelFcoeTarget() {
    CQelDebugScope trace(L"CQelFcoeTarget::~CQelFcoeTarget");
}

void CQelFcoeTarget::SetupCache() {
    CQelDebugScope trace(L"CQelFcoeTarget::SetupCache");
    m_pCache->AddCache(
        CacheKey::TARGET_LUNS, CachePeriod::LIST,
        Refresh<CQelFcoeTarget, std::vector<std::shared_ptr<CQelFcoeLUN>>, &CQelFcoeTarget::GetLUNs_HBA>);
}

void CQelFcoeTarget::SetupTarget(const CQelString& strFabricName, const CQelString& strOwningPortWWN,
                                 const ORVAN_TARGET_ENTRY& entry) {
    auto pRecord = std::make_shared<QEL_FCOE_TARGET>();
    pRecord->strNodeWWN = WwnText(entry.NodeWWN);
    pRecord->strPortWWN = WwnText(entry.PortWWN);
    pRecord->ulScsiBus = entry.ScsiBusNumber;
    pRecord->ulScsiTarget = entry.ScsiTargetNumber;
    pRecord->ulFcId = entry.FcId;
    pRecord->ulNumber = entry.Number;
    pRecord->strInitiatorPortWWN = WwnText(entry.InitiatorPortWWN);
    pRecord->strOwningPortWWN = strOwningPortWWN;
    pRecord->strFabricName = strFabricName;
    pRecord->strDeviceId = m_strName;
    pRecord->strSecondId = m_strSecondName;
    std::ranges::copy(entry.InitiatorPortWWN.wwn, pRecord->byInitiatorPortWWN);
    pRecord->ulPortType = entry.InitiatorPortType;

    CQelScsiBuffers buffers;
    if (Inquire(*m_pLibrary, m_hAdapter, entry.PortWWN, VPD, UNIT_SERIAL_NUMBER_PAGE, buffers))
        pRecord->strSerial = SerialNumber(buffers);
    if (Inquire(*m_pLibrary, m_hAdapter, entry.PortWWN, 0, STANDARD_PAGE, buffers))
        pRecord->strVendor = Vendor(buffers);
    m_pCache->AddCache(CacheKey::TARGET_RECORD, std::move(pRecord));
}

BOOL CQelFcoeTarget::Get(QEL_FCOE_TARGET& target) const {
    BOOL bReturn = FALSE;
    CQelDebugScope trace(L"CQelFcoeTarget::Get", &bReturn);
    bReturn = CopyCached(CacheKey::TARGET_RECORD, target);
    return bReturn;
}

BOOL CQelFcoeTarget::GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    BOOL bReturn = FALSE;
    CQelDebugScope trace(L"CQelFcoeTarget::GetLUNs", &bReturn);
    bReturn = GetLUNs_Cache(vecLUNs);
    return bReturn;
}

BOOL CQelFcoeTarget::GetLUNs_Cache(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    BOOL bReturn = FALSE;
    CQelDebugScope trace(L"CQelFcoeTarget::GetLUNs_Cache", &bReturn);
    bReturn = AppendCached(CacheKey::TARGET_LUNS, vecLUNs);
    return bReturn;
}

BOOL CQelFcoeTarget::GetLUNs_HBA(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const {
    BOOL bReturn = TRUE;
    CQelDebugScope trace(L"CQelFcoeTarget::GetLUNs_HBA", &bReturn);
    CQelAllocation<HBA_FCPTARGETMAPPING> mapping;
    if (!CQelFcoeLUN::GetLUNSList_HBA(m_pLibrary, m_hAdapter, *mapping.Put())) {
        QEL_PRINT(L"Unable to retrieve the LUNs List");
        return bReturn;
    }
    QEL_FCOE_TARGET target;
    if (!Get(target)) {
        QEL_PRINT(L"ERROR:  Unable to retrieve the current target information");
        return bReturn;
    }
    HBA_WWN initiatorPortWWN;
    std::ranges::copy(target.byInitiatorPortWWN, initiatorPortWWN.wwn);
    CQelWwnMatch portWWN(target.strPortWWN, true);
    for (const HBA_FCPSCSIENTRY& entry : ListEntries(mapping.Get())) {
        if (entry.ScsiId.ScsiBusNumber != target.ulScsiBus || entry.ScsiId.ScsiTargetNumber != target.ulScsiTarget ||
            entry.FcpId.FcId != target.ulFcId || !portWWN.Matches(entry.FcpId.PortWWN))
            continue;
        // A LUN is allocated by itself, unlike the other objects of the tree.
        vecLUNs.push_back(std::shared_ptr<CQelFcoeLUN>(
            new CQelFcoeLUN(m_pLibrary, m_strName, m_strSecondName, m_hAdapter, target.strFabricName,
                            target.strOwningPortWWN, target.strPortWWN, initiatorPortWWN, entry)));
    }
    return bReturn;
}

BOOL CQelFcoeTarget::GetTargetsList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_TARGET_LIST*& pList) {
    BOOL bReturn = TRUE;
    CQelDebugScope trace(L"CQelFcoeTarget::GetTargetsList_HBA", &bReturn);
    if (pList) {
        QEL_PRINT(L"CFabricView::GetLUNList() Deleting m_pTargetInfo");
        std::free(pList);
        pList = nullptr;
    }
    auto result = ReadList(pLibrary, hAdapter, TARGET_LIST);
    pList = result.list.Release();
    bReturn = result.bMemory;
    return bReturn;
}

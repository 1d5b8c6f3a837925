#include "model/FcoeLUN.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "Common/Src/ProcessExit.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/DataUtil.h"
#include "model/ListRead.h"
#include "model/NumberFormat.h"
#include "model/ResourceText.h"
#include "model/ScsiBuffers.h"

namespace {

constexpr CQelListKind<HBA_FCPTARGETMAPPING> LUN_MAPPING = {
    .pfnRead = &CHBAAPIInt::GetTargetsInfo,
    .ullEntrySize = sizeof(HBA_FCPSCSIENTRY),
    .bEmptyList = true,
    .pszProbeFailed = L"GetLUNSList_HBA() failed Inout No of targets = %d, dwNoOfTargets = %d",
    .pszNoMemoryForAll = L"Memory Allocation failed - pTargetsInfo.",
    .pszRetryFailed = L"GetTargetsInfo() failed Inout No of targets = %d, dwNoOfTargets = %d",
    .pszSucceeded = L"GetTargetsInfo() succeeded, dwNoOfTargets = %d",
    .pszNone = L"Looks like there are no targets found on this HBA",
    .nNoneLines = 1,
    .pszOne = L"Looks like there is only 1 target",
    .pszNoMemoryForOne = L"Memory Allocation failed - m_pTargetsInfo",
};

// The library's text in the system's code page; it ends at the first null or with its array.
CQelString DeviceName(const char (&szName)[256]) {
    wchar_t szWide[260];
    const int nLength =
        CQelString::QelMultiByteToWideChar(CP_ACP, 0, szName, static_cast<int>(strnlen(szName, std::size(szName))),
                                           szWide, static_cast<int>(std::size(szWide)));
    CQelString strName;
    if (nLength > 0)
        strName.assign(szWide, nLength);
    return strName;
}

// What does not fit becomes the smallest number, as the processor's own conversion has it.
LONG64 Truncate(double dValue) {
    constexpr double TWO_TO_63 = 9223372036854775808.0;
    return dValue >= -TWO_TO_63 && dValue < TWO_TO_63 ? static_cast<LONG64>(dValue) : INT64_MIN;
}

// The number by a format of the common resources.
template <UINT uFormat> CQelString NumberText(LONG64 llValue) {
    static CQelLeftAtProcessEnd<CQelNumberFormat> format(ResourceText<uFormat>());
    return format.Get().Text(llValue);
}

CQelString CapacityText(double dBytes) {
    constexpr double KB = 1024.0, MB = KB * KB, GB = KB * MB, TB = KB * GB;
    if (dBytes < GB)
        return NumberText<IDS_QEL_SIZE_MB_FORMAT>(Truncate(dBytes / MB));
    if (dBytes < TB)
        return NumberText<IDS_QEL_SIZE_GB_FORMAT>(Truncate(dBytes / GB));
    return NumberText<IDS_QEL_SIZE_TB_FORMAT>(Truncate(dBytes / TB));
}

} // namespace

CQelFcoeLUN::CQelFcoeLUN(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                         std::shared_ptr<const TargetPath> pPath, const HBA_FCPSCSIENTRY& entry)
    : CQelFcoeBase(pLibrary, std::move(pNames), hAdapter), m_pPath(std::move(pPath)) {
    const CQelDebugScope trace(L"CQelFcoeLUN::CQelFcoeLUN");
    SetupLUN(hAdapter, entry);
}

CQelFcoeLUN::~CQelFcoeLUN() {
    const CQelDebugScope trace(L"CQelFcoeLUN::~CQelFcoeLUN");
}

void CQelFcoeLUN::SetupLUN(HBA_HANDLE hAdapter, const HBA_FCPSCSIENTRY& entry) {
    auto pData = std::make_shared<LunData>();
    pData->ulOsLun = entry.ScsiId.ScsiOSLun;
    pData->ulScsiBus = entry.ScsiId.ScsiBusNumber;
    pData->ulScsiTarget = entry.ScsiId.ScsiTargetNumber;
    pData->strOsDeviceName = DeviceName(entry.ScsiId.OSDeviceName);
    pData->strCapacity = ResourceText<IDS_QEL_UNKNOWN>();
    pData->strBlockSize = ResourceText<IDS_QEL_UNKNOWN>();
    ReadCapacity(hAdapter, entry.FcpId, *pData);
    m_cache.AddCache(CacheKey::LUN_RECORD, std::move(pData));
}

void CQelFcoeLUN::ReadCapacity(HBA_HANDLE hAdapter, const HBA_FCPID& unit, LunData& data) const {
    CQelScsiBuffers buffers;
    BOOL bRead = m_pLibrary->RetrieveLUNCapacityV2(hAdapter, m_pPath->initiatorPortWWN, unit.PortWWN, unit.FcpLun,
                                                   buffers.abyResponse, CQelScsiBuffers::SIZE, buffers.abySense,
                                                   CQelScsiBuffers::SIZE);
    if (!bRead)
        return;
    CDataUtil util;
    double dCapacity = 0;
    LONG64 llBlockSize = 0;
    LONG nResult = util.FormatLUNDataV2(buffers.abyResponse, 0, dCapacity, llBlockSize);
    if (nResult == CDataUtil::CAPACITY16_NEEDED) {
        buffers.Clear();
        bRead = m_pLibrary->RetrieveLUNCapacity16(hAdapter, unit.PortWWN, unit.FcpLun, buffers.abyResponse,
                                                  CQelScsiBuffers::SIZE, buffers.abySense, CQelScsiBuffers::SIZE);
    }
    if (bRead)
        nResult = util.FormatLUNData(buffers.abyResponse, 1, dCapacity, llBlockSize);
    if (nResult != CDataUtil::DONE) {
        QEL_PRINT(L"FormatLUNData() failed.  RES=0x%x", nResult);
        return;
    }
    data.strCapacity = CapacityText(dCapacity);
    data.strBlockSize = NumberText<IDS_QEL_SIZE_BYTES_FORMAT>(llBlockSize);
}

BOOL CQelFcoeLUN::Get(QEL_FCOE_LUN& lun) const {
    CQelTracedResult traced(L"CQelFcoeLUN::Get", FALSE);
    std::shared_ptr<const LunData> pData;
    if (!m_cache.Get(CacheKey::LUN_RECORD, pData) || !pData)
        return traced(FALSE);
    lun.ulOsLun = pData->ulOsLun;
    lun.ulScsiBus = pData->ulScsiBus;
    lun.ulScsiTarget = pData->ulScsiTarget;
    lun.ulReserved = 0;
    lun.strOsDeviceName = pData->strOsDeviceName;
    lun.strCapacity = pData->strCapacity;
    lun.strBlockSize = pData->strBlockSize;
    lun.strTargetPortWWN = m_pPath->strTargetPortWWN;
    lun.strOwningPortWWN = m_pPath->pPort->strOwningPortWWN;
    lun.strInitiatorPortWWN = m_pPath->strInitiatorPortWWN;
    lun.strFabricName = m_pPath->pPort->strFabricName;
    lun.strDeviceId = m_pNames->strName;
    lun.strSecondId = m_pNames->strSecondName;
    return traced(TRUE);
}

BOOL CQelFcoeLUN::GetLUNSList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, HBA_FCPTARGETMAPPING*& pMapping) {
    CQelTracedResult traced(L"CQelFcoeLUN::GetLUNSList_HBA", TRUE);
    if (pMapping) {
        QEL_PRINT(L"CQelFcoeLUN::GetLUNSList_HBA() Deleting pLunList");
        std::free(pMapping);
        pMapping = nullptr;
    }
    auto result = ReadList(pLibrary, hAdapter, LUN_MAPPING);
    pMapping = result.list.Release();
    return traced(result.bMemory);
}

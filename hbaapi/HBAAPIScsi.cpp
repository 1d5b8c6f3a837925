// SCSI commands and rescan.
#include "hbaapi/HBAAPIInt.h"

#include "FcoeAgent/QelDebug.h"
#include "hbaapi/VendorCall.h"

namespace {
constexpr int MAX_CAPACITY_RETRIES = 3;
constexpr HBA_UINT32 RESCAN_WHOLE_BUS = 0xFFFFFFFF;
} // namespace

BOOL CHBAAPIInt::RetrieveSCSIInfo(HBA_HANDLE hAdapter, HBA_WWN targetPort, HBA_UINT64 ullLun, HBA_UINT8 byEvpd,
                                  HBA_UINT32 ulPageCode, void* pRspBuf, HBA_UINT32 ulRspBufSize, void* pSenseBuf,
                                  HBA_UINT32 ulSenseBufSize) {
    CQelTracedResult traced(L"CHBAAPIInt::RetrieveSCSIInfo", TRUE);

    if (!pRspBuf || !pSenseBuf) {
        QEL_PRINT(L"CHBAAPIInt::RetrieveSCSIInfo pRspBuf or pSenseBuf invalid");
        return traced(FALSE);
    }
    const VendorBinding binding = GetBinding();
    return traced(CallVendor(binding.FindHandler(&HBA_ENTRYPOINTSV2::ScsiInquiryHandler),
                             {.pszFailed = L"RetrieveSCSIInfo - ScsiInquiryHandler failed",
                              .pszSucceeded = L"RetrieveSCSIInfo - ScsiInquiryHandler Succeeded",
                              .bWithoutFunction = TRUE}, // the caller finds an empty response
                             [&](auto pfnInquiry) {
                                 return pfnInquiry(hAdapter, targetPort, ullLun, byEvpd, ulPageCode, pRspBuf,
                                                   ulRspBufSize, pSenseBuf, ulSenseBufSize);
                             }));
}

BOOL CHBAAPIInt::RetrieveLUNCapacityV2(HBA_HANDLE hAdapter, HBA_WWN hbaPort, HBA_WWN targetPort, HBA_UINT64 ullLun,
                                       void* pRspBuf, HBA_UINT32 ulRspBufSize, void* pSenseBuf,
                                       HBA_UINT32 ulSenseBufSize) {
    const CQelDebugScope trace(L"CHBAAPIInt::RetrieveLUNCapacityV2");

    if (!pRspBuf || !pSenseBuf) {
        QEL_PRINT(L"CHBAAPIInt::RetrieveLUNCapacityV2 pRspBuf or pSenseBuf invalid");
        return FALSE;
    }
    const VendorBinding binding = GetBinding();
    // Straight from the table: what version 2 adds is called without a look at any flag, also while a stop waits.
    const auto pfnReadCapacity = binding.pLibrary->entryPoints.ScsiReadCapacityV2Handler;
    if (!pfnReadCapacity)
        return FALSE;

    // A unit attention reports itself once and is gone; a retry sees the sizes that the library wrote back.
    for (int nRetries = 0;; ++nRetries) {
        const HBA_STATUS ulStatus = pfnReadCapacity(hAdapter, hbaPort, targetPort, ullLun, pRspBuf, &ulRspBufSize,
                                                    nullptr, pSenseBuf, &ulSenseBufSize);
        if (ulStatus == HBA_STATUS_OK) {
            QEL_PRINT(L"RetrieveLUNCapacityV2 Succeeded");
            return TRUE;
        }
        QEL_PRINT(L"RetrieveLUNCapacityV2 failed - Status=%d", ulStatus);
        if (ulStatus != HBA_STATUS_SCSI_CHECK_CONDITION || nRetries == MAX_CAPACITY_RETRIES)
            return FALSE;
    }
}

BOOL CHBAAPIInt::RetrieveLUNCapacity16(HBA_HANDLE hAdapter, HBA_WWN targetPort, HBA_UINT64 ullLun, void* pRspBuf,
                                       HBA_UINT32 ulRspBufSize, void* pSenseBuf, HBA_UINT32 ulSenseBufSize) {
    CQelTracedResult traced(L"CHBAAPIInt::RetrieveLUNCapacity16", TRUE);

    if (!pRspBuf || !pSenseBuf) {
        QEL_PRINT(L"CHBAAPIInt::RetrieveLUNCapacity16 pRspBuf or pSenseBuf invalid");
        return traced(FALSE);
    }
    const VendorBinding binding = GetBinding();
    return traced(CallVendor(binding.FindReadyExport(VendorExports::ORVAN_SendReadCapacity16),
                             {.pszFailed = L"SendReadCapacity16 failed",
                              .pszSucceeded = L"SendReadCapacity16 Succeeded",
                              .bWithoutFunction = TRUE}, // callers judge the response
                             [&](auto pfnReadCapacity) {
                                 return pfnReadCapacity(hAdapter, targetPort, ullLun, pRspBuf, ulRspBufSize, pSenseBuf,
                                                        ulSenseBufSize);
                             }));
}

BOOL CHBAAPIInt::RefreshTargetInfo(HBA_HANDLE hAdapter) {
    const CQelDebugScope trace(L"CHBAAPIInt::RefreshTargetInfo");

    const VendorBinding binding = GetBinding();
    return CallVendor(binding.FindExport(VendorExports::ORVAN_RescanScsiBus), // also of a library that is not ready
                      {.pszFailed = L"CHBAAPIInt::RefreshTargetInfo failed with return code Status = %d",
                       .pszSucceeded = L"CHBAAPIInt::RefreshTargetInfo Succeeded",
                       .bWithoutFunction = TRUE},
                      [&](auto pfnRescan) { return pfnRescan(hAdapter, RESCAN_WHOLE_BUS); });
}

#include "model/DataUtil.h"

#include <bit>

#include "FcoeAgent/QelDebug.h"

namespace {

// Both numbers count as signed: an address from 2^63 on makes a negative capacity, and hosts know it as such.
double Capacity(ULONG64 ullAddress, ULONG64 ullBlockSize) {
    return static_cast<double>(static_cast<LONG64>(ullAddress)) *
           static_cast<double>(static_cast<LONG64>(ullBlockSize));
}

} // namespace

BOOL CDataUtil::DeriveCorrectBufSz(const BYTE* pbyRspBuf, ULONG64& ullValue, LONG nRspBufMSB, LONG lNoOfIterations) {
    CQelTracedResult traced(L"CDataUtil::DeriveCorrectBufSz", FALSE);
    // A field that ends at byte 0 is refused, too.
    if (!pbyRspBuf || lNoOfIterations < 1 || nRspBufMSB < 1 || lNoOfIterations - 1 > nRspBufMSB) {
        QEL_PRINT(L"CDataUtil::DeriveCorrectBufSz()");
        return traced(FALSE);
    }
    ullValue = 0;
    for (LONG k = 0; k < lNoOfIterations; ++k) {
        ullValue += static_cast<ULONG64>(pbyRspBuf[nRspBufMSB - k]) << (static_cast<ULONG>(k) * 8 % 64);
        QEL_PRINT(L"dwBuf = %lld", ullValue);
    }
    return traced(TRUE);
}

BOOL CDataUtil::DeriveCorrectBufSzV2(const BYTE* pbyRspBuf, ULONG64& ullValue, LONG lFirst, LONG lNoOfIterations) {
    CQelTracedResult traced(L"CDataUtil::DeriveCorrectBufSzV2", FALSE);
    if (!pbyRspBuf || lNoOfIterations < 1 || lFirst < 0) {
        // The log names the first reader for both.
        QEL_PRINT(L"CDataUtil::DeriveCorrectBufSz()");
        return traced(FALSE);
    }
    ullValue = 0;
    for (LONG j = 0; j < lNoOfIterations; ++j)
        ullValue = ullValue << 8 | pbyRspBuf[static_cast<ULONG>(lFirst) + static_cast<ULONG>(j)];
    return traced(TRUE);
}

LONG CDataUtil::FormatLUNData(const BYTE* pbyRspBuf, BYTE by16Byte, double& dCapacity, LONG64& llBlockSize) {
    CQelTracedResult traced(L"CDataUtil::FormatLUNData", DONE);
    dCapacity = 0;
    llBlockSize = 0;

    ULONG64 ullAddress = 0;
    QEL_PRINT(L"DeriveCorrectBufSz LBA nRspBufMSB = %d, NoOfIterations = %d", 3, 4);
    if (!DeriveCorrectBufSz(pbyRspBuf, ullAddress, 3, 4)) {
        QEL_PRINT(L"DeriveCorrectBufSz failed");
        return traced(DECODE_FAILED);
    }
    QEL_PRINT(L"dwLUNBuf = %llX", ullAddress);
    if (ullAddress == 0xFFFFFFFF && by16Byte == 0) {
        return traced(CAPACITY16_NEEDED);
    }
    if (by16Byte == 1) {
        ullAddress = 0;
        QEL_PRINT(L"DeriveCorrectBufSz LBA(16) nRspBufMSB = %d, NoOfIterations = %d", 7, 8);
        if (!DeriveCorrectBufSz(pbyRspBuf, ullAddress, 7, 8)) {
            QEL_PRINT(L"DeriveCorrectBufSz failed");
            return traced(DECODE_FAILED);
        }
    }

    const LONG nBlockSizeMSB = by16Byte ? 11 : 7;
    ULONG64 ullBlockSize = 0;
    QEL_PRINT(L"DeriveCorrectBufSz Allocation Length nRspBufMSB = %d, NoOfIterations = %d", nBlockSizeMSB, 4);
    if (!DeriveCorrectBufSz(pbyRspBuf, ullBlockSize, nBlockSizeMSB, 4)) {
        // Counts as done, with zeros: the result is the reader's FALSE.
        QEL_PRINT(L"DeriveCorrectBufSz Allocation Length failed");
        return traced(DONE);
    }
    QEL_PRINT(L"dwBlockSize = %lld", ullBlockSize);
    dCapacity = Capacity(ullAddress, ullBlockSize);
    llBlockSize = static_cast<LONG64>(ullBlockSize);
    return traced(DONE);
}

LONG CDataUtil::FormatLUNDataV2(const BYTE* pbyRspBuf, BYTE /*by16Byte*/, double& dCapacity, LONG64& llBlockSize) {
    CQelTracedResult traced(L"CDataUtil::FormatLUNDataV2", DONE);
    ULONG64 ullAddress = 0;
    ULONG64 ullBlockSize = 0;
    DeriveCorrectBufSzV2(pbyRspBuf, ullAddress, 0, 8);
    DeriveCorrectBufSzV2(pbyRspBuf, ullBlockSize, 8, 4);
    QEL_PRINT(L"dwBlockSize = %lld", ullBlockSize);
    dCapacity = Capacity(ullAddress, ullBlockSize);
    llBlockSize = static_cast<LONG64>(ullBlockSize);
    QEL_PRINT(L"lLUNBlockSize = %lld", llBlockSize);
    // The log shows the bits of the floating-point number.
    QEL_PRINT(L"lLUNCapacity = %lld", std::bit_cast<LONG64>(dCapacity));
    return traced(DONE);
}

// Reads the responses of the SCSI READ CAPACITY commands.
#pragma once

#include <windows.h>

// Stateless; any thread may use its own. Buffers are the caller's and hold the whole response.
class CDataUtil {
  public:
    // Results of FormatLUNData.
    static constexpr LONG DONE = 0;
    static constexpr LONG DECODE_FAILED = 1;
    static constexpr LONG CAPACITY16_NEEDED = 2; // the 10-byte command's address field is saturated

    // A big-endian number of lNoOfIterations bytes whose last byte is at nRspBufMSB. FALSE, and the value untouched,
    // without a buffer, for an index below 1, and for fewer than one byte or more than end there.
    [[nodiscard]] BOOL DeriveCorrectBufSz(const BYTE* pbyRspBuf, ULONG64& ullValue, LONG nRspBufMSB,
                                          LONG lNoOfIterations);
    // The same, by the index of the first byte, which may be 0.
    BOOL DeriveCorrectBufSzV2(const BYTE* pbyRspBuf, ULONG64& ullValue, LONG lFirst, LONG lNoOfIterations);

    // Capacity and block length in bytes; the capacity is the last block's address times the block length.
    //   by16Byte  1: the response is one of READ CAPACITY (16), else of READ CAPACITY (10)
    [[nodiscard]] LONG FormatLUNData(const BYTE* pbyRspBuf, BYTE by16Byte, double& dCapacity, LONG64& llBlockSize);
    // The same for a response of READ CAPACITY (16), whatever the flag says. Always DONE.
    LONG FormatLUNDataV2(const BYTE* pbyRspBuf, BYTE by16Byte, double& dCapacity, LONG64& llBlockSize);
};

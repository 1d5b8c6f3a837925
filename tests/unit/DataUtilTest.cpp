#include "model/DataUtil.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/LogCapture.h"

using testing::ElementsAre;

namespace {

class DataUtilTest : public testing::Test {
  protected:
    CDataUtil util;
    LogCapture log;
    ULONG64 value = 77;
    double capacity = -1;
    LONG64 blockSize = -1;
};

using DeriveCorrectBufSz = DataUtilTest;
using DeriveCorrectBufSzV2 = DataUtilTest;
using FormatLunData = DataUtilTest;
using FormatLunDataV2 = DataUtilTest;

// Reads as (10): address 4096, 512-byte blocks. As (16): address 0x100000000200, block size 0.
constexpr BYTE TEN[12] = {0, 0, 0x10, 0, 0, 0, 0x02, 0, 0, 0, 0, 0};

} // namespace

// --- The reader by the last byte

TEST_F(DeriveCorrectBufSz, ReadsBigEndianUpToTheLastIndex) {
    const BYTE buffer[] = {0x01, 0x02, 0x03, 0x04, 0x05};
    EXPECT_TRUE(util.DeriveCorrectBufSz(buffer, value, 4, 3));
    EXPECT_EQ(0x030405u, value);
    EXPECT_TRUE(log.Has("ENTRY:  CDataUtil::DeriveCorrectBufSz"));
    EXPECT_TRUE(log.Has("EXIT:  CDataUtil::DeriveCorrectBufSz, bReturn=true"));
}

TEST_F(DeriveCorrectBufSz, LogsTheRunningResult) {
    const BYTE buffer[] = {0, 0, 0x10, 0x02};
    EXPECT_TRUE(util.DeriveCorrectBufSz(buffer, value, 3, 4));
    EXPECT_THAT(log.Messages(), ElementsAre("dwBuf = 2", "dwBuf = 4098", "dwBuf = 4098", "dwBuf = 4098"));
}

TEST_F(DeriveCorrectBufSz, ReadsAllSixtyFourBits) {
    const BYTE buffer[] = {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
    EXPECT_TRUE(util.DeriveCorrectBufSz(buffer, value, 7, 8));
    EXPECT_EQ(0xFEDCBA9876543210u, value);
    EXPECT_TRUE(log.Has("dwBuf = -81985529216486896"));
}

TEST_F(DeriveCorrectBufSz, ShiftsModuloSixtyFour) {
    const BYTE buffer[] = {0x05, 0, 0, 0, 0, 0, 0, 0, 0x01};
    EXPECT_TRUE(util.DeriveCorrectBufSz(buffer, value, 8, 9));
    EXPECT_EQ(6u, value) << "the ninth byte is added where the first one is";
}

TEST_F(DeriveCorrectBufSz, RefusesLastIndexZero) {
    const BYTE buffer[] = {9};
    EXPECT_FALSE(util.DeriveCorrectBufSz(buffer, value, 0, 1));
    EXPECT_EQ(77u, value);
    EXPECT_THAT(log.Messages(), ElementsAre("CDataUtil::DeriveCorrectBufSz()"));
    EXPECT_TRUE(log.Has("EXIT:  CDataUtil::DeriveCorrectBufSz, bReturn=false"));
}

TEST_F(DeriveCorrectBufSz, RefusesNegativeIndexAndEmptyFields) {
    const BYTE buffer[] = {1, 2};
    EXPECT_FALSE(util.DeriveCorrectBufSz(buffer, value, -1, 1));
    EXPECT_FALSE(util.DeriveCorrectBufSz(buffer, value, 1, 0));
    EXPECT_FALSE(util.DeriveCorrectBufSz(buffer, value, 1, -3));
    EXPECT_EQ(3, log.Count("CDataUtil::DeriveCorrectBufSz()"));
}

TEST_F(DeriveCorrectBufSz, RefusesAFieldThatBeginsBeforeTheBuffer) {
    const BYTE buffer[] = {1, 2, 3, 4};
    EXPECT_FALSE(util.DeriveCorrectBufSz(buffer, value, 3, 5));
    EXPECT_FALSE(util.DeriveCorrectBufSz(buffer, value, 3, INT32_MAX));
    EXPECT_TRUE(util.DeriveCorrectBufSz(buffer, value, 3, 4));
}

TEST_F(DeriveCorrectBufSz, NullBufferFailsWithItsMessage) {
    EXPECT_FALSE(util.DeriveCorrectBufSz(nullptr, value, 3, 4));
    EXPECT_THAT(log.Messages(), ElementsAre("CDataUtil::DeriveCorrectBufSz()"));
}

// --- The reader by the first byte

TEST_F(DeriveCorrectBufSzV2, AcceptsFirstIndexZero) {
    const BYTE buffer[] = {0x12, 0x34, 0x56};
    EXPECT_TRUE(util.DeriveCorrectBufSzV2(buffer, value, 0, 2));
    EXPECT_EQ(0x1234u, value);
    EXPECT_TRUE(log.Messages().empty()) << "this reader does not log its steps";
    EXPECT_TRUE(log.Has("EXIT:  CDataUtil::DeriveCorrectBufSzV2, bReturn=true"));
}

TEST_F(DeriveCorrectBufSzV2, MoreThanEightBytesKeepTheLastEight) {
    const BYTE buffer[] = {0xFF, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(util.DeriveCorrectBufSzV2(buffer, value, 0, 9));
    EXPECT_EQ(0x0102030405060708u, value);
}

TEST_F(DeriveCorrectBufSzV2, RefusesNegativeIndexAndEmptyFieldsInTheNameOfTheFirstReader) {
    const BYTE buffer[] = {1, 2};
    EXPECT_FALSE(util.DeriveCorrectBufSzV2(buffer, value, -1, 1));
    EXPECT_FALSE(util.DeriveCorrectBufSzV2(buffer, value, 0, 0));
    EXPECT_EQ(77u, value);
    EXPECT_THAT(log.Messages(), ElementsAre("CDataUtil::DeriveCorrectBufSz()", "CDataUtil::DeriveCorrectBufSz()"));
}

TEST_F(DeriveCorrectBufSzV2, NullBufferFailsWithTheSameMessage) {
    EXPECT_FALSE(util.DeriveCorrectBufSzV2(nullptr, value, 0, 4));
    EXPECT_THAT(log.Messages(), ElementsAre("CDataUtil::DeriveCorrectBufSz()"));
    EXPECT_TRUE(log.Has("EXIT:  CDataUtil::DeriveCorrectBufSzV2, bReturn=false"));
}

// --- Responses

TEST_F(FormatLunData, TenByteResponse) {
    EXPECT_EQ(0, util.FormatLUNData(TEN, 0, capacity, blockSize));
    EXPECT_EQ(2097152.0, capacity) << "the last address times the block size, without one more block";
    EXPECT_EQ(512, blockSize);
    EXPECT_TRUE(log.Has("ENTRY:  CDataUtil::FormatLUNData"));
    EXPECT_TRUE(log.Has("EXIT:  CDataUtil::FormatLUNData, nReturn=0"));
}

TEST_F(FormatLunData, TenByteMessages) {
    EXPECT_EQ(0, util.FormatLUNData(TEN, 0, capacity, blockSize));
    EXPECT_THAT(log.Messages(),
                ElementsAre("DeriveCorrectBufSz LBA nRspBufMSB = 3, NoOfIterations = 4", "dwBuf = 0", "dwBuf = 4096",
                            "dwBuf = 4096", "dwBuf = 4096", "dwLUNBuf = 1000",
                            "DeriveCorrectBufSz Allocation Length nRspBufMSB = 7, NoOfIterations = 4", "dwBuf = 0",
                            "dwBuf = 512", "dwBuf = 512", "dwBuf = 512", "dwBlockSize = 512"));
}

TEST_F(FormatLunData, SixteenByteMessages) {
    const BYTE buffer[12] = {0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 2, 8};
    EXPECT_EQ(0, util.FormatLUNData(buffer, 1, capacity, blockSize));
    EXPECT_EQ(3.0 * 520, capacity);
    EXPECT_EQ(520, blockSize);
    auto messages = log.Messages();
    std::erase_if(messages, [](const std::string& message) { return message.starts_with("dwBuf"); });
    EXPECT_THAT(messages, ElementsAre("DeriveCorrectBufSz LBA nRspBufMSB = 3, NoOfIterations = 4", "dwLUNBuf = 0",
                                      "DeriveCorrectBufSz LBA(16) nRspBufMSB = 7, NoOfIterations = 8",
                                      "DeriveCorrectBufSz Allocation Length nRspBufMSB = 11, NoOfIterations = 4",
                                      "dwBlockSize = 520"));
}

TEST_F(FormatLunData, SaturatedTenByteAddressAsksForTheSixteenByteCommand) {
    const BYTE buffer[12] = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 2, 0};
    EXPECT_EQ(2, util.FormatLUNData(buffer, 0, capacity, blockSize));
    EXPECT_EQ(0.0, capacity);
    EXPECT_EQ(0, blockSize);
    EXPECT_TRUE(log.Has("dwLUNBuf = FFFFFFFF"));
    EXPECT_TRUE(log.Has("EXIT:  CDataUtil::FormatLUNData, nReturn=2"));
}

TEST_F(FormatLunData, OneLessThanSaturatedIsAnAddress) {
    const BYTE buffer[12] = {0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 2, 0};
    EXPECT_EQ(0, util.FormatLUNData(buffer, 0, capacity, blockSize));
    EXPECT_EQ(4294967294.0 * 512, capacity);
}

TEST_F(FormatLunData, SaturatedBytesOfASixteenByteResponseAreItsUpperHalf) {
    const BYTE buffer[12] = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 2, 0, 0, 0, 2, 0};
    EXPECT_EQ(0, util.FormatLUNData(buffer, 1, capacity, blockSize));
    EXPECT_EQ(static_cast<double>(static_cast<LONG64>(0xFFFFFFFF00000200)) * 512.0, capacity);
    EXPECT_EQ(512, blockSize);
}

TEST_F(FormatLunData, AddressFromTwoToThe63IsNegative) {
    const BYTE buffer[12] = {0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0};
    EXPECT_EQ(0, util.FormatLUNData(buffer, 1, capacity, blockSize));
    EXPECT_EQ(-std::ldexp(1.0, 63) * 512, capacity);
}

TEST_F(FormatLunData, BlockSizeIsUnsigned) {
    const BYTE buffer[12] = {0, 0, 0, 0, 0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(0, util.FormatLUNData(buffer, 1, capacity, blockSize));
    EXPECT_EQ(4294967295.0, capacity);
    EXPECT_EQ(4294967295, blockSize);
}

// Any flag but 0 finds the block size at the 16-byte place; only 1 finds the address there.
TEST_F(FormatLunData, AnotherFlagMixesTheLayouts) {
    const BYTE buffer[12] = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 2, 0, 0, 0, 0x10, 0};
    EXPECT_EQ(0, util.FormatLUNData(buffer, 2, capacity, blockSize));
    EXPECT_EQ(4294967295.0 * 4096, capacity);
    EXPECT_EQ(4096, blockSize);
}

TEST_F(FormatLunData, NullBufferIsADecodeFailure) {
    EXPECT_EQ(1, util.FormatLUNData(nullptr, 1, capacity, blockSize));
    EXPECT_EQ(0.0, capacity);
    EXPECT_EQ(0, blockSize);
    EXPECT_THAT(log.Messages(), ElementsAre("DeriveCorrectBufSz LBA nRspBufMSB = 3, NoOfIterations = 4",
                                            "CDataUtil::DeriveCorrectBufSz()", "DeriveCorrectBufSz failed"));
}

TEST_F(FormatLunDataV2, ReadsTheSixteenByteLayoutWhateverTheFlag) {
    const BYTE buffer[12] = {0, 0, 0, 0, 0, 0, 0x10, 0, 0, 0, 2, 0};
    for (const BYTE flag : {0, 1, 7}) {
        capacity = blockSize = -1;
        EXPECT_EQ(0, util.FormatLUNDataV2(buffer, flag, capacity, blockSize));
        EXPECT_EQ(2097152.0, capacity);
        EXPECT_EQ(512, blockSize);
    }
    EXPECT_EQ(3, log.Count("EXIT:  CDataUtil::FormatLUNDataV2, nReturn=0"));
}

TEST_F(FormatLunDataV2, NeverAsksForTheSixteenByteCommand) {
    const BYTE buffer[12] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 2, 0};
    EXPECT_EQ(0, util.FormatLUNDataV2(buffer, 0, capacity, blockSize));
    EXPECT_EQ(-512.0, capacity);
}

TEST_F(FormatLunDataV2, LogsTheBitsOfTheCapacity) {
    const BYTE buffer[12] = {0, 0, 0, 0, 0, 0, 0x10, 0, 0, 0, 2, 0};
    util.FormatLUNDataV2(buffer, 0, capacity, blockSize);
    // 2097152.0 is 0x4140000000000000.
    EXPECT_THAT(log.Messages(),
                ElementsAre("dwBlockSize = 512", "lLUNBlockSize = 512", "lLUNCapacity = 4701758010974797824"));
}

TEST_F(FormatLunDataV2, NullBufferGivesZeros) {
    EXPECT_EQ(0, util.FormatLUNDataV2(nullptr, 0, capacity, blockSize));
    EXPECT_EQ(0.0, capacity);
    EXPECT_EQ(0, blockSize);
    EXPECT_EQ(2, log.Count("CDataUtil::DeriveCorrectBufSz()"));
}

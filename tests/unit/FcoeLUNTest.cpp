#include "model/FcoeLUN.h"

#include "tests/unit/CAllocatorWatch.h"
#include "tests/unit/FailingObject.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;

namespace {

class FcoeLunTest : public TreeTest {
  protected:
    FcoeLunTest() {
        entry = LunEntry(0x500601603CE0A1B2, 5);
        entry.ScsiId.ScsiBusNumber = 2;
        entry.ScsiId.ScsiTargetNumber = 3;
        entry.FcpId.FcpLun = 0x0005000000000000;
        std::strcpy(entry.ScsiId.OSDeviceName, "\\\\.\\PHYSICALDRIVE7");
        fake.capacityResponse = Capacity16(4096, 512);
    }
    std::unique_ptr<CQelFcoeLUN> Make() {
        const HBA_WWN initiator = Wwn(0x2000001122334455);
        const auto path = std::make_shared<TargetPath>(TargetPath{portPath, L"target", initiator, L"initiator"});
        return std::make_unique<CQelFcoeLUN>(&library, names, HANDLE_7, path, entry);
    }
    QEL_FCOE_LUN Record() {
        QEL_FCOE_LUN record;
        EXPECT_TRUE(Make()->Get(record));
        return record;
    }
    QEL_FCOE_LUN RecordOf(HBA_UINT64 address, HBA_UINT32 blockSize) {
        fake.capacityResponse = Capacity16(address, blockSize);
        return Record();
    }
    HBA_FCPSCSIENTRY entry{};
};

using LunRecord = FcoeLunTest;
using LunCapacity = FcoeLunTest;

class LunMapping : public TreeTest {
  protected:
    ~LunMapping() override { std::free(mapping); }
    BOOL Read() { return CQelFcoeLUN::GetLUNSList_HBA(&library, HANDLE_7, mapping); }

    HBA_FCPTARGETMAPPING* mapping = nullptr;
};

} // namespace

// --- Record

TEST_F(LunRecord, HasAllItsFields) {
    const QEL_FCOE_LUN record = Record();
    EXPECT_EQ(5u, record.ulOsLun);
    EXPECT_EQ(2u, record.ulScsiBus);
    EXPECT_EQ(3u, record.ulScsiTarget);
    EXPECT_EQ(0u, record.ulReserved);
    EXPECT_EQ(L"\\\\.\\PHYSICALDRIVE7", record.strOsDeviceName);
    EXPECT_EQ(L"2 MB", record.strCapacity);
    EXPECT_EQ(L"512 bytes", record.strBlockSize);
    EXPECT_EQ(L"target", record.strTargetPortWWN);
    EXPECT_EQ(L"owning", record.strOwningPortWWN);
    EXPECT_EQ(L"initiator", record.strInitiatorPortWWN);
    EXPECT_EQ(L"Fabric 1", record.strFabricName);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
}

TEST_F(LunRecord, IsReadOnceAtConstruction) {
    const auto lun = Make();
    EXPECT_EQ(1u, fake.calls.size());
    fake.capacityResponse = Capacity16(8192, 512);
    QEL_FCOE_LUN record;
    EXPECT_TRUE(lun->Get(record));
    EXPECT_TRUE(lun->Get(record));
    EXPECT_EQ(L"2 MB", record.strCapacity);
    EXPECT_EQ(1u, fake.calls.size());
}

TEST_F(LunRecord, ReservedFieldIsSetToZero) {
    QEL_FCOE_LUN record;
    record.ulReserved = 77;
    EXPECT_TRUE(Make()->Get(record));
    EXPECT_EQ(0u, record.ulReserved);
}

TEST_F(LunRecord, ThatCannotBeHadLeavesTheCallersUntouched) {
    const auto lun = Make();
    Failing<CQelFcoeLUN>::Break(*lun, CacheKey::LUN_RECORD);
    QEL_FCOE_LUN record;
    record.strCapacity = L"before";
    record.ulReserved = 77;
    EXPECT_FALSE(lun->Get(record));
    EXPECT_EQ(L"before", record.strCapacity);
    EXPECT_EQ(77u, record.ulReserved);
    EXPECT_TRUE(Traced("CQelFcoeLUN::Get", ", bReturn=false"));
}

TEST_F(LunRecord, OperationsAreTraced) {
    Record();
    EXPECT_TRUE(Traced("CQelFcoeLUN::CQelFcoeLUN"));
    EXPECT_TRUE(Traced("CQelFcoeLUN::Get", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeLUN::~CQelFcoeLUN"));
}

TEST_F(LunRecord, DeviceNameWithoutTerminatorEndsWithItsField) {
    std::memset(entry.ScsiId.OSDeviceName, 'x', sizeof entry.ScsiId.OSDeviceName);
    entry.ScsiId.ScsiBusNumber = 0x79797979; // "yyyy" right behind it
    EXPECT_EQ(std::wstring(256, L'x'), Record().strOsDeviceName);
}

TEST_F(LunRecord, DeviceNameIsInTheSystemsCodePage) {
    std::strcpy(entry.ScsiId.OSDeviceName, "Gr\xF6\xDF"
                                           "e");
    wchar_t expected[16] = {};
    MultiByteToWideChar(CP_ACP, 0,
                        "Gr\xF6\xDF"
                        "e",
                        -1, expected, 16);
    EXPECT_EQ(expected, Record().strOsDeviceName);
}

TEST_F(LunRecord, EmptyDeviceNameIsEmpty) {
    entry.ScsiId.OSDeviceName[0] = '\0';
    EXPECT_EQ(L"", Record().strOsDeviceName);
}

// --- The command

TEST_F(LunCapacity, CommandCarriesInitiatorTargetAndLun) {
    struct Seen {
        HBA_UINT64 hba, target, lun;
        HBA_UINT32 responseSize, senseSize;
        bool cleared;
        HBA_UINT8* scsiStatus;
    } seen{};
    fake.ScsiReadCapacityV2 = [&](HBA_HANDLE handle, HBA_WWN hba, HBA_WWN target, HBA_UINT64 lun, void* response,
                                  HBA_UINT32* responseSize, HBA_UINT8* scsiStatus, void* sense,
                                  HBA_UINT32* senseSize) -> HBA_STATUS {
        const std::vector<BYTE> zeros(260);
        EXPECT_EQ(HANDLE_7, handle);
        EXPECT_EQ(0, std::memcmp(&hba, Wwn(0x2000001122334455).wwn, 8));
        EXPECT_EQ(0, std::memcmp(&target, Wwn(0x500601603CE0A1B2).wwn, 8));
        seen.lun = lun;
        seen.responseSize = *responseSize;
        seen.senseSize = *senseSize;
        seen.scsiStatus = scsiStatus;
        seen.cleared = !std::memcmp(response, zeros.data(), 260) && !std::memcmp(sense, zeros.data(), 260);
        return HBA_STATUS_ERROR;
    };
    Make();
    EXPECT_EQ(0x0005000000000000u, seen.lun);
    EXPECT_EQ(260u, seen.responseSize);
    EXPECT_EQ(260u, seen.senseSize);
    EXPECT_EQ(nullptr, seen.scsiStatus);
    EXPECT_TRUE(seen.cleared);
}

TEST_F(LunCapacity, OneCommandAndNoneOfThe16ByteKind) {
    fake.capacityResponse = Capacity16(0xFFFFFFFFFFFFFFFF, 512); // saturated
    Make();
    EXPECT_EQ(1, fake.CallsOf("ScsiReadCapacityV2"));
    EXPECT_EQ(0, fake.CallsOf("SendReadCapacity16"));
}

TEST_F(LunCapacity, FailedCommandLeavesUnknown) {
    fake.ScsiReadCapacityV2 = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    const QEL_FCOE_LUN record = Record();
    EXPECT_EQ(L"Unknown", record.strCapacity);
    EXPECT_EQ(L"Unknown", record.strBlockSize);
    EXPECT_EQ(5u, record.ulOsLun) << "the rest of the record stands";
    EXPECT_THAT(log.Messages(), ElementsAre("RetrieveLUNCapacityV2 failed - Status=1"));
}

TEST_F(LunCapacity, MissingHandlerLeavesUnknown) {
    library.DeInitHBAAPIMod();
    fake.missing = {"ScsiReadCapacityV2"};
    ASSERT_TRUE(library.InitHBAAPIMod());
    EXPECT_EQ(L"Unknown", Record().strCapacity);
}

TEST_F(LunCapacity, UnitAttentionIsRetried) {
    int calls = 0;
    fake.ScsiReadCapacityV2 = [&](HBA_HANDLE, HBA_WWN, HBA_WWN, HBA_UINT64, void* response, auto...) -> HBA_STATUS {
        if (++calls < 3)
            return HBA_STATUS_SCSI_CHECK_CONDITION;
        std::memcpy(response, fake.capacityResponse.data(), fake.capacityResponse.size());
        return HBA_STATUS_OK;
    };
    EXPECT_EQ(L"2 MB", Record().strCapacity);
    EXPECT_EQ(3, calls);
}

TEST_F(LunCapacity, BothReadersSeeTheResponseIn16ByteLayout) {
    Record();
    EXPECT_TRUE(Traced("CDataUtil::FormatLUNDataV2", ", nReturn=0"));
    EXPECT_TRUE(Traced("CDataUtil::FormatLUNData", ", nReturn=0"));
    EXPECT_TRUE(log.Has("DeriveCorrectBufSz LBA(16) nRspBufMSB = 7, NoOfIterations = 8"));
}

TEST_F(LunCapacity, ResponseOfThe10ByteCommandIsReadAs16Bytes) {
    fake.capacityResponse = {0, 0, 0x10, 0, 0, 0, 0x02, 0};
    const QEL_FCOE_LUN record = Record();
    EXPECT_EQ(L"0 MB", record.strCapacity) << "the block size is looked for behind the response";
    EXPECT_EQ(L"0 bytes", record.strBlockSize);
}

TEST_F(LunCapacity, UntouchedResponseIsZero) {
    fake.capacityResponse.clear();
    const QEL_FCOE_LUN record = Record();
    EXPECT_EQ(L"0 MB", record.strCapacity);
    EXPECT_EQ(L"0 bytes", record.strBlockSize);
}

// --- Texts

TEST_F(LunCapacity, TwoMegabytes) {
    const QEL_FCOE_LUN record = RecordOf(4096, 512);
    EXPECT_EQ(L"2 MB", record.strCapacity);
    EXPECT_EQ(L"512 bytes", record.strBlockSize);
}

TEST_F(LunCapacity, ThresholdsFromBothSides) {
    EXPECT_EQ(L"0 MB", RecordOf(0, 512).strCapacity);
    EXPECT_EQ(L"0 MB", RecordOf(2047, 512).strCapacity);
    EXPECT_EQ(L"1 MB", RecordOf(2048, 512).strCapacity);
    EXPECT_EQ(L"1023 MB", RecordOf((1ull << 30) / 512 - 1, 512).strCapacity);
    EXPECT_EQ(L"1 GB", RecordOf((1ull << 30) / 512, 512).strCapacity);
    EXPECT_EQ(L"1023 GB", RecordOf((1ull << 40) / 512 - 1, 512).strCapacity);
    EXPECT_EQ(L"1 TB", RecordOf((1ull << 40) / 512, 512).strCapacity);
    EXPECT_EQ(L"1023 MB", RecordOf((1ull << 30) - 1, 1).strCapacity);
    EXPECT_EQ(L"1023 GB", RecordOf((1ull << 40) - 1, 1).strCapacity);
}

TEST_F(LunCapacity, FractionsAreCutOff) {
    EXPECT_EQ(L"3 GB", RecordOf(4 * 2097152 - 1, 512).strCapacity);
    EXPECT_EQ(L"1 TB", RecordOf(2 * 2147483648ull - 1, 512).strCapacity);
}

TEST_F(LunCapacity, OddBlockSizes) {
    EXPECT_EQ(L"2 GB", RecordOf(4194304, 520).strCapacity);
    EXPECT_EQ(L"520 bytes", RecordOf(4194304, 520).strBlockSize);
    EXPECT_EQ(L"1 TB", RecordOf(268435456, 4096).strCapacity);
    EXPECT_EQ(L"4096 bytes", RecordOf(268435456, 4096).strBlockSize);
    EXPECT_EQ(L"4294967295 bytes", RecordOf(1, 0xFFFFFFFF).strBlockSize);
    EXPECT_EQ(L"3 GB", RecordOf(1, 0xFFFFFFFF).strCapacity);
}

TEST_F(LunCapacity, LargestPositive) {
    // 2^63 blocks, as a floating-point number, of 4294967295 bytes.
    EXPECT_EQ(L"36028797010575360 TB", RecordOf(0x7FFFFFFFFFFFFFFF, 0xFFFFFFFF).strCapacity);
    EXPECT_EQ(L"8388608 TB", RecordOf(0x7FFFFFFFFFFFFFFF, 1).strCapacity);
}

TEST_F(LunCapacity, AddressesFromTwoToThe63AreNegativeMegabytes) {
    EXPECT_EQ(L"-4503599627370496 MB", RecordOf(0x8000000000000000, 512).strCapacity);
    EXPECT_EQ(L"0 MB", RecordOf(0xFFFFFFFFFFFFFFFF, 512).strCapacity);
    EXPECT_EQ(L"-1 MB", RecordOf(0xFFFFFFFFFFFFFFFF, 0x100000).strCapacity);
}

TEST_F(LunCapacity, MegabytesBeyond64BitsAreTheSmallestNumber) {
    EXPECT_EQ(L"-9223372036854775808 MB", RecordOf(0x8000000000000000, 0x100000).strCapacity) << "fits exactly";
    EXPECT_EQ(L"-9223372036854775808 MB", RecordOf(0x8000000000000000, 0x200000).strCapacity);
    EXPECT_EQ(L"-9223372036854775808 MB", RecordOf(0x8000000000000000, 0xFFFFFFFF).strCapacity);
    EXPECT_EQ(L"4294967295 bytes", RecordOf(0x8000000000000000, 0xFFFFFFFF).strBlockSize);
}

// --- Mapping

TEST_F(LunMapping, NothingMappedGivesAMappingWithCountZero) {
    CAllocatorWatch allocator;
    EXPECT_TRUE(Read());
    ASSERT_NE(nullptr, mapping);
    const HBA_FCPTARGETMAPPING zeros{};
    EXPECT_EQ(0, std::memcmp(mapping, &zeros, sizeof zeros));
    EXPECT_THAT(allocator.Sizes(), ElementsAre(312u));
    EXPECT_THAT(Messages(), ElementsAre("GetTargetsInfo() succeeded, dwNoOfTargets = 0",
                                        "Looks like there are no targets found on this HBA"));
    EXPECT_TRUE(Traced("CQelFcoeLUN::GetLUNSList_HBA", ", bReturn=true"));
    std::free(std::exchange(mapping, nullptr));
}

TEST_F(LunMapping, MappingPassedInIsFreedFirst) {
    fake.GetFcpTargetMapping = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    CAllocatorWatch allocator;
    mapping = static_cast<HBA_FCPTARGETMAPPING*>(std::malloc(312));
    EXPECT_TRUE(Read());
    EXPECT_EQ(nullptr, mapping);
    EXPECT_EQ(0u, allocator.Live());
    EXPECT_THAT(Messages(), ElementsAre("CQelFcoeLUN::GetLUNSList_HBA() Deleting pLunList",
                                        "GetLUNSList_HBA() failed Inout No of targets = 1, dwNoOfTargets = 0"));
}

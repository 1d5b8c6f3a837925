#include "model/FcoeTarget.h"

#include "tests/kit/MovedClock.h"
#include "tests/unit/CAllocatorWatch.h"
#include "tests/unit/FailingObject.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr HBA_UINT64 INITIATOR = 0x2000001122334455;
constexpr HBA_UINT64 PORT = 0x500601603CE0A1B2;

class FcoeTargetTest : public TreeTest {
  protected:
    FcoeTargetTest() {
        entry = TargetEntry(2, INITIATOR, PORT);
        entry.NodeWWN = Wwn(0x50060160BCE0A1B2);
        entry.ScsiBusNumber = 4;
        entry.ScsiTargetNumber = 6;
        entry.FcId = 0x010203;
        entry.Number = 0xFEDC;
        fake.ScsiInquiry = [this](HBA_HANDLE, HBA_WWN, HBA_UINT64, HBA_UINT8 evpd, HBA_UINT32, void* response,
                                  auto...) -> HBA_STATUS {
            const auto& bytes = evpd ? serialPage : standard;
            std::memcpy(response, bytes.data(), bytes.size());
            return evpd ? serialStatus : standardStatus;
        };
        SetSerial("SERIAL01");
        SetVendor("ORVAN   ");
    }
    void SetSerial(const std::string& serial) {
        serialPage = {0, 0x80, 0, static_cast<BYTE>(serial.size())};
        serialPage.insert(serialPage.end(), serial.begin(), serial.end());
    }
    void SetVendor(const std::string& vendor) {
        standard.assign(8, 0);
        standard.insert(standard.end(), vendor.begin(), vendor.end());
    }
    std::unique_ptr<CQelFcoeTarget> Make() {
        return std::make_unique<CQelFcoeTarget>(&library, names, HANDLE_7, portPath, entry);
    }
    QEL_FCOE_TARGET Record() {
        QEL_FCOE_TARGET record;
        EXPECT_TRUE(Make()->Get(record));
        return record;
    }
    // A mapping entry that belongs to the target.
    HBA_FCPSCSIENTRY Own(HBA_UINT32 osLun) const {
        HBA_FCPSCSIENTRY lun = LunEntry(PORT, osLun);
        lun.ScsiId.ScsiBusNumber = entry.ScsiBusNumber;
        lun.ScsiId.ScsiTargetNumber = entry.ScsiTargetNumber;
        lun.FcpId.FcId = entry.FcId;
        return lun;
    }
    static std::vector<ULONG> OsLuns(const std::vector<std::shared_ptr<CQelFcoeLUN>>& luns) {
        std::vector<ULONG> numbers;
        for (const auto& lun : luns) {
            QEL_FCOE_LUN record;
            EXPECT_TRUE(lun->Get(record));
            numbers.push_back(record.ulOsLun);
        }
        return numbers;
    }

    ORVAN_TARGET_ENTRY entry;
    std::vector<BYTE> serialPage, standard;
    HBA_STATUS serialStatus = HBA_STATUS_OK, standardStatus = HBA_STATUS_OK;
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
};

using TargetRecord = FcoeTargetTest;
using TargetInquiry = FcoeTargetTest;
using TargetSerial = FcoeTargetTest;
using TargetVendor = FcoeTargetTest;
using TargetLuns = FcoeTargetTest;

class TargetList : public TreeTest {
  protected:
    ~TargetList() override { std::free(list); }
    BOOL Read() { return CQelFcoeTarget::GetTargetsList_HBA(&library, HANDLE_7, list); }

    ORVAN_TARGET_LIST* list = nullptr;
};

} // namespace

// --- Record

TEST_F(TargetRecord, HasAllItsFields) {
    const QEL_FCOE_TARGET record = Record();
    EXPECT_EQ(L"50:06:01:60:BC:E0:A1:B2", record.strNodeWWN);
    EXPECT_EQ(L"50:06:01:60:3C:E0:A1:B2", record.strPortWWN);
    EXPECT_EQ(4u, record.ulScsiBus);
    EXPECT_EQ(6u, record.ulScsiTarget);
    EXPECT_EQ(0x010203u, record.ulFcId);
    EXPECT_EQ(0xFEDCu, record.ulNumber);
    EXPECT_EQ(L"ORVAN   ", record.strVendor);
    EXPECT_EQ(L"SERIAL01", record.strSerial);
    EXPECT_EQ(L"20:00:00:11:22:33:44:55", record.strInitiatorPortWWN);
    EXPECT_EQ(L"owning", record.strOwningPortWWN);
    EXPECT_EQ(L"Fabric 1", record.strFabricName);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
    EXPECT_EQ(0, std::memcmp(record.byInitiatorPortWWN, Wwn(INITIATOR).wwn, 8));
    EXPECT_EQ(2u, record.ulPortType);
}

TEST_F(TargetRecord, DoesNotKeepTheEntry) {
    const auto target = Make();
    std::memset(&entry, 0xFF, sizeof entry);
    QEL_FCOE_TARGET record;
    EXPECT_TRUE(target->Get(record));
    EXPECT_EQ(L"50:06:01:60:3C:E0:A1:B2", record.strPortWWN);
}

TEST_F(TargetRecord, ThatCannotBeHadLeavesTheCallersUntouched) {
    const auto target = Make();
    Failing<CQelFcoeTarget>::Break(*target, CacheKey::TARGET_RECORD);
    QEL_FCOE_TARGET record;
    record.strPortWWN = L"before";
    record.ulNumber = 77;
    EXPECT_FALSE(target->Get(record));
    EXPECT_EQ(L"before", record.strPortWWN);
    EXPECT_EQ(77u, record.ulNumber);
    EXPECT_TRUE(Traced("CQelFcoeTarget::Get", ", bReturn=false"));
}

TEST_F(TargetRecord, OperationsAreTraced) {
    Record();
    EXPECT_TRUE(Traced("CQelFcoeTarget::CQelFcoeTarget"));
    EXPECT_TRUE(Traced("CQelFcoeTarget::SetupCache"));
    EXPECT_TRUE(Traced("CQelFcoeTarget::Get", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeTarget::~CQelFcoeTarget"));
}

// --- INQUIRY

TEST_F(TargetInquiry, SerialNumberPageFirstThenStandardToLunZero) {
    Make();
    EXPECT_THAT(fake.calls, ElementsAre("ScsiInquiry 7 500601603CE0A1B2 0 1 128 260 260",
                                        "ScsiInquiry 7 500601603CE0A1B2 0 0 0 260 260"));
}

TEST_F(TargetInquiry, IsSentOncePerTarget) {
    const auto target = Make();
    QEL_FCOE_TARGET record;
    EXPECT_TRUE(target->Get(record));
    EXPECT_TRUE(target->Get(record));
    EXPECT_EQ(2, fake.CallsOf("ScsiInquiry"));
}

TEST_F(TargetInquiry, BuffersAreClearedForEachCommand) {
    int clear = 0;
    fake.ScsiInquiry = [&](HBA_HANDLE, HBA_WWN, HBA_UINT64, HBA_UINT8, HBA_UINT32, void* response, HBA_UINT32,
                           void* sense, HBA_UINT32) -> HBA_STATUS {
        const std::vector<BYTE> zeros(260);
        clear += !std::memcmp(response, zeros.data(), 260) && !std::memcmp(sense, zeros.data(), 260);
        std::memset(response, 'S', 260);
        std::memset(sense, 'S', 260);
        return HBA_STATUS_OK;
    };
    Make();
    EXPECT_EQ(2, clear);
}

TEST_F(TargetInquiry, StaleTailOfTheFirstResponseIsNoVendor) {
    SetSerial("0123456789");
    standard = {0, 0, 0, 0, 0, 0, 0, 0, 'A', 'B'}; // the second response ends within the vendor
    EXPECT_EQ(L"AB", Record().strVendor);
}

TEST_F(TargetInquiry, FailuresLeaveTheTextsEmpty) {
    serialStatus = HBA_STATUS_SCSI_CHECK_CONDITION;
    QEL_FCOE_TARGET record = Record();
    EXPECT_EQ(L"", record.strSerial);
    EXPECT_EQ(L"ORVAN   ", record.strVendor) << "one command does not depend on the other";

    serialStatus = HBA_STATUS_OK;
    standardStatus = HBA_STATUS_ERROR;
    record = Record();
    EXPECT_EQ(L"SERIAL01", record.strSerial);
    EXPECT_EQ(L"", record.strVendor);
    EXPECT_EQ(0xFEDCu, record.ulNumber) << "the rest of the record stands";
}

// The library access layer answers TRUE without a call then.
TEST_F(TargetInquiry, UnboundLibraryGivesZeroedResponses) {
    library.DeInitHBAAPIMod();
    const QEL_FCOE_TARGET record = Record();
    EXPECT_EQ(L"", record.strSerial);
    EXPECT_EQ(std::wstring(), record.strVendor);
    EXPECT_EQ(0, fake.CallsOf("ScsiInquiry"));
}

// --- Unit serial number

TEST_F(TargetSerial, LengthByteZeroIsEmpty) {
    SetSerial("");
    serialPage.push_back('X');
    EXPECT_EQ(L"", Record().strSerial);
}

TEST_F(TargetSerial, KeepsLeadingAndTrailingBlanks) {
    SetSerial("   12 34  ");
    EXPECT_EQ(L"   12 34  ", Record().strSerial);
}

TEST_F(TargetSerial, EndsWithItsLengthNotWithTheResponse) {
    SetSerial("1234");
    serialPage.insert(serialPage.end(), {'5', '6'});
    EXPECT_EQ(L"1234", Record().strSerial);
}

TEST_F(TargetSerial, ThirtySevenBytes) {
    const std::string serial = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!";
    SetSerial(serial);
    EXPECT_EQ(std::wstring(serial.begin(), serial.end()), Record().strSerial);
}

TEST_F(TargetSerial, LongestPageStaysInsideTheBuffer) {
    SetSerial(std::string(255, 'z'));
    EXPECT_EQ(std::wstring(255, L'z'), Record().strSerial);
}

TEST_F(TargetSerial, NullBytesAreSkipped) {
    SetSerial(std::string("12\0\0"
                          "34\0",
                          7));
    EXPECT_EQ(L"1234", Record().strSerial);
}

TEST_F(TargetSerial, BytesAreInTheSystemsCodePage) {
    SetSerial("\xC4"
              "1");
    wchar_t expected[4] = {};
    MultiByteToWideChar(CP_ACP, 0,
                        "\xC4"
                        "1",
                        2, expected, 4);
    EXPECT_EQ(expected, Record().strSerial);
}

namespace {

// A code page without characters above 0x7F.
int WINAPI AsciiOnly(UINT, DWORD flags, const char* source, int sourceSize, wchar_t* destination, int) {
    if (sourceSize != 1 || (*source & 0x80)) {
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        if (flags & MB_ERR_INVALID_CHARS)
            return 0;
    }
    *destination = *source & 0x80 ? L'\xFFFD' : static_cast<wchar_t>(*source);
    return 1;
}

} // namespace

TEST_F(TargetSerial, BytesThatDoNotConvertAreSkipped) {
    ImportPatch patch(GetModuleHandleW(L"QelColib.dll"), "KERNEL32.dll", "MultiByteToWideChar",
                      reinterpret_cast<void*>(&AsciiOnly));
    SetSerial("1\x81"
              "2\xFF\xFE"
              "3");
    EXPECT_EQ(L"123", Record().strSerial);
}

// --- Vendor identification

TEST_F(TargetVendor, EightCharactersWithTheirBlanks) {
    SetVendor("  AB C  Product");
    EXPECT_EQ(L"  AB C  ", Record().strVendor);
}

TEST_F(TargetVendor, BytesAreCharactersOfTheirValue) {
    SetVendor("\xE9\x80\xFF"
              "     ");
    EXPECT_EQ(L"\u00E9\u0080\u00FF     ", Record().strVendor);
}

// Whatever follows it in the field or behind it.
TEST_F(TargetVendor, EndsAtTheFirstNull) {
    SetVendor(std::string("A \0B    Product", 15));
    EXPECT_EQ(std::wstring(L"A "), Record().strVendor);
    SetVendor(std::string("ORVAN 7\0Product", 15));
    EXPECT_EQ(std::wstring(L"ORVAN 7"), Record().strVendor);
}

TEST_F(TargetVendor, ThatBeginsWithANullIsEmpty) {
    SetVendor(std::string("\0ORVAN  Product", 15));
    EXPECT_EQ(std::wstring(), Record().strVendor);
}

// --- Logical units

TEST_F(TargetLuns, AreThoseOfTheTargetInTheirOrder) {
    auto otherBus = Own(1), otherTarget = Own(2), otherFcId = Own(3), otherPort = Own(4);
    ++otherBus.ScsiId.ScsiBusNumber;
    ++otherTarget.ScsiId.ScsiTargetNumber;
    ++otherFcId.FcpId.FcId;
    otherPort.FcpId.PortWWN = Wwn(PORT + 1);
    fake.mappings = {Own(30), otherBus, otherTarget, Own(10), otherFcId, otherPort, Own(20)};
    EXPECT_TRUE(Make()->GetLUNs_HBA(luns));
    EXPECT_THAT(OsLuns(luns), ElementsAre(30u, 10u, 20u));
    EXPECT_TRUE(Traced("CQelFcoeTarget::GetLUNs_HBA", ", bReturn=true"));
}

TEST_F(TargetLuns, CarryWhatTheTargetHandsDown) {
    fake.mappings = {Own(1)};
    ASSERT_TRUE(Make()->GetLUNs(luns));
    ASSERT_EQ(1u, luns.size());
    QEL_FCOE_LUN lun;
    EXPECT_TRUE(luns[0]->Get(lun));
    EXPECT_EQ(L"50:06:01:60:3C:E0:A1:B2", lun.strTargetPortWWN);
    EXPECT_EQ(L"owning", lun.strOwningPortWWN);
    EXPECT_EQ(L"20:00:00:11:22:33:44:55", lun.strInitiatorPortWWN);
    EXPECT_EQ(L"Fabric 1", lun.strFabricName);
    EXPECT_EQ(L"{name}", lun.strDeviceId);
    EXPECT_EQ(L"second", lun.strSecondId);
    EXPECT_EQ("ScsiReadCapacityV2 7 2000001122334455 500601603CE0A1B2 0", fake.calls.back());
}

TEST_F(TargetLuns, AreAppended) {
    fake.mappings = {Own(1)};
    const auto target = Make();
    EXPECT_TRUE(target->GetLUNs(luns));
    EXPECT_TRUE(target->GetLUNs(luns));
    EXPECT_EQ(2u, luns.size());
    EXPECT_EQ(luns[0], luns[1]) << "shared with the cache";
}

TEST_F(TargetLuns, AreReadAgainWhenOlderThanTenMilliseconds) {
    MovedClock clock;
    fake.mappings = {Own(1)};
    const auto target = Make();
    target->GetLUNs(luns);
    clock.Advance(10);
    target->GetLUNs(luns);
    EXPECT_EQ(1, fake.CallsOf("GetFcpTargetMapping"));
    clock.Advance(1);
    luns.clear();
    fake.mappings = {Own(8), Own(9)};
    target->GetLUNs(luns);
    EXPECT_EQ(3, fake.CallsOf("GetFcpTargetMapping")) << "probe and retry";
    EXPECT_THAT(OsLuns(luns), ElementsAre(8u, 9u));
    EXPECT_TRUE(Traced("CQelFcoeTarget::GetLUNs", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeTarget::GetLUNs_Cache", ", bReturn=true"));
}

TEST_F(TargetLuns, FailedMappingIsTrueWithNone) {
    fake.GetFcpTargetMapping = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(Make()->GetLUNs(luns));
    EXPECT_THAT(luns, IsEmpty());
    EXPECT_FALSE(log.Has("Unable to retrieve the LUNs List")) << "a refusal is not a failure here";
}

TEST_F(TargetLuns, NoMemoryForTheMappingIsTrueWithNone) {
    fake.mappings = {Own(1)};
    const auto target = Make();
    CAllocatorWatch allocator;
    allocator.Fail(312);
    EXPECT_TRUE(target->GetLUNs(luns));
    EXPECT_THAT(luns, IsEmpty());
    EXPECT_EQ("Unable to retrieve the LUNs List", log.Messages().back());
}

TEST_F(TargetLuns, MappingIsFreed) {
    fake.mappings = {Own(1), Own(2)};
    const auto target = Make();
    CAllocatorWatch allocator; // expects no live block at its end
    target->GetLUNs(luns);
    EXPECT_THAT(allocator.Sizes(), ElementsAre(304u + 312));
    EXPECT_EQ(2u, luns.size());
}

TEST_F(TargetLuns, MappingThatClaimsMoreThanItsBufferIsReadToItsEnd) {
    fake.GetFcpTargetMapping = [this](HBA_HANDLE, HBA_FCPTARGETMAPPING* list) -> HBA_STATUS {
        const HBA_UINT32 room = list->NumberOfEntries;
        for (HBA_UINT32 i = 0; i < room; ++i)
            list->entry[i] = Own(i);
        list->NumberOfEntries = room == 1 ? 3 : 100000;
        return room == 1 ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK;
    };
    const auto target = Make();
    CAllocatorWatch allocator;
    EXPECT_TRUE(target->GetLUNs(luns));
    EXPECT_THAT(OsLuns(luns), ElementsAre(0u, 1u, 2u));
}

TEST_F(TargetLuns, OutliveTheTarget) {
    fake.mappings = {Own(1)};
    Make()->GetLUNs(luns);
    EXPECT_THAT(OsLuns(luns), ElementsAre(1u));
}

// --- List

TEST_F(TargetList, NoTargetsGiveAListWithCountZeroAndTwoLines) {
    CAllocatorWatch allocator;
    EXPECT_TRUE(Read());
    ASSERT_NE(nullptr, list);
    const ORVAN_TARGET_LIST zeros{};
    EXPECT_EQ(0, std::memcmp(list, &zeros, 48));
    EXPECT_THAT(allocator.Sizes(), ElementsAre(48u));
    EXPECT_THAT(Messages(), ElementsAre("GetTargetList() succeeded, dwNoOfTargets = 0",
                                        "Looks like there are no targets found on this HBA",
                                        "Looks like there are no targets found on this HBA"));
    EXPECT_TRUE(Traced("CQelFcoeTarget::GetTargetsList_HBA", ", bReturn=true"));
    std::free(std::exchange(list, nullptr));
}

TEST_F(TargetList, ListPassedInIsFreedFirst) {
    CAllocatorWatch allocator;
    list = static_cast<ORVAN_TARGET_LIST*>(std::malloc(48));
    EXPECT_TRUE(Read());
    EXPECT_EQ(1u, allocator.Live());
    EXPECT_EQ("CFabricView::GetLUNList() Deleting m_pTargetInfo", Messages().front());
    std::free(std::exchange(list, nullptr));
}

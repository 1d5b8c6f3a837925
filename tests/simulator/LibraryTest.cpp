// The boundary of the simulated vendor library: handles, lists, records, SCSI answers.
#include <cstring>

#include "simulator/topology/HexFile.h"
#include "simulator/topology/Text.h"
#include "tests/kit/TestData.h"
#include "tests/simulator/LoadedLibrary.h"

namespace {

constexpr HBA_UINT8 CANARY = 0xCC;

// A list with room for some entries, and canaries behind them.
template <class List> class ListBuffer {
  public:
    explicit ListBuffer(HBA_UINT32 room)
        : m_size(sizeof(List) + (room > 0 ? room - 1 : 0) * sizeof(List::entry[0])), m_words(m_size / 8 + 64) {
        std::memset(m_words.data(), CANARY, m_words.size() * 8);
        Get()->NumberOfEntries = room;
    }
    List* Get() { return reinterpret_cast<List*>(m_words.data()); }
    bool IsIntactBehind() const {
        const auto* bytes = reinterpret_cast<const HBA_UINT8*>(m_words.data());
        return std::all_of(bytes + m_size, bytes + m_words.size() * 8, [](HBA_UINT8 b) { return b == CANARY; });
    }

  private:
    std::size_t m_size;
    std::vector<HBA_UINT64> m_words;
};

// Asks a list of three entries with room for none to four.
template <class List, class Function> void ExpectHonestCounts(Function function, HBA_HANDLE handle) {
    constexpr HBA_UINT32 EXIST = 3;
    for (HBA_UINT32 room = 0; room <= EXIST + 1; ++room) {
        ListBuffer<List> list(room);
        const HBA_STATUS status = function(handle, list.Get());
        EXPECT_EQ(room < EXIST ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK, status) << "room " << room;
        EXPECT_EQ(EXIST, list.Get()->NumberOfEntries) << "room " << room;
        EXPECT_TRUE(list.IsIntactBehind()) << "room " << room;
    }
    EXPECT_EQ(HBA_STATUS_ERROR_ARG, function(handle, nullptr));
    ListBuffer<List> list(1);
    EXPECT_EQ(HBA_STATUS_ERROR_INVALID_HANDLE, function(handle + 1, list.Get()));
    EXPECT_EQ(1u, list.Get()->NumberOfEntries);
}

std::vector<std::uint8_t> Recorded(const char* file) {
    return sim::ReadHexFile(TestData() / "scsi" / file);
}

} // namespace

TEST(Library, ListsNeverExceedTheirRoomAndTellWhatExists) {
    const LoadedLibrary library(AdapterWithTargets(3));
    const HBA_HANDLE handle = library.Open();
    ExpectHonestCounts<ORVAN_TARGET_LIST>(NEED_FUNCTION(library, ORVAN_GetTargetList), handle);
    ExpectHonestCounts<HBA_FCPTARGETMAPPING>(library.Table().GetFcpTargetMappingHandler, handle);
}

TEST(Library, PortAndVlanListsNeverExceedTheirRoom) {
    const LoadedLibrary library(OneAdapter(R"(, "vlans": [{"id": 1}, {"id": 100, "state": 2}, {"id": 4095}],
        "ports": [{}, {"type": 2, "port_wwn": "20:01:02:05:7C:00:00:01"},
                  {"type": 3, "port_wwn": "20:02:02:05:7C:00:00:01"}])"));
    const HBA_HANDLE handle = library.Open();
    ExpectHonestCounts<ORVAN_FC_PORT_LIST>(NEED_FUNCTION(library, ORVAN_GetFCPortList), handle);
    ExpectHonestCounts<ORVAN_VLAN_LIST>(NEED_FUNCTION(library, ORVAN_GetVlanIdList), handle);
    ListBuffer<ORVAN_VLAN_LIST> vlans(3);
    NEED_FUNCTION(library, ORVAN_GetVlanIdList)(handle, vlans.Get());
    EXPECT_EQ(0x00020064u, vlans.Get()->entry[1]);
}

TEST(Library, AdapterKeepsItsHandleAndClosedOnesAreRefused) {
    const LoadedLibrary library(OneAdapter());
    const auto table = library.Table();
    const HBA_HANDLE handle = library.Open();
    HBA_PORTSTATISTICS statistics;
    EXPECT_EQ(HBA_STATUS_OK, table.GetPortStatisticsHandler(handle, 0, &statistics));
    table.CloseAdapterHandler(handle);
    EXPECT_EQ(HBA_STATUS_ERROR_INVALID_HANDLE, table.GetPortStatisticsHandler(handle, 0, &statistics));
    table.CloseAdapterHandler(handle);
    EXPECT_EQ(handle, library.Open());
    EXPECT_EQ(HBA_STATUS_OK, table.GetPortStatisticsHandler(handle, 0, &statistics));
    EXPECT_EQ(1u, NEED_FUNCTION(library, OrvanSim_OpenHandles)());
    EXPECT_EQ(HBA_HANDLE_INVALID, NEED_FUNCTION(library, ORVAN_GetFCoEControllerHandle)("nobody"));
    EXPECT_EQ(HBA_HANDLE_INVALID, NEED_FUNCTION(library, ORVAN_GetFCoEControllerHandle)(nullptr));
}

TEST(Library, FindsTheControllerOfADevice) {
    const LoadedLibrary library(OneAdapter(R"(, "library_name": "com.example-7", "controller": 9)"));
    const auto find = NEED_FUNCTION(library, ORVAN_GetFCoEControllerInfo);
    HBA_UINT32 controller = 0;
    char name[ORVAN_NAME_SIZE];
    EXPECT_EQ(HBA_STATUS_OK, find(L"\\Device\\{11111111-2222-4333-8444-555555555501}", &controller, name));
    EXPECT_EQ(9u, controller);
    EXPECT_STREQ("com.example-7", name);
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_INDEX, find(L"\\DEVICE\\{0}", &controller, name));
    EXPECT_EQ(HBA_STATUS_ERROR_ARG, find(nullptr, &controller, name));
}

TEST(Library, DoesNotKnowAdaptersWithoutFcoe) {
    const LoadedLibrary library(OneAdapter(R"(, "supports_fcoe": false)"));
    HBA_UINT32 controller = 0;
    char name[ORVAN_NAME_SIZE];
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_INDEX,
              NEED_FUNCTION(library, ORVAN_GetFCoEControllerInfo)(L"\\DEVICE\\{11111111-2222-4333-8444-555555555501}",
                                                                  &controller, name));
}

TEST(Library, HandsOutAllHandlersAndSaysWhichItDoesNotSupport) {
    const LoadedLibrary library(OneAdapter());
    const auto table = library.Table();
    HBA_UNUSEDFUNC handlers[sizeof table / sizeof(HBA_UNUSEDFUNC)];
    std::memcpy(handlers, &table, sizeof table);
    for (const auto handler : handlers)
        EXPECT_TRUE(handler);
    const auto sendRls = reinterpret_cast<HBA_STATUS (*)()>(reinterpret_cast<void*>(table.SendRLSHandler));
    EXPECT_EQ(HBA_STATUS_ERROR_NOT_SUPPORTED, sendRls());
    EXPECT_EQ(1u, NEED_FUNCTION(library, OrvanSim_CallCount)("SendRLS"));
    EXPECT_EQ(0xFFFFFFFFu, NEED_FUNCTION(library, OrvanSim_CallCount)("Nothing"));
    EXPECT_EQ(HBA_STATUS_ERROR_ARG, NEED_FUNCTION(library, HBA_RegisterLibraryV2)(nullptr));
}

TEST(Library, ShowsAttributesOfTheTopology) {
    const LoadedLibrary library(OneAdapter(R"(, "attributes": {"model": "Größe 7", "manufacturer":
        "0123456789012345678901234567890123456789012345678901234567890123"})"));
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetAdapterAttributesHandler(library.Open(), &attributes));
    EXPECT_STREQ(sim::Ansi("Größe 7").c_str(), attributes.Model);
    EXPECT_EQ('3', attributes.Manufacturer[63]) << "a text that fills its array has no terminator";
    EXPECT_EQ('\0', attributes.SerialNumber[0]);
}

TEST(Library, HasPort0Only) {
    const LoadedLibrary library(OneAdapter());
    const HBA_HANDLE handle = library.Open();
    HBA_PORTATTRIBUTES attributes;
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetAdapterPortAttributesHandler(handle, 0, &attributes));
    EXPECT_EQ(0x010200u, attributes.PortFcId);
    EXPECT_EQ("20:00:02:05:7C:00:00:01", WwnOf(attributes.PortWWN));
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_INDEX, library.Table().GetAdapterPortAttributesHandler(handle, 1, &attributes));
}

TEST(Library, CountersGrowAndUnsupportedOnesStay) {
    const LoadedLibrary library(OneAdapter(R"(, "statistics": {"tx_frames": 1000, "rx_frames": -1, "nos_count": 5},
        "statistics_per_second": {"tx_frames": 10, "rx_frames": 10})"));
    HBA_PORTSTATISTICS statistics;
    const ULONGLONG before = GetTickCount64() / 1000;
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetPortStatisticsHandler(library.Open(), 0, &statistics));
    const ULONGLONG after = GetTickCount64() / 1000;
    EXPECT_LE(1000 + HBA_INT64(before) * 10, statistics.TxFrames);
    EXPECT_GE(1000 + HBA_INT64(after) * 10, statistics.TxFrames);
    EXPECT_EQ(-1, statistics.RxFrames);
    EXPECT_EQ(5, statistics.NOSCount);
}

TEST(Library, TellsThePropertiesOfBothSides) {
    const LoadedLibrary library(OneAdapter(R"(, "properties": {"remote_page_file": true})"));
    ORVAN_FC_NIC_PROPERTIES properties{};
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetFCAndNICProperties)(library.Open(), &properties));
    EXPECT_STREQ("\\DEVICE\\{11111111-2222-4333-8444-555555555501}", properties.NetworkInstance);
    EXPECT_EQ(ORVAN_FLAG_REMOTE_PAGE_FILE, properties.Flags);
    EXPECT_EQ(0x7C, properties.MacAddress[2]);
}

// --- SCSI
// --------------------------------------------------------------------------------------------------------------

class Scsi : public testing::Test {
  protected:
    static std::string TargetWith(const std::string& target, const std::string& lun) {
        return OneAdapter(R"(, "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01")" + target + R"(, "luns": [{)" + lun +
                          "}]}]");
    }
    static std::string File(const char* name) { return "\"" + (TestData() / "scsi" / name).generic_string() + "\""; }
    HBA_STATUS Inquiry(const LoadedLibrary& library, HBA_UINT8 evpd, HBA_UINT32 page, HBA_UINT64 lun = 0) {
        return library.Table().ScsiInquiryHandler(library.Open(), TARGET, lun, evpd, page, rsp, sizeof rsp, sense,
                                                  sizeof sense);
    }
    HBA_STATUS ReadCapacity(const LoadedLibrary& library, HBA_UINT64 lun = 0) {
        rspSize = sizeof rsp;
        senseSize = sizeof sense;
        return library.Table().ScsiReadCapacityV2Handler(library.Open(), {}, TARGET, lun, rsp, &rspSize, &status, sense,
                                                         &senseSize);
    }
    std::vector<std::uint8_t> Response(std::size_t size) const { return {rsp, rsp + size}; }

    const HBA_WWN TARGET = HbaWwn("50:06:02:6B:00:00:00:01");
    HBA_UINT8 rsp[260] = {};
    HBA_UINT8 sense[260] = {};
    HBA_UINT32 rspSize = 0;
    HBA_UINT32 senseSize = 0;
    HBA_UINT8 status = 0;
};

TEST_F(Scsi, InquiryHasTheStandardLayout) {
    const LoadedLibrary library(TargetWith(R"(, "vendor": "ACME", "product": "Disk", "revision": "2")", ""));
    EXPECT_EQ(HBA_STATUS_OK, Inquiry(library, 0, 0));
    EXPECT_EQ(0, rsp[0]);
    EXPECT_EQ(0, std::memcmp(rsp + 8, "ACME    Disk            2   ", 28));
}

TEST_F(Scsi, TargetAnswersInquiryForAUnitThatItDoesNotHave) {
    const LoadedLibrary library(TargetWith("", ""));
    EXPECT_EQ(HBA_STATUS_OK, Inquiry(library, 0, 0, 0x0900));
    EXPECT_EQ(0x7F, rsp[0]);
}

TEST_F(Scsi, SerialNumberPageCarriesItsLength) {
    const LoadedLibrary library(TargetWith(R"(, "serial": " SN 1 ")", ""));
    EXPECT_EQ(HBA_STATUS_OK, Inquiry(library, 1, 0x80));
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0x80, 0, 6, ' ', 'S', 'N', ' ', '1', ' ', 0}), Response(11));
}

TEST_F(Scsi, UnknownPageIsAnIllegalRequest) {
    const LoadedLibrary library(TargetWith("", ""));
    EXPECT_EQ(HBA_STATUS_SCSI_CHECK_CONDITION, Inquiry(library, 1, 0xB7));
    EXPECT_EQ(5, sense[2]);
    EXPECT_EQ(0x24, sense[12]);
}

TEST_F(Scsi, RecordedResponsesComeBackAsTheyAre) {
    const LoadedLibrary library(
        TargetWith(", \"inquiry\": " + File("inquiry-512.hex") + ", \"vpd_80\": " + File("vpd80-512.hex"),
                   "\"read_capacity_16\": " + File("capacity16-large.hex") +
                       ", \"read_capacity_10\": " + File("capacity10-large.hex")));
    EXPECT_EQ(HBA_STATUS_OK, Inquiry(library, 0, 0));
    EXPECT_EQ(Recorded("inquiry-512.hex"), Response(Recorded("inquiry-512.hex").size()));
    EXPECT_EQ(HBA_STATUS_OK, Inquiry(library, 1, 0x80));
    EXPECT_EQ(Recorded("vpd80-512.hex"), Response(Recorded("vpd80-512.hex").size()));
    EXPECT_EQ(HBA_STATUS_OK, ReadCapacity(library));
    EXPECT_EQ(Recorded("capacity16-large.hex"), Response(rspSize));
}

// What the library makes of a size is what a real disk of that size says, down to the bytes that describe the disk's
// layout and provisioning.
TEST_F(Scsi, CapacityAgreesWithARealDiskOfTheSameSize) {
    const LoadedLibrary library(TargetWith("", R"("blocks": 6442450944)"));
    EXPECT_EQ(HBA_STATUS_OK, ReadCapacity(library));
    EXPECT_EQ(32u, rspSize);
    auto real = Recorded("capacity16-large.hex");
    std::fill(real.begin() + 12, real.end(), std::uint8_t(0));
    EXPECT_EQ(real, Response(32));
    EXPECT_EQ(0, status);
}

TEST_F(Scsi, CapacityOf10BytesSaturates) {
    const LoadedLibrary library(TargetWith("", R"("blocks": 6442450944, "read_capacity": 10)"));
    EXPECT_EQ(HBA_STATUS_OK, ReadCapacity(library));
    EXPECT_EQ(8u, rspSize);
    EXPECT_EQ(Recorded("capacity10-large.hex"), Response(8));
    HBA_UINT8 shortSense[18];
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_SendReadCapacity16)(
                                 library.Open(), TARGET, 0, rsp, sizeof rsp, shortSense, sizeof shortSense));
    EXPECT_EQ(1, rsp[3]);
    EXPECT_EQ(0x7F, rsp[4]);
}

TEST_F(Scsi, CheckConditionsComeFirstAndOnce) {
    const LoadedLibrary library(TargetWith("", R"("blocks": 4097, "check_conditions": 2)"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(HBA_STATUS_SCSI_CHECK_CONDITION, ReadCapacity(library));
        EXPECT_EQ(2, status);
        EXPECT_EQ(sizeof rsp, rspSize) << "the caller repeats the command with it";
        EXPECT_EQ(18u, senseSize);
        EXPECT_EQ(6, sense[2]) << "unit attention";
        EXPECT_EQ(0x29, sense[12]);
    }
    EXPECT_EQ(HBA_STATUS_OK, ReadCapacity(library));
    EXPECT_EQ(0x10, rsp[6]);
}

TEST_F(Scsi, RefusesUnknownTargetsAndUnits) {
    const LoadedLibrary library(TargetWith("", ""));
    EXPECT_EQ(HBA_STATUS_ERROR_INVALID_LUN, ReadCapacity(library, 0x0900));
    HBA_UINT32 size = sizeof rsp;
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_WWN,
              library.Table().ScsiReadCapacityV2Handler(library.Open(), {}, HbaWwn("50:06:02:6B:00:00:00:09"), 0, rsp,
                                                        &size, nullptr, sense, nullptr));
}

TEST_F(Scsi, ResponseIsCutToTheBuffer) {
    const LoadedLibrary library(TargetWith(R"(, "vendor": "ACME")", ""));
    std::memset(rsp, 0xCC, sizeof rsp);
    EXPECT_EQ(HBA_STATUS_OK,
              library.Table().ScsiInquiryHandler(library.Open(), TARGET, 0, 0, 0, rsp, 10, sense, sizeof sense));
    EXPECT_EQ('C', rsp[9]);
    EXPECT_EQ(0xCC, rsp[10]);
}

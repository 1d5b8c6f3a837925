// Recorded answers of a topology: which request has which, in what order, and what they write.
#include <array>
#include <stdexcept>

#include "tests/simulator/LoadedLibrary.h"
#include "tests/simulator/Moving.h"

namespace {

constexpr char ADAPTER[] = R"("adapter": "{11111111-2222-4333-8444-555555555501}")";

// One adapter with two targets, and these answers.
std::string Topology(const std::string& answers, const std::string& faults = "") {
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
        "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01"}, "controller": 7,
        "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01", "luns": [{}]},
                    {"port_wwn": "50:06:02:6B:00:00:00:02", "vpd_80": "hex:0080 000141", "luns": [{}]}],
        "vlans": [{"id": 1}, {"id": 2}]}], "faults": [)" +
           faults + R"(], "answers": [)" + answers + "]}";
}

std::string Answer(const std::string& function, const std::string& more) {
    return "{\"function\": \"" + function + "\", " + ADAPTER + ", " + more + "}";
}

using Buffer = std::array<HBA_UINT8, 260>;

HBA_STATUS Inquire(const LoadedLibrary& library, HBA_HANDLE handle, const char* target, HBA_UINT8 evpd, Buffer& data) {
    Buffer sense{};
    data = {};
    return library.Table().ScsiInquiryHandler(handle, HbaWwn(target), 0, evpd, evpd ? 0x80 : 0, data.data(), 260,
                                              sense.data(), 260);
}

} // namespace

TEST(RecordedAnswer, RepliesComeInTheirOrderAndTheLastStays) {
    const LoadedLibrary library(
        Topology(Answer("ScsiInquiry", R"("replies": [{"status": 1}, {}, {"data": "hex:AB"}, {"status": 11}])")));
    const HBA_HANDLE handle = library.Open();
    Buffer data;
    EXPECT_EQ(1u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    EXPECT_EQ(0, data[1]);
    EXPECT_EQ(0u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    EXPECT_EQ(0x80, data[1]); // its own
    EXPECT_EQ(0u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    EXPECT_EQ(0xAB, data[0]);
    EXPECT_EQ(0, data[1]);
    EXPECT_EQ(11u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    EXPECT_EQ(11u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    NEED_FUNCTION(library, OrvanSim_ArmFaults)(TRUE); // anew
    EXPECT_EQ(1u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    NEED_FUNCTION(library, OrvanSim_ArmFaults)(FALSE);
    EXPECT_EQ(0u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
}

TEST(RecordedAnswer, GoesOnWhenTheWorldMoves) {
    std::string topology =
        Topology(Answer("ScsiInquiry", R"("replies": [{"status": 1}, {"status": 11}, {"status": 5}, {"status": 14}])"));
    topology.pop_back();
    const LoadedLibrary library(
        topology + ", \"timeline\": [" +
        AfterCalls(2, Replace("/adapters/0/vlans/0/id", "7"), R"(, "function": "ScsiInquiry")") + "]}");
    const HBA_HANDLE handle = library.Open();
    Buffer data;
    for (const HBA_STATUS expected : {1u, 11u, 5u, 14u, 14u})
        EXPECT_EQ(expected, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
}

TEST(RecordedAnswer, IsOfTheRequestsThatItNames) {
    const LoadedLibrary library(Topology(
        Answer("ScsiInquiry",
               R"("target": "50:06:02:6B:00:00:00:01", "evpd": 1, "page": 128, "lun": 0, "replies": [{"status": 5}])") +
        ", " + Answer("ScsiReadCapacityV2", R"("lun": 99, "replies": [{"status": 14}])")));
    const HBA_HANDLE handle = library.Open();
    Buffer data;
    EXPECT_EQ(5u, Inquire(library, handle, "50:06:02:6B:00:00:00:01", 1, data));
    EXPECT_EQ(0u, Inquire(library, handle, "50:06:02:6B:00:00:00:01", 0, data));
    EXPECT_EQ(0u, Inquire(library, handle, "50:06:02:6B:00:00:00:02", 1, data));
    const auto Capacity = [&](HBA_UINT64 lun) {
        Buffer sense{};
        HBA_UINT32 size = 260, senseSize = 260;
        HBA_UINT8 status = 0;
        return library.Table().ScsiReadCapacityV2Handler(handle, {}, HbaWwn("50:06:02:6B:00:00:00:01"), lun,
                                                         data.data(), &size, &status, sense.data(), &senseSize);
    };
    EXPECT_EQ(14u, Capacity(99));
    EXPECT_EQ(0u, Capacity(0));
}

TEST(RecordedAnswer, OfAListGoesByItsRoomAndNeverBeyond) {
    const LoadedLibrary library(Topology(
        Answer("ORVAN_GetVlanIdList", R"("room": 1, "replies": [{"status": 7, "count": 3, "data":
            "hex:0A000100 0B000100 0C000100"}])") +
        ", " + Answer("ORVAN_GetVlanIdList", R"("room": 3, "replies": [{"count": 2, "data": "hex:0A000100"}])")));
    const HBA_HANDLE handle = library.Open();
    struct {
        HBA_UINT32 count, entries[4];
    } list{1, {}};
    const auto Read = [&] {
        return NEED_FUNCTION(library, ORVAN_GetVlanIdList)(handle, reinterpret_cast<ORVAN_VLAN_LIST*>(&list));
    };
    EXPECT_EQ(HBA_STATUS_ERROR_MORE_DATA, Read());
    EXPECT_EQ(3u, list.count);
    EXPECT_EQ(0x1000Au, list.entries[0]);
    EXPECT_EQ(0u, list.entries[1]);
    EXPECT_EQ(HBA_STATUS_OK, Read()); // with room for three
    EXPECT_EQ(2u, list.count);
    EXPECT_EQ(HBA_STATUS_OK, Read()); // for two, of which nothing is recorded
    EXPECT_EQ(2u, list.count);
    EXPECT_EQ(0x10001u, list.entries[0]);
}

TEST(RecordedAnswer, OfARecordIsItsBytes) {
    const LoadedLibrary library(
        Topology(Answer("ORVAN_GetFCoEControllerInfo", R"("replies": [{"controller": 9, "data": "hex:414243FF"}])") +
                 ", " + Answer("GetAdapterAttributes", R"("replies": [{"data": "hex:FFFE"}])")));
    HBA_UINT32 controller = 0;
    char name[ORVAN_NAME_SIZE] = {};
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetFCoEControllerInfo)(
                                 L"\\DEVICE\\{11111111-2222-4333-8444-555555555501}", &controller, name));
    EXPECT_EQ(9u, controller);
    EXPECT_STREQ("ABC\xFF", name);
    HBA_ADAPTERATTRIBUTES attributes{};
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetAdapterAttributesHandler(library.Open(), &attributes));
    EXPECT_STREQ("\xFF\xFE", attributes.Manufacturer);
}

TEST(RecordedAnswer, OfACommandHasItsSizesAndSense) {
    const LoadedLibrary library(Topology(Answer(
        "ScsiReadCapacityV2",
        R"("replies": [{"status": 9, "scsi_status": 2, "sense": "hex:70 00 06", "sense_size": 3}, {"data": "hex:01", "size": 8}])")));
    const HBA_HANDLE handle = library.Open();
    Buffer data{}, sense{};
    HBA_UINT32 size = 260, senseSize = 260;
    HBA_UINT8 status = 77;
    const auto Read = [&] {
        return library.Table().ScsiReadCapacityV2Handler(handle, {}, HbaWwn("50:06:02:6B:00:00:00:01"), 0, data.data(),
                                                         &size, &status, sense.data(), &senseSize);
    };
    EXPECT_EQ(HBA_STATUS_SCSI_CHECK_CONDITION, Read());
    EXPECT_EQ(260u, size);
    EXPECT_EQ(2, status);
    EXPECT_EQ(3u, senseSize);
    EXPECT_EQ(6, sense[2]);
    EXPECT_EQ(HBA_STATUS_OK, Read());
    EXPECT_EQ(8u, size);
    EXPECT_EQ(1, data[0]);
}

TEST(RecordedAnswer, ThrowsAndGivesWayToFaults) {
    const LoadedLibrary library(Topology(
        Answer("ScsiInquiry", R"("replies": [{"throw": true}, {"status": 2}])"),
        R"({"function": "ScsiInquiry", "status": 10, "on_call": 2}, {"function": "ScsiInquiry", "delay_ms": 1})"));
    const HBA_HANDLE handle = library.Open();
    Buffer data;
    EXPECT_THROW(Inquire(library, handle, "50:06:02:6B:00:00:00:01", 1, data), std::runtime_error);
    EXPECT_EQ(10u, Inquire(library, handle, "50:06:02:6B:00:00:00:01", 1, data)); // the fault, which no answer counts
    EXPECT_EQ(2u, Inquire(library, handle, "50:06:02:6B:00:00:00:01", 1, data));
}

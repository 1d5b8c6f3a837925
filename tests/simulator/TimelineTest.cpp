// Topologies that move by themselves.
#include <atomic>
#include <thread>

#include "simulator/topology/Text.h"
#include "tests/kit/ImportPatch.h"
#include "tests/simulator/LoadedLibrary.h"
#include "tests/simulator/Moving.h"

namespace {

constexpr char STATE[] = "/adapters/0/port/state";
constexpr char VLAN[] = "/adapters/0/vlans/0/id";
constexpr char OF_VLANS[] = R"(, "function": "ORVAN_GetVlanIdList")";

unsigned PortState(const LoadedLibrary& library, HBA_HANDLE handle) {
    HBA_PORTATTRIBUTES attributes{};
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetAdapterPortAttributesHandler(handle, 0, &attributes));
    return attributes.PortState;
}

// The identifier of the first VLAN; 0: the call failed.
unsigned VlanOf(HMODULE library, HBA_HANDLE handle) {
    ORVAN_VLAN_LIST list{};
    list.NumberOfEntries = 1;
    const HBA_STATUS status = NEED_FUNCTION(library, ORVAN_GetVlanIdList)(handle, &list);
    return status == HBA_STATUS_OK || status == HBA_STATUS_ERROR_MORE_DATA ? list.entry[0] & 0xFFFF : 0;
}

std::vector<unsigned> Vlans(const LoadedLibrary& library, HBA_HANDLE handle, int calls) {
    std::vector<unsigned> seen;
    for (int i = 0; i < calls; ++i)
        seen.push_back(VlanOf(library, handle));
    return seen;
}

std::vector<std::uint8_t> Capacity(const LoadedLibrary& library, HBA_HANDLE handle) {
    std::vector<std::uint8_t> response(8), sense(18);
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_SendReadCapacity16)(handle, HbaWwn("50:06:02:6B:00:00:00:01"),
                                                                              0, response.data(), 8, sense.data(), 18));
    return response;
}

DWORD g_slept = 0;
void WINAPI NoteSleep(DWORD milliseconds) {
    g_slept += milliseconds;
}

using Seen = std::vector<unsigned>;

} // namespace

TEST(Timeline, APortGoesDownAndComesBack) {
    const std::string of = R"(, "function": "GetAdapterPortAttributes")";
    const LoadedLibrary library(
        MovingAdapter(AfterCalls(3, Replace(STATE, "3"), of) + "," + AfterCalls(2, Replace(STATE, "2"), of)));
    const HBA_HANDLE handle = library.Open();
    for (const unsigned expected : {2u, 2u, 2u, 3u, 3u, 2u, 2u, 2u})
        EXPECT_EQ(expected, PortState(library, handle));
}

TEST(Timeline, TargetsAppear) {
    const LoadedLibrary library(MovingAdapter(
        AfterCalls(1, Add("/adapters/0/targets/-", R"({"port_wwn": "50:06:02:6B:00:00:00:02"})"), OF_VLANS)));
    const HBA_HANDLE handle = library.Open();
    ORVAN_TARGET_LIST list{};
    const auto Count = [&] {
        list.NumberOfEntries = 0;
        NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, &list);
        return list.NumberOfEntries;
    };
    EXPECT_EQ(1u, Count());
    VlanOf(library, handle);
    EXPECT_EQ(2u, Count());
}

TEST(Timeline, ALunGrows) {
    const LoadedLibrary library(
        MovingAdapter(AfterCalls(1, Replace("/adapters/0/targets/0/luns/0/blocks", "4096"), OF_VLANS)));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0x07, 0xFF}), Capacity(library, handle));
    VlanOf(library, handle);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0x0F, 0xFF}), Capacity(library, handle));
}

TEST(Timeline, CountersBeginToRun) {
    const LoadedLibrary library(
        MovingAdapter(AfterCalls(1, Add("/adapters/0/statistics_per_second", R"({"tx_frames": 7})"), OF_VLANS)));
    const MovedTicks ticks(library);
    const HBA_HANDLE handle = library.Open();
    const auto Frames = [&] {
        HBA_PORTSTATISTICS statistics{};
        library.Table().GetPortStatisticsHandler(handle, 0, &statistics);
        return statistics.TxFrames;
    };
    EXPECT_EQ(0, Frames());
    MovedTicks::Advance(1000);
    EXPECT_EQ(0, Frames());
    VlanOf(library, handle);
    const auto before = Frames();
    MovedTicks::Advance(3000);
    EXPECT_EQ(before + 21, Frames());
}

TEST(Timeline, AnAdapterHangs) {
    const LoadedLibrary library(MovingAdapter(AfterCalls(
        2, Add("/faults/-", R"({"function": "ORVAN_GetVlanIdList", "delay_ms": 60000, "times": 1})"), OF_VLANS)));
    const HBA_HANDLE handle = library.Open();
    g_slept = 0;
    const ImportPatch sleep(library, "KERNEL32.dll", "Sleep", reinterpret_cast<void*>(&NoteSleep));
    Vlans(library, handle, 2);
    EXPECT_EQ(0u, g_slept);
    Vlans(library, handle, 2);
    EXPECT_EQ(60000u, g_slept);
}

TEST(Timeline, AnyCallCountsUnlessTheStepSaysWhich) {
    const LoadedLibrary library(
        MovingAdapter(AfterCalls(2, Replace(VLAN, "2")) + "," +
                      AfterCalls(1, Replace(VLAN, "3"), R"(, "adapter": "{11111111-2222-4333-8444-555555555501}")")));
    NEED_FUNCTION(library, ORVAN_InitializeLibrary)();
    const HBA_HANDLE handle = library.Open();
    NEED_FUNCTION(library, ORVAN_InitializeLibrary)(); // about no adapter
    EXPECT_EQ((Seen{2, 3, 3}), Vlans(library, handle, 3));
}

TEST(Timeline, IsTheSameEachTime) {
    const std::string text =
        MovingAdapter(AfterCalls(2, Replace(VLAN, "2"), OF_VLANS) + "," + AfterCalls(3, Replace(VLAN, "3"), OF_VLANS));
    const LoadedLibrary library(text);
    const HBA_HANDLE handle = library.Open();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ((Seen{1, 1, 2, 2, 2, 3, 3}), Vlans(library, handle, 7));
        EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(text.c_str()));
    }
}

TEST(Timeline, SecondsCountFromTheStepBeforeHoweverLateTheyAreSeen) {
    const LoadedLibrary library;
    const MovedTicks ticks(library);
    const std::string text =
        MovingAdapter(AfterSeconds("2.5", Replace(VLAN, "2")) + "," + AfterSeconds("10", Replace(VLAN, "3")) + "," +
                      AfterCalls(2, Replace(VLAN, "4"), OF_VLANS) + "," + AfterSeconds("1", Replace(VLAN, "5")));
    EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(text.c_str()));
    const HBA_HANDLE handle = library.Open();
    MovedTicks::Advance(2499);
    EXPECT_EQ(1u, VlanOf(library, handle));
    MovedTicks::Advance(1);
    EXPECT_EQ(2u, VlanOf(library, handle));
    EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(text.c_str()));
    MovedTicks::Advance(12499);
    EXPECT_EQ(2u, VlanOf(library, handle)) << "the second one's time has not come";
    EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(text.c_str()));
    MovedTicks::Advance(12500);
    EXPECT_EQ((Seen{3, 3, 4}), Vlans(library, handle, 3)) << "both at once, then by calls";
    MovedTicks::Advance(999);
    EXPECT_EQ(4u, VlanOf(library, handle));
    MovedTicks::Advance(1);
    EXPECT_EQ(5u, VlanOf(library, handle));
}

TEST(Timeline, PassesInRealTime) {
    const LoadedLibrary library(MovingAdapter(AfterSeconds("0.2", Replace(VLAN, "2"))));
    const HBA_HANDLE handle = library.Open();
    const ULONGLONG start = GetTickCount64();
    while (VlanOf(library, handle) == 1 && GetTickCount64() - start < 60000) {
    }
    EXPECT_EQ(2u, VlanOf(library, handle));
    EXPECT_LE(200u, GetTickCount64() - start + 50); // the world is older than this
}

TEST(Timeline, FaultsThatAStepLeavesGoOnCounting) {
    const std::string fault = R"({"function": "ORVAN_GetVlanIdList", "status": 10, "on_call": 4})";
    const LoadedLibrary library(
        MovingAdapter(AfterCalls(2, Add("/faults/0", R"({"function": "StartLock", "status": 1})"), OF_VLANS) + "," +
                          AfterCalls(3, Replace("/faults/1/status", "11"), OF_VLANS),
                      "", fault));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ((Seen{1, 1, 1, 0, 1}), Vlans(library, handle, 5)) << "the fourth, across the step";
    EXPECT_EQ((Seen{1, 1, 1, 0, 1}), Vlans(library, handle, 5)) << "a fault that was changed is a new one";
}

TEST(Timeline, StepsLeaveFaultsDisarmed) {
    const LoadedLibrary library(MovingAdapter(AfterCalls(2, Replace(VLAN, "2"), OF_VLANS), "",
                                              R"({"function": "ORVAN_GetVlanIdList", "status": 10})"));
    NEED_FUNCTION(library, OrvanSim_ArmFaults)(0);
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ((Seen{1, 1, 2}), Vlans(library, handle, 3));
    NEED_FUNCTION(library, OrvanSim_ArmFaults)(1);
    EXPECT_EQ(0u, VlanOf(library, handle));
}

TEST(Timeline, UnitAttentionsAreNotRepeated) {
    std::string text = MovingAdapter(AfterCalls(
        1, Add("/adapters/0/targets/0", R"({"port_wwn": "50:06:02:6B:00:00:00:02", "luns": [{}]})"), OF_VLANS));
    text.insert(text.find("\"blocks\""), "\"check_conditions\": 1, ");
    const LoadedLibrary library(text);
    const HBA_HANDLE handle = library.Open();
    const auto Status = [&] {
        HBA_UINT8 response[8], sense[18];
        return NEED_FUNCTION(library, ORVAN_SendReadCapacity16)(handle, HbaWwn("50:06:02:6B:00:00:00:01"), 0, response,
                                                                8, sense, 18);
    };
    EXPECT_EQ(HBA_STATUS_SCSI_CHECK_CONDITION, Status());
    EXPECT_EQ(HBA_STATUS_OK, Status());
    VlanOf(library, handle);
    EXPECT_EQ(HBA_STATUS_OK, Status());
}

TEST(Timeline, VirtualPortsStay) {
    const LoadedLibrary library(MovingAdapter(AfterCalls(1, Replace(VLAN, "2"), OF_VLANS)));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, "20:01:02:05:7C:00:00:01"));
    EXPECT_EQ((Seen{1, 2}), Vlans(library, handle, 2));
    EXPECT_EQ((std::vector<std::string>{"20:00:02:05:7C:00:00:01", "20:01:02:05:7C:00:00:01"}),
              library.PortNames(handle));
}

TEST(Timeline, ExportsGoAndComeBack) {
    const LoadedLibrary library(MovingAdapter(
        AfterCalls(1, Add("/faults/-", R"({"function": "ORVAN_GetTargetList", "missing": true})"), OF_VLANS) + "," +
        AfterCalls(1, R"({"op": "remove", "path": "/faults/0"})", OF_VLANS)));
    const HBA_HANDLE handle = library.Open();
    EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    VlanOf(library, handle);
    EXPECT_FALSE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    VlanOf(library, handle);
    EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_GetTargetList));
}

TEST(Timeline, EachStepIsInTheCallLog) {
    const LoadedLibrary library(MovingAdapter(AfterCalls(1, Replace(VLAN, "2"), OF_VLANS)));
    const HBA_HANDLE handle = library.Open();
    NEED_FUNCTION(library, OrvanSim_RecordCalls)(1);
    Vlans(library, handle, 2);
    EXPECT_EQ("timeline: 1 step taken\n"
              "ORVAN_GetVlanIdList handle=1 count=1 -> 0 count=1\nORVAN_GetVlanIdList handle=1 count=1 -> 0 count=1\n",
              library.CallLines());
}

// However many call at once, each version but the last answers as many calls as its step waits for.
TEST(Timeline, CountsAreExactForManyThreads) {
    constexpr unsigned STEPS = 40, CALLS = 50;
    std::string steps;
    for (unsigned i = 2; i < STEPS + 2; ++i)
        steps += (i == 2 ? "" : ",") + AfterCalls(CALLS, Replace(VLAN, std::to_string(i)), OF_VLANS);
    const LoadedLibrary library(MovingAdapter(steps));
    const HBA_HANDLE handle = library.Open();
    std::atomic<unsigned> seen[STEPS + 2] = {};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (unsigned vlan = 0, last = 0; vlan != STEPS + 1; last = vlan) {
                vlan = VlanOf(library, handle);
                ++seen[vlan];
                EXPECT_LE(last, vlan);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (unsigned i = 1; i <= STEPS; ++i)
        EXPECT_EQ(CALLS, seen[i]) << i;
    EXPECT_LE(4u, seen[STEPS + 1]);
}

// Faults that a topology declares, and the records of the calls.
#include <regex>
#include <stdexcept>
#include <thread>

#include "simulator/topology/Text.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/TempFolder.h"
#include "tests/simulator/LoadedLibrary.h"

namespace {

HBA_STATUS ListVlans(const LoadedLibrary& library, HBA_HANDLE handle) {
    ORVAN_VLAN_LIST list{};
    return NEED_FUNCTION(library, ORVAN_GetVlanIdList)(handle, &list);
}

} // namespace

TEST(Fault, StatusEndsTheCallWithoutItsWork) {
    const LoadedLibrary library(AdapterWithTargets(1, R"({"function": "ORVAN_GetTargetList", "status": 12})"));
    ORVAN_TARGET_LIST list{};
    list.NumberOfEntries = 1;
    EXPECT_EQ(HBA_STATUS_ERROR_UNAVAILABLE, NEED_FUNCTION(library, ORVAN_GetTargetList)(library.Open(), &list));
    EXPECT_EQ(1u, list.NumberOfEntries);
    EXPECT_EQ(0u, list.entry[0].FcId);
}

TEST(Fault, CountIsWrittenBackWithAnyStatus) {
    const LoadedLibrary library(
        AdapterWithTargets(1, R"({"function": "ORVAN_GetTargetList", "status": 7, "count": 0, "on_call": 1},
                                 {"function": "ORVAN_GetTargetList", "status": 0, "count": 5, "on_call": 2},
                                 {"function": "ORVAN_GetTargetList", "count": 9, "on_call": 3})"));
    const HBA_HANDLE handle = library.Open();
    const std::pair<HBA_STATUS, HBA_UINT32> expected[] = {{7, 0}, {0, 5}, {0, 9}, {0, 1}};
    for (const auto& [status, count] : expected) {
        ORVAN_TARGET_LIST list{};
        list.NumberOfEntries = 1;
        EXPECT_EQ(status, NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, &list));
        EXPECT_EQ(count, list.NumberOfEntries);
    }
}

TEST(Fault, ShowsOnItsCallAndAsOftenAsItSays) {
    const LoadedLibrary library(
        OneAdapter("", R"({"function": "ORVAN_GetVlanIdList", "status": 10, "on_call": 2, "times": 2})"));
    const HBA_HANDLE handle = library.Open();
    for (const HBA_STATUS expected : {0, 10, 10, 0, 0})
        EXPECT_EQ(expected, ListVlans(library, handle));
}

TEST(Fault, OnCallAloneMeansOnce) {
    const LoadedLibrary library(OneAdapter("", R"({"function": "ORVAN_GetVlanIdList", "status": 10, "on_call": 2})"));
    const HBA_HANDLE handle = library.Open();
    for (const HBA_STATUS expected : {0, 10, 0})
        EXPECT_EQ(expected, ListVlans(library, handle));
}

TEST(Fault, ConcernsOneAdapterWhenItNamesOne) {
    const std::string built(sim::DefaultTopologyText());
    std::string text = built.substr(0, built.rfind("\"faults\""));
    text += R"("faults": [{"function": "ORVAN_GetVlanIdList", "status": 10,
                           "adapter": "{5b2c7a10-3d4e-4f60-8a71-92b3c4d5e6f2}"}]})";
    const LoadedLibrary library(text);
    EXPECT_NE(10u, ListVlans(library, library.Open("com.orvan-CX20-1")));
    EXPECT_EQ(10u, ListVlans(library, library.Open("com.orvan-CX20-2")));
}

TEST(Fault, ThrowsOutOfTheLibrary) {
    const LoadedLibrary library(OneAdapter("", R"({"function": "ORVAN_GetVlanIdList", "throw": true})"));
    const HBA_HANDLE handle = library.Open();
    EXPECT_THROW(ListVlans(library, handle), std::runtime_error);
}

TEST(Fault, DelaysTheCall) {
    const LoadedLibrary library(OneAdapter("", R"({"function": "ORVAN_GetVlanIdList", "delay_ms": 60})"));
    const HBA_HANDLE handle = library.Open();
    static std::vector<DWORD> delays;
    delays.clear();
    const ImportPatch sleep(library, "KERNEL32.dll", "Sleep",
                            reinterpret_cast<void*>(+[](DWORD milliseconds) { delays.push_back(milliseconds); }));
    EXPECT_EQ(HBA_STATUS_OK, ListVlans(library, handle));
    EXPECT_EQ(std::vector<DWORD>{60}, delays);
}

TEST(Fault, GarbageFillsOutputsWithinTheirRoom) {
    const LoadedLibrary library(AdapterWithTargets(3, R"({"function": "ORVAN_GetTargetList", "garbage": true},
        {"function": "GetPortStatistics", "garbage": true, "status": 1}, {"function": "ScsiInquiry", "garbage": true},
        {"function": "ORVAN_GetFCoEControllerInfo", "garbage": true})"));
    const HBA_HANDLE handle = library.Open();
    struct {
        ORVAN_TARGET_LIST list{};
        HBA_UINT32 behind = 0;
    } targets;
    targets.list.NumberOfEntries = 1;
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, &targets.list));
    EXPECT_EQ(0xA5A5A5A5u, targets.list.NumberOfEntries);
    EXPECT_EQ(0xA5A5A5A5u, targets.list.entry[0].FcId);
    EXPECT_EQ(0u, targets.behind);

    HBA_PORTSTATISTICS statistics;
    EXPECT_EQ(HBA_STATUS_ERROR, library.Table().GetPortStatisticsHandler(handle, 0, &statistics));
    EXPECT_EQ(static_cast<HBA_INT64>(0xA5A5A5A5A5A5A5A5), statistics.InvalidCRCCount);

    HBA_UINT8 rsp[5] = {}, sense[1] = {};
    EXPECT_EQ(HBA_STATUS_OK, library.Table().ScsiInquiryHandler(handle, {}, 0, 0, 0, rsp, 4, sense, 1));
    EXPECT_EQ(0xA5, rsp[3]);
    EXPECT_EQ(0, rsp[4]);

    HBA_UINT32 controller = 0;
    char name[ORVAN_NAME_SIZE];
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetFCoEControllerInfo)(L"x", &controller, name));
    EXPECT_EQ('\xA5', name[ORVAN_NAME_SIZE - 1]) << "a name without an end";
}

TEST(Fault, MissingExportsAreGoneAndComeBack) {
    const LoadedLibrary library(OneAdapter("", R"({"function": "ORVAN_GetVlanIdList", "missing": true},
                                                   {"function": "HBA_RegisterLibraryV2", "missing": true})"));
    EXPECT_FALSE(FIND_FUNCTION(library, ORVAN_GetVlanIdList));
    EXPECT_FALSE(FIND_FUNCTION(library, HBA_RegisterLibraryV2));
    EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(OneAdapter().c_str()));
    ASSERT_TRUE(FIND_FUNCTION(library, ORVAN_GetVlanIdList));
    EXPECT_EQ(HBA_STATUS_OK, ListVlans(library, library.Open()));
}

// A host looks exports up right after it loaded the module, and no one tells the module anything before.
TEST(Fault, ConfiguredMissingExportsAreGoneFromTheStart) {
    const TempFolder folder;
    const auto file = folder.Path() / L"topology.json";
    const std::string text = OneAdapter("", R"({"function": "ORVAN_InitializeLibrary", "missing": true})");
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    CloseHandle(handle);
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", file.c_str());
    {
        const LoadedLibrary library;
        EXPECT_FALSE(FIND_FUNCTION(library, ORVAN_InitializeLibrary));
        EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_GetFCoEControllerInfo));
    }
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr);
    const LoadedLibrary library;
    EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_InitializeLibrary));
}

TEST(Fault, UnterminatedTextsFillTheirArrays) {
    const LoadedLibrary library(OneAdapter(R"(, "attributes": {"model": "CX-20"})",
                                           R"({"function": "GetAdapterAttributes", "unterminated": true},
                                              {"function": "ORVAN_GetFCoEControllerInfo", "unterminated": true})"));
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetAdapterAttributesHandler(library.Open(), &attributes));
    const std::string model(attributes.Model, sizeof attributes.Model);
    EXPECT_EQ("CX-20" + std::string(sizeof attributes.Model - 5, '#'), model);

    HBA_UINT32 controller = 0;
    char name[ORVAN_NAME_SIZE + 1] = {};
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetFCoEControllerInfo)(
                                 L"\\DEVICE\\{11111111-2222-4333-8444-555555555501}", &controller, name));
    EXPECT_EQ(std::size_t{ORVAN_NAME_SIZE}, std::string_view(name).size());
    EXPECT_TRUE(std::string_view(name).starts_with("com.orvan-FCoE-0#"));
}

TEST(Fault, DisarmedOnesDoNotShowAndArmedOnesCountAnew) {
    const LoadedLibrary library(OneAdapter("", R"({"function": "ORVAN_GetVlanIdList", "status": 10, "on_call": 2},
                                                   {"function": "ORVAN_GetTargetList", "missing": true})"));
    const HBA_HANDLE handle = library.Open();
    const auto arm = NEED_FUNCTION(library, OrvanSim_ArmFaults);
    EXPECT_EQ(0u, ListVlans(library, handle));
    arm(0);
    EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0u, ListVlans(library, handle));
    arm(1);
    EXPECT_FALSE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    for (const HBA_STATUS expected : {0, 10, 0})
        EXPECT_EQ(expected, ListVlans(library, handle));
}

TEST(Fault, MissingHandlerIsNullInTheTable) {
    const LoadedLibrary library(OneAdapter("", R"({"function": "ScsiReadCapacityV2", "missing": true})"));
    const auto table = library.Table();
    EXPECT_FALSE(table.ScsiReadCapacityV2Handler);
    EXPECT_TRUE(table.ScsiInquiryHandler);
}

TEST(Fault, WrongTopologyFailsEveryFunctionAndSaysWhy) {
    const LoadedLibrary library(OneAdapter());
    const HBA_HANDLE handle = library.Open();
    const std::string error = NEED_FUNCTION(library, OrvanSim_LoadTopology)("{\"adapters\": 5}");
    EXPECT_EQ("topology text: /adapters: expected a list, found 5", error);
    EXPECT_EQ(error, NEED_FUNCTION(library, OrvanSim_TopologyError)());
    EXPECT_EQ(HBA_STATUS_ERROR, NEED_FUNCTION(library, ORVAN_InitializeLibrary)());
    EXPECT_EQ(HBA_STATUS_ERROR, ListVlans(library, handle));
    HBA_UINT32 controller = 0;
    char name[ORVAN_NAME_SIZE];
    EXPECT_EQ(HBA_STATUS_ERROR, NEED_FUNCTION(library, ORVAN_GetFCoEControllerInfo)(L"x", &controller, name));
    EXPECT_EQ(HBA_HANDLE_INVALID, NEED_FUNCTION(library, ORVAN_GetFCoEControllerHandle)("com.orvan-FCoE-0"));
    HBA_ENTRYPOINTSV2 table;
    EXPECT_EQ(HBA_STATUS_ERROR, NEED_FUNCTION(library, HBA_RegisterLibraryV2)(&table));
}

// --- Records of the calls --------------------------------------------------------------------------------------------

TEST(Calls, OneLineEach) {
    const LoadedLibrary library(AdapterWithTargets(3, R"({"function": "ORVAN_GetVlanIdList", "throw": true})"));
    const HBA_HANDLE handle = library.Open();
    NEED_FUNCTION(library, OrvanSim_RecordCalls)(1);
    ORVAN_TARGET_LIST list{};
    list.NumberOfEntries = 1;
    NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, &list);
    NEED_FUNCTION(library, ORVAN_GetTargetList)(9, &list);
    library.Create(handle, "20:01:02:05:7C:00:00:01");
    EXPECT_THROW(ListVlans(library, handle), std::runtime_error);
    EXPECT_EQ("ORVAN_GetTargetList handle=1 count=1 -> 7 count=3\n"
              "ORVAN_GetTargetList handle=9 count=3 -> 3 count=3\n"
              "ORVAN_CreateVPort handle=1 wwpn=20:01:02:05:7C:00:00:01 -> 0\n"
              "ORVAN_GetVlanIdList throws\n",
              library.CallLines());
    NEED_FUNCTION(library, OrvanSim_RecordCalls)(0);
    list.NumberOfEntries = 1;
    NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, &list);
    EXPECT_EQ(3u, NEED_FUNCTION(library, OrvanSim_CallCount)("ORVAN_GetTargetList"));
    NEED_FUNCTION(library, OrvanSim_ResetCalls)();
    EXPECT_EQ(0u, NEED_FUNCTION(library, OrvanSim_CallCount)("ORVAN_GetTargetList"));
    EXPECT_EQ("", library.CallLines());
}

TEST(Calls, AreAppendedToTheFileThatTheVariableNames) {
    const TempFolder folder;
    const auto file = folder.Path() / L"calls.txt";
    SetEnvironmentVariableW(L"ORVAN_SIM_CALLS", file.c_str());
    for (int i = 0; i < 2; ++i) {
        const LoadedLibrary library(OneAdapter());
        NEED_FUNCTION(library, ORVAN_InitializeLibrary)();
        NEED_FUNCTION(library, OrvanSim_LoadTopology)("{}");
    }
    SetEnvironmentVariableW(L"ORVAN_SIM_CALLS", nullptr);
    const std::string header = "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} " +
                               std::to_string(GetCurrentProcessId()) + ' ' + std::to_string(GetCurrentThreadId()) +
                               " orvanhapi\\.dll v[1-9]\\d* ";
    const std::string lines = header + "ORVAN_InitializeLibrary -> 0\r\n" + header +
                              "topology error: topology text: /: the key \"adapters\" is missing\r\n";
    EXPECT_TRUE(std::regex_match(ReadFileBytes(file), std::regex(lines + lines))) << ReadFileBytes(file);
}

TEST(Calls, AreAppendedToTheFileOfTheRegistryWithoutTheVariable) {
    const TempFolder folder;
    const auto file = folder.Path() / L"calls.txt";
    PrivateHive hive;
    hive.Set(L"SOFTWARE\\ORVAN\\Simulator", L"Calls", file.wstring());
    const HMODULE library = LoadLibraryW(L"orvanhapi.dll");
    NEED_FUNCTION(library, ORVAN_InitializeLibrary)();
    FreeLibrary(library);
    EXPECT_TRUE(ReadFileBytes(file).ends_with(" ORVAN_InitializeLibrary -> 0\r\n")) << ReadFileBytes(file);
}

TEST(Calls, FromManyThreadsAreAllCounted) {
    const LoadedLibrary library(AdapterWithTargets(3));
    const HBA_HANDLE handle = library.Open();
    const auto list = NEED_FUNCTION(library, ORVAN_GetTargetList);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int call = 0; call < 200; ++call) {
                ORVAN_TARGET_LIST targets{};
                targets.NumberOfEntries = 1;
                EXPECT_EQ(HBA_STATUS_ERROR_MORE_DATA, list(handle, &targets));
                if (i == 0)
                    library.Open();
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(800u, NEED_FUNCTION(library, OrvanSim_CallCount)("ORVAN_GetTargetList"));
    EXPECT_EQ(201u, NEED_FUNCTION(library, OrvanSim_OpenHandles)());
}

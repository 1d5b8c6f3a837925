// Virtual ports of the simulated library: rules, names, what is seen through them, and how they last.
#include <set>

#include "simulator/topology/Text.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TempFolder.h"
#include "tests/simulator/LoadedLibrary.h"

namespace {

constexpr char PHYSICAL[] = "20:00:02:05:7C:00:00:01";
constexpr char FIRST[] = "20:01:02:05:7C:00:00:01";
constexpr char SECOND[] = "20:02:02:05:7C:00:00:01";
constexpr char TARGET[] = "50:06:02:6B:00:00:00:01";

const std::string NPIV_TARGET =
    R"(, "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01", "npiv": true, "fc_id": 77, "luns": [{}, {"os_lun": 1}]}])";

using Names = std::vector<std::string>;

std::string Generated(const LoadedLibrary& library, HBA_HANDLE handle) {
    HBA_WWN wwn{};
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GeneratePortWWN)(handle, &wwn));
    return WwnOf(wwn);
}

// This program again, as another process on the same topology and state; the one test that is disabled otherwise.
DWORD RunOther(const char* test) {
    const std::wstring line = L"\"" + ProgramFile().wstring() +
                              L"\" --gtest_also_run_disabled_tests --gtest_filter=OtherProcess.DISABLED_" +
                              sim::Wide(test);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(StartProcess(line, false, start, process));
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 99;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

// A topology file and a state file of the test's own, which other processes see too.
class SharedState : public testing::Test {
  protected:
    SharedState() {
        Write(L"topology.json", OneAdapter());
        SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", (folder.Path() / L"topology.json").c_str());
        SetEnvironmentVariableW(L"ORVAN_SIM_STATE", StateFile().c_str());
    }
    ~SharedState() override {
        SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr);
        SetEnvironmentVariableW(L"ORVAN_SIM_STATE", nullptr);
    }
    std::filesystem::path StateFile() const { return folder.Path() / L"state.json"; }
    void Write(const wchar_t* name, const std::string& text) const {
        const HANDLE file =
            CreateFileW((folder.Path() / name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
        CloseHandle(file);
    }

    // Gives the file a time that the next writing does not give it again.
    void MakeOld(const wchar_t* name) const {
        const HANDLE file =
            CreateFileW((folder.Path() / name).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        const FILETIME old{0, 0x01D00000};
        EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &old));
        CloseHandle(file);
    }

    TempFolder folder;
};

} // namespace

TEST(VirtualPort, AppearsInTheListWithTheFabricOfThePhysicalPort) {
    const LoadedLibrary library(OneAdapter(R"(, "ports": [{"word_a": 66048, "number": 100, "byte_62": 3,
        "identifiers": ["10:00:02:4E:90:00:01:00", "20:64:02:4E:90:00:01:00", "20:0B:02:4E:90:00:01:00"]}])"));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, FIRST));
    HBA_UINT32 buffer[1 + 2 * 16] = {2};
    auto* list = reinterpret_cast<ORVAN_FC_PORT_LIST*>(buffer);
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetFCPortList)(handle, list));
    const ORVAN_FC_PORT& port = list->entry[1];
    EXPECT_EQ(FIRST, WwnOf(port.PortWWN));
    EXPECT_EQ(3, port.PortType);
    EXPECT_EQ(0x010201u, port.WordA) << "the next address";
    EXPECT_EQ(port.WordA, port.WordB);
    EXPECT_EQ("20:0B:02:4E:90:00:01:00", WwnOf(port.Identifier[2]));
    EXPECT_EQ(100, port.Number);
    EXPECT_EQ(3, port.Byte62);
}

TEST(VirtualPort, RefusesNamesThatTheAdapterUses) {
    const LoadedLibrary library(OneAdapter(NPIV_TARGET));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, FIRST));
    for (const auto* used : {FIRST, PHYSICAL, TARGET})
        EXPECT_EQ(HBA_STATUS_ERROR_AMBIGUOUS_WWN, library.Create(handle, used)) << used;
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_WWN, library.Create(handle, "00:00:00:00:00:00:00:00"));
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_WWN, library.Create(handle, "FF:FF:FF:FF:FF:FF:FF:FF"));
    EXPECT_EQ(HBA_STATUS_ERROR_ARG, NEED_FUNCTION(library, ORVAN_CreateVPort)(handle, nullptr));
    EXPECT_EQ((Names{PHYSICAL, FIRST}), library.PortNames(handle));
}

TEST(VirtualPort, MaximumCountsDeclaredPortsToo) {
    const LoadedLibrary library(OneAdapter(R"(, "max_virtual_ports": 2,
        "ports": [{}, {"type": 2, "port_wwn": "20:0F:02:05:7C:00:00:01"}])"));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, FIRST));
    EXPECT_EQ(HBA_STATUS_ERROR_LOCAL_BUS, library.Create(handle, SECOND));
    EXPECT_EQ(HBA_STATUS_ERROR_AMBIGUOUS_WWN, library.Create(handle, FIRST)) << "a used name is what matters first";
    EXPECT_EQ(HBA_STATUS_OK, library.Remove(handle, "20:0F:02:05:7C:00:00:01"));
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, SECOND));
    EXPECT_EQ((Names{PHYSICAL, FIRST, SECOND}), library.PortNames(handle));
}

TEST(VirtualPort, RemovesWhatItKnowsExceptPhysicalPorts) {
    const LoadedLibrary library(OneAdapter());
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_ERROR_ILLEGAL_WWN, library.Remove(handle, FIRST));
    EXPECT_EQ(HBA_STATUS_ERROR_NOT_SUPPORTED, library.Remove(handle, PHYSICAL));
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, FIRST));
    EXPECT_EQ(HBA_STATUS_OK, library.Remove(handle, FIRST));
    EXPECT_EQ((Names{PHYSICAL}), library.PortNames(handle));
}

TEST(VirtualPort, GeneratedNamesAreNewValidAndUnused) {
    const LoadedLibrary library(OneAdapter());
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, SECOND));
    EXPECT_EQ(FIRST, Generated(library, handle));
    EXPECT_EQ("20:03:02:05:7C:00:00:01", Generated(library, handle)) << "the second name is used";
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        const std::string name = Generated(library, handle);
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(":02:05:7C:00:00:01", name.substr(5));
        EXPECT_EQ('2', name[0]);
    }
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, names.begin()->c_str()));
    EXPECT_EQ(HBA_STATUS_ERROR_ARG, NEED_FUNCTION(library, ORVAN_GeneratePortWWN)(handle, nullptr));
}

TEST(VirtualPort, RegisteredNamesCountInTheirLastBits) {
    std::string text = OneAdapter();
    text.replace(text.find("20:00:02:05"), 11, "50:00:02:05");
    const LoadedLibrary library(text);
    EXPECT_EQ("50:00:02:05:7C:00:00:02", Generated(library, library.Open()));
}

TEST(VirtualPort, SeesNpivTargetsThroughItsOwnAddress) {
    const LoadedLibrary library(OneAdapter(NPIV_TARGET));
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, FIRST));

    HBA_UINT32 targets[1 + 2 * 11] = {2};
    auto* list = reinterpret_cast<ORVAN_TARGET_LIST*>(targets);
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, list));
    ASSERT_EQ(2u, list->NumberOfEntries);
    EXPECT_EQ(PHYSICAL, WwnOf(list->entry[0].InitiatorPortWWN));
    EXPECT_EQ(77u, list->entry[0].FcId);
    EXPECT_EQ(TARGET, WwnOf(list->entry[1].PortWWN));
    EXPECT_EQ(FIRST, WwnOf(list->entry[1].InitiatorPortWWN));
    EXPECT_EQ(3, list->entry[1].InitiatorPortType);
    EXPECT_EQ(0x010201u, list->entry[1].FcId);

    std::vector<HBA_UINT64> buffer(1 + 4 * sizeof(HBA_FCPSCSIENTRY) / 8);
    auto* mapping = reinterpret_cast<HBA_FCPTARGETMAPPING*>(buffer.data());
    mapping->NumberOfEntries = 4;
    EXPECT_EQ(HBA_STATUS_OK, library.Table().GetFcpTargetMappingHandler(handle, mapping));
    ASSERT_EQ(4u, mapping->NumberOfEntries);
    EXPECT_EQ(77u, mapping->entry[1].FcpId.FcId);
    EXPECT_EQ(0x010201u, mapping->entry[2].FcpId.FcId);
    EXPECT_EQ(1u, mapping->entry[3].ScsiId.ScsiOSLun);
}

TEST(VirtualPort, ChangesToATopologyGivenAsTextEndWithIt) {
    const LoadedLibrary library(OneAdapter());
    EXPECT_EQ(HBA_STATUS_OK, library.Create(library.Open(), FIRST));
    EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(OneAdapter().c_str()));
    EXPECT_EQ((Names{PHYSICAL}), library.PortNames(library.Open()));
}

TEST_F(SharedState, OutlivesTheLibrary) {
    {
        const LoadedLibrary library;
        EXPECT_EQ(HBA_STATUS_OK, library.Create(library.Open(), FIRST));
    }
    const LoadedLibrary library;
    EXPECT_EQ((Names{PHYSICAL, FIRST}), library.PortNames(library.Open()));
}

TEST_F(SharedState, ProcessesSeeEachOthersChangesAtOnce) {
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, FIRST));
    EXPECT_EQ(0u, RunOther("ReplacesFirstBySecond"));
    EXPECT_EQ((Names{PHYSICAL, SECOND}), library.PortNames(handle));
}

TEST(OtherProcess, DISABLED_ReplacesFirstBySecond) {
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ((Names{PHYSICAL, FIRST}), library.PortNames(handle));
    EXPECT_EQ(HBA_STATUS_OK, library.Remove(handle, FIRST));
    EXPECT_EQ(HBA_STATUS_OK, library.Create(handle, SECOND));
}

TEST_F(SharedState, RemovedPortOfTheTopologyStaysRemoved) {
    Write(L"topology.json", OneAdapter(R"(, "ports": [{}, {"type": 3, "port_wwn": "20:01:02:05:7C:00:00:01"}])"));
    {
        const LoadedLibrary library;
        EXPECT_EQ(HBA_STATUS_OK, library.Remove(library.Open(), FIRST));
    }
    const LoadedLibrary library;
    EXPECT_EQ((Names{PHYSICAL}), library.PortNames(library.Open()));
    EXPECT_EQ(HBA_STATUS_OK, library.Create(library.Open(), FIRST));
    EXPECT_EQ((Names{PHYSICAL, FIRST}), library.PortNames(library.Open()));
}

TEST_F(SharedState, UnreadableStateIsAnErrorThatTheCallLogExplains) {
    Write(L"state.json", "{\"{x}\": 5}");
    const LoadedLibrary library;
    NEED_FUNCTION(library, OrvanSim_RecordCalls)(1);
    HBA_UINT32 list[17] = {1};
    EXPECT_EQ(HBA_STATUS_ERROR,
              NEED_FUNCTION(library, ORVAN_GetFCPortList)(library.Open(), reinterpret_cast<ORVAN_FC_PORT_LIST*>(list)));
    EXPECT_EQ(HBA_STATUS_ERROR, library.Create(library.Open(), FIRST));
    EXPECT_NE(std::string::npos,
              library.CallLines().find("state error: " + sim::Utf8(StateFile().wstring()) +
                                       ": /: of an earlier version, which did not tell topologies apart; "
                                       "delete the file\n"));
    Write(L"state.json", "{");
    EXPECT_EQ(HBA_STATUS_ERROR, library.Create(library.Open(), FIRST));
    EXPECT_NE(std::string::npos,
              library.CallLines().find("state error: " + sim::Utf8(StateFile().wstring()) + ":1:2: "));
}

// One file for all of them, as an installation has it; the adapter is the same.
TEST_F(SharedState, BelongsToATopology) {
    const std::wstring other = (folder.Path() / L"other.json").wstring();
    Write(L"other.json", OneAdapter());
    const LoadedLibrary library;
    const auto reload = NEED_FUNCTION(library, OrvanSim_ReloadTopology);
    EXPECT_EQ(HBA_STATUS_OK, library.Create(library.Open(), FIRST));
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", other.c_str());
    EXPECT_EQ(nullptr, reload());
    EXPECT_EQ((Names{PHYSICAL}), library.PortNames(library.Open()));
    EXPECT_EQ(HBA_STATUS_OK, library.Create(library.Open(), SECOND));
    EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(OneAdapter().c_str()));
    EXPECT_EQ((Names{PHYSICAL}), library.PortNames(library.Open()));
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", (folder.Path() / L"x" / L".." / L"TOPOLOGY.JSON").c_str());
    EXPECT_EQ(nullptr, reload());
    EXPECT_EQ((Names{PHYSICAL, FIRST}), library.PortNames(library.Open())) << "the same file by another name";
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", other.c_str());
    EXPECT_EQ(nullptr, reload());
    EXPECT_EQ((Names{PHYSICAL, SECOND}), library.PortNames(library.Open()));
}

TEST(VirtualPort, ChangesToATextAreThereWhileAnyModuleShowsIt) {
    const HMODULE coreAgent = LoadLibraryW(L"CoreAgnt.dll");
    {
        const LoadedLibrary library(OneAdapter());
        EXPECT_EQ(HBA_STATUS_OK, library.Create(library.Open(), FIRST));
    }
    {
        const LoadedLibrary library;
        EXPECT_EQ((Names{PHYSICAL, FIRST}), library.PortNames(library.Open()));
    }
    FreeLibrary(coreAgent);
}

TEST_F(SharedState, RescanFindsWhatTheTopologyFileSaysNow) {
    MakeOld(L"topology.json");
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    Write(L"topology.json", OneAdapter(NPIV_TARGET));
    HBA_UINT32 list[12] = {1};
    auto* targets = reinterpret_cast<ORVAN_TARGET_LIST*>(list);
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, targets));
    EXPECT_EQ(0u, targets->NumberOfEntries);
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_RescanScsiBus)(handle, 0xFFFFFFFF));
    targets->NumberOfEntries = 1;
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetTargetList)(handle, targets));
    EXPECT_EQ(1u, targets->NumberOfEntries);
}

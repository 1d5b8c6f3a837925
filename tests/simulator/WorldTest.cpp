// One world for all modules of a process, and for all processes that name the same file.
#include <atomic>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "FcoeAgent/CoreAgentPvt.h"
#include "simulator/control/WorldStatus.h"
#include "simulator/topology/Text.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TempFolder.h"
#include "tests/simulator/LoadedLibrary.h"

namespace {

constexpr wchar_t TOPOLOGY[] = L"ORVAN_SIM_TOPOLOGY";
constexpr wchar_t CALLS[] = L"ORVAN_SIM_CALLS";
constexpr wchar_t ADAPTER[] = L"{11111111-2222-4333-8444-555555555501}";
constexpr char GOOD_STAYS[] = "; the last good topology stays in use";

// One adapter that bears the mark in each field that the tests read, and so does each entry of its lists, of which
// there are 16.
std::string Marked(unsigned mark) {
    const std::string text = std::to_string(mark);
    std::string vlans;
    for (int i = 0; i < 16; ++i)
        vlans += (i ? ",{\"id\":" : "{\"id\":") + text + ",\"state\":" + text + "}";
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
        "display_name": ")" +
           text + R"(", "interface_index": )" + text + R"(, "attributes": {"manufacturer": ")" + text +
           R"(", "serial_number": ")" + text + R"(", "model": ")" + text + R"(", "driver_name": ")" + text +
           R"(", "vendor_specific_id": )" + text + R"(, "number_of_ports": )" + text +
           R"(}, "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01"}, "vlans": [)" +
           vlans + "]}]}";
}

// The core agent beside the library.
class LoadedCoreAgent {
  public:
    LoadedCoreAgent()
        : m_module(LoadLibraryW(L"CoreAgnt.dll")),
          m_core(NeedFunction<PFN_GetCoreAgentPvt>(m_module, "GetCoreAgentPvt")()) {}
    ~LoadedCoreAgent() { FreeLibrary(m_module); }
    LoadedCoreAgent(const LoadedCoreAgent&) = delete;
    LoadedCoreAgent& operator=(const LoadedCoreAgent&) = delete;
    operator HMODULE() const { return m_module; }

    // The adapter's mark; 0: the call failed.
    unsigned Mark() const {
        QEL_ADAPTER_INFO info;
        if (m_core->GetAdapterInfo(ADAPTER, info, 0).ulErrCode != 0)
            return 0;
        EXPECT_EQ(std::to_wstring(info.ulInterfaceIndex), info.strDisplayName.c_str());
        return info.ulInterfaceIndex;
    }
    std::size_t CountAdapters() const {
        std::vector<CQelString> adapters;
        m_core->EnumerateAdapters(adapters, 0);
        return adapters.size();
    }

  private:
    HMODULE m_module;
    ICoreAgentPvt* m_core;
};

// The mark that all of one answer bears; 0: the call failed.
unsigned AttributesMark(const HBA_ENTRYPOINTSV2& table, HBA_HANDLE handle) {
    HBA_ADAPTERATTRIBUTES attributes;
    if (table.GetAdapterAttributesHandler(handle, &attributes) != HBA_STATUS_OK)
        return 0;
    const std::string mark = std::to_string(attributes.VendorSpecificID);
    EXPECT_EQ(mark, attributes.Manufacturer);
    EXPECT_EQ(mark, attributes.SerialNumber);
    EXPECT_EQ(mark, attributes.Model);
    EXPECT_EQ(mark, attributes.DriverName);
    EXPECT_EQ(attributes.VendorSpecificID, attributes.NumberOfPorts);
    return attributes.VendorSpecificID;
}

unsigned VlansMark(const LoadedLibrary& library, HBA_HANDLE handle) {
    HBA_UINT32 words[1 + 16] = {16};
    auto* list = reinterpret_cast<ORVAN_VLAN_LIST*>(words);
    if (NEED_FUNCTION(library, ORVAN_GetVlanIdList)(handle, list) != HBA_STATUS_OK)
        return 0;
    EXPECT_EQ(16u, list->NumberOfEntries);
    for (int i = 1; i < 16; ++i)
        EXPECT_EQ(words[1], words[1 + i]);
    EXPECT_EQ(words[1] & 0xFFFF, words[1] >> 16);
    return words[1] & 0xFFFF;
}

// A file of the test's own as the world.
class FileWorld : public testing::Test {
  protected:
    FileWorld() {
        Write(Marked(1));
        SetEnvironmentVariableW(TOPOLOGY, File().c_str());
    }
    ~FileWorld() override {
        SetEnvironmentVariableW(TOPOLOGY, nullptr);
        SetEnvironmentVariableW(CALLS, nullptr);
    }
    std::wstring File() const { return (folder.Path() / L"world.json").wstring(); }
    std::wstring Calls() const { return (folder.Path() / L"calls.txt").wstring(); }
    void Write(const std::string& text) const { std::ofstream(folder.Path() / L"world.json") << text; }

    // So long ago that the same time means the same text.
    void MakeOld() const {
        const HANDLE file = CreateFileW(File().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        const FILETIME old{0, 0x01D00000};
        EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &old));
        CloseHandle(file);
    }

    TempFolder folder;
};

std::string ErrorOf(HMODULE module) {
    const char* error = NEED_FUNCTION(module, OrvanSim_TopologyError)();
    return error ? error : "";
}

} // namespace

TEST_F(FileWorld, AChangeThatOneModuleFindsIsInAllOfThem) {
    const LoadedLibrary library;
    const LoadedCoreAgent core;
    const auto table = library.Table();
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(1u, AttributesMark(table, handle));
    Write(Marked(2));
    EXPECT_EQ(1u, AttributesMark(table, handle)) << "nobody has looked";
    EXPECT_EQ(1u, core.Mark());
    EXPECT_EQ(1u, core.CountAdapters());
    EXPECT_EQ(2u, AttributesMark(table, handle));
    EXPECT_EQ(2u, core.Mark());
    Write(Marked(3));
    NEED_FUNCTION(library, ORVAN_RescanScsiBus)(handle, 0xFFFFFFFF);
    EXPECT_EQ(3u, core.Mark());
    EXPECT_EQ(3u, VlansMark(library, handle));
}

TEST_F(FileWorld, HalfAFileKeepsTheLastGoodTopologyAndSaysSo) {
    const LoadedLibrary library;
    const LoadedCoreAgent core;
    const HBA_HANDLE handle = library.Open();
    NEED_FUNCTION(core, OrvanSim_RecordCalls)(1);
    const std::string whole = Marked(2);
    Write(whole.substr(0, whole.size() / 2));
    EXPECT_EQ(1u, core.CountAdapters());
    EXPECT_EQ(1u, core.Mark());
    EXPECT_EQ(1u, VlansMark(library, handle));
    const std::string error = ErrorOf(library);
    EXPECT_TRUE(error.starts_with(sim::Utf8(File()) + ":")) << error;
    EXPECT_TRUE(error.ends_with(GOOD_STAYS)) << error;
    EXPECT_EQ(error, ErrorOf(core));
    EXPECT_EQ(1u, core.CountAdapters());
    std::string lines(NEED_FUNCTION(core, OrvanSim_CallLog)(nullptr, 0), '\0');
    NEED_FUNCTION(core, OrvanSim_CallLog)(lines.data(), static_cast<unsigned>(lines.size()));
    EXPECT_NE(std::string::npos, lines.find("topology error: " + error + "\n")) << lines;
    EXPECT_EQ(lines.find("topology error"), lines.rfind("topology error")) << "once for one file: " << lines;

    const auto status = sim::StatusOfProcess(GetCurrentProcessId());
    ASSERT_TRUE(status);
    EXPECT_EQ("variable", status->origin);
    EXPECT_EQ(sim::Utf8(File()), status->source);
    EXPECT_EQ(error, status->error);
    EXPECT_TRUE(status->lastGoodInUse);

    Write(whole);
    EXPECT_EQ(1u, core.CountAdapters());
    EXPECT_EQ("", ErrorOf(library));
    EXPECT_EQ(2u, VlansMark(library, handle));
    EXPECT_LT(status->version, sim::StatusOfProcess(GetCurrentProcessId())->version);
}

TEST_F(FileWorld, WithoutAGoodOneBeforeEveryFunctionFailsUntilThereIsOne) {
    Write("{");
    const LoadedLibrary library;
    EXPECT_EQ(HBA_STATUS_ERROR, NEED_FUNCTION(library, ORVAN_InitializeLibrary)());
    const auto status = sim::StatusOfProcess(GetCurrentProcessId());
    ASSERT_TRUE(status);
    EXPECT_EQ(ErrorOf(library), status->error);
    EXPECT_FALSE(status->lastGoodInUse);
    Write(Marked(1));
    const LoadedCoreAgent core;
    EXPECT_EQ(1u, core.Mark()) << "a module that is loaded looks for all of them";
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_InitializeLibrary)());
    EXPECT_EQ("", ErrorOf(library));
}

TEST_F(FileWorld, ATextIsInEveryModuleAndGoesWithAReload) {
    const LoadedLibrary library;
    const LoadedCoreAgent core;
    EXPECT_EQ(nullptr, NEED_FUNCTION(core, OrvanSim_LoadTopology)(Marked(7).c_str()));
    EXPECT_EQ(7u, VlansMark(library, library.Open()));
    EXPECT_EQ("control", sim::StatusOfProcess(GetCurrentProcessId())->origin);
    {
        const HMODULE setup = LoadLibraryW(L"setupapi.dll");
        EXPECT_EQ("", ErrorOf(setup));
        EXPECT_NE(nullptr, NEED_FUNCTION(setup, OrvanSim_LoadTopology)("{}"));
        EXPECT_EQ(0u, core.Mark());
        EXPECT_EQ(nullptr, NEED_FUNCTION(setup, OrvanSim_ReloadTopology)());
        FreeLibrary(setup);
    }
    EXPECT_EQ(1u, core.Mark());
    EXPECT_EQ(1u, VlansMark(library, library.Open()));
}

TEST_F(FileWorld, AMissingExportOfOneModuleGoesWhenAnotherIsGivenTheText) {
    const LoadedLibrary library;
    const LoadedCoreAgent core;
    const std::string text = OneAdapter("", R"({"function": "ORVAN_GetTargetList", "missing": true})");
    EXPECT_EQ(nullptr, NEED_FUNCTION(core, OrvanSim_LoadTopology)(text.c_str()));
    EXPECT_FALSE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    NEED_FUNCTION(core, OrvanSim_ArmFaults)(0);
    EXPECT_TRUE(FIND_FUNCTION(library, ORVAN_GetTargetList));
    NEED_FUNCTION(core, OrvanSim_ArmFaults)(1);
    EXPECT_FALSE(FIND_FUNCTION(library, ORVAN_GetTargetList));
}

TEST_F(FileWorld, RecordedResponsesAreThoseOfTheVersion) {
    const auto response = folder.Path() / L"capacity.hex";
    const auto WriteResponse = [&](const char* lastByte) {
        std::ofstream(response) << "00 00 00 00 00 00 00 " << lastByte;
    };
    WriteResponse("01");
    Write(OneAdapter(R"(, "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01",
                        "luns": [{"read_capacity_16": "capacity.hex"}]}])"));
    MakeOld();
    const LoadedLibrary library;
    WriteResponse("02"); // before the second module reads the topology, which shall show the same
    HMODULE second = nullptr;
    std::filesystem::copy_file(ProgramFolder() / L"orvanhapi.dll", folder.Path() / L"second.dll");
    second = LoadLibraryW((folder.Path() / L"second.dll").c_str());
    for (const HMODULE module : {static_cast<HMODULE>(library), second}) {
        HBA_UINT8 rsp[8] = {}, sense[18];
        const HBA_HANDLE handle = NEED_FUNCTION(module, ORVAN_GetFCoEControllerHandle)("com.orvan-FCoE-0");
        EXPECT_EQ(HBA_STATUS_OK,
                  NEED_FUNCTION(module, ORVAN_SendReadCapacity16)(handle, HbaWwn("50:06:02:6B:00:00:00:01"), 0, rsp,
                                                                  sizeof rsp, sense, sizeof sense));
        EXPECT_EQ(1, rsp[7]);
    }
    FreeLibrary(second);
}

TEST(WorldStatus, KnowsTheMachinesWorldAndNoStranger) {
    const TempFolder folder;
    PrivateHive hive;
    EXPECT_EQ("built-in", sim::StatusOfMachine().origin);
    const std::wstring file = (folder.Path() / L"wrong.json").wstring();
    std::ofstream(folder.Path() / L"wrong.json") << "{}";
    hive.Set(L"SOFTWARE\\ORVAN\\Simulator", L"Topology", file);
    const auto status = sim::StatusOfMachine();
    EXPECT_EQ("registry", status.origin);
    EXPECT_EQ(sim::Utf8(file), status.source);
    EXPECT_EQ(sim::Utf8(file) + ": /: the key \"adapters\" is missing", status.error);
    EXPECT_EQ(0u, status.version);
    EXPECT_FALSE(sim::StatusOfProcess(GetCurrentProcessId())) << "no module is loaded";
    EXPECT_FALSE(sim::StatusOfProcess(0));
}

// Another process asks until it sees the change that this one finds; both logs are one.
TEST_F(FileWorld, AChangeIsInAnotherProcessFromTheSameMomentOn) {
    SetEnvironmentVariableW(CALLS, Calls().c_str());
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION child{};
    const HANDLE event =
        CreateEventW(nullptr, TRUE, FALSE, (L"FcoeTestWorld" + std::to_wstring(GetCurrentProcessId())).c_str());
    SetEnvironmentVariableW(L"FCOE_TEST_EVENT", (L"FcoeTestWorld" + std::to_wstring(GetCurrentProcessId())).c_str());
    ASSERT_TRUE(StartProcess(L'"' + ProgramFile().wstring() +
                                 L"\" --gtest_also_run_disabled_tests --gtest_filter=OtherWorld.DISABLED_Waits",
                             false, start, child));
    const LoadedLibrary library;
    const LoadedCoreAgent core;
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(event, 60000)); // the other one has asked, too
    Write(Marked(2));
    EXPECT_EQ(1u, VlansMark(library, handle));
    EXPECT_EQ(1u, core.CountAdapters());
    EXPECT_EQ(2u, VlansMark(library, handle));
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(child.hProcess, 60000));
    DWORD code = 99;
    GetExitCodeProcess(child.hProcess, &code);
    EXPECT_EQ(2u, code) << "the mark that it saw";
    for (const HANDLE handle_ : {child.hThread, child.hProcess, event})
        CloseHandle(handle_);
    SetEnvironmentVariableW(L"FCOE_TEST_EVENT", nullptr);

    // Lines are in the order of the calls' ends. Once a call began in the new version, in either process, none begins
    // in the old: two calls that were under way may end in either order.
    std::istringstream lines(ReadFileBytes(Calls()));
    std::map<std::string, std::vector<unsigned long>> versionsOfProcess;
    const std::regex header(R"(^\S+ \S+ (\d+) \d+ \S+ v(\d+) ORVAN_GetVlanIdList .*)");
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        line.pop_back();
        if (std::regex_match(line, match, header))
            versionsOfProcess[match[1]].push_back(std::stoul(match[2]));
    }
    ASSERT_EQ(2u, versionsOfProcess.size());
    for (const auto& [process, versions] : versionsOfProcess) {
        EXPECT_TRUE(std::is_sorted(versions.begin(), versions.end())) << process;
        EXPECT_EQ(versionsOfProcess.begin()->second.front(), versions.front()) << "one world";
        EXPECT_EQ(versionsOfProcess.begin()->second.back(), versions.back()) << "one change";
        EXPECT_EQ(2, std::set(versions.begin(), versions.end()).size());
    }
}

TEST(OtherWorld, DISABLED_Waits) {
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(1u, VlansMark(library, handle));
    wchar_t name[64];
    GetEnvironmentVariableW(L"FCOE_TEST_EVENT", name, 64);
    const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, name);
    SetEvent(event);
    CloseHandle(event);
    unsigned mark = 1;
    const ULONGLONG start = GetTickCount64();
    while (mark == 1 && GetTickCount64() - start < 60000)
        mark = VlansMark(library, handle);
    ExitProcess(mark);
}

// The world changes 2000 times, by text and by file, while others ask. No answer mixes two versions, and none is older
// than one that was there when its call began.
TEST_F(FileWorld, NoAnswerMixesTwoVersions) {
    constexpr unsigned CHANGES = 500;
    const LoadedLibrary library;
    const LoadedCoreAgent core;
    const auto table = library.Table();
    const HBA_HANDLE handle = library.Open();
    std::atomic<unsigned> inUse{1};
    std::atomic<unsigned> asked{0};
    const auto Ask = [&](auto mark) {
        while (inUse < CHANGES) {
            const unsigned before = inUse;
            const unsigned seen = mark();
            EXPECT_LE(before, seen);
            EXPECT_LE(seen, inUse + 1);
            ++asked;
        }
    };
    std::vector<std::thread> threads;
    threads.emplace_back([&] { Ask([&] { return AttributesMark(table, handle); }); });
    threads.emplace_back([&] { Ask([&] { return VlansMark(library, handle); }); });
    threads.emplace_back([&] { Ask([&] { return core.Mark(); }); });
    for (unsigned mark = 2; mark <= CHANGES; ++mark) {
        EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)(Marked(mark).c_str()));
        inUse = mark;
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_LT(100u, asked);
}

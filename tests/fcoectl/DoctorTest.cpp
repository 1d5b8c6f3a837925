// What the doctor finds: each failure and warning is brought about once.
#include <algorithm>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <objbase.h>
#include <winioctl.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/SuiteHost.h"
#include "tools/fcoectl/Text.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Json = nlohmann::ordered_json;

constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t AGENT[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
constexpr wchar_t AGENTS[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents";
constexpr wchar_t CORE[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";
constexpr wchar_t FEATURES[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";

// One adapter with a port that is offline, so that the agent does not ask the DCB service.
std::string Topology(const std::string& faults = "") {
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Lab 1",
        "mac": "02:05:7C:00:00:01", "library_name": "lab-0", "pci": {"bus": 1},
        "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "state": 3},
        "vlans": [{"id": 100}, {"id": 200}],
        "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01", "luns": [{"os_lun": 0}]}]}], "faults": [)" +
           faults + "]}";
}

class Doctor : public testing::Test {
  protected:
    Doctor() {
        GetEnvironmentVariableW(L"Temp", m_temp, MAX_PATH);
        SetEnvironmentVariableW(L"Temp", temporary.Path().c_str());
        suite.Simulate(Topology());
    }
    ~Doctor() override { SetEnvironmentVariableW(L"Temp", m_temp); }

    // The findings of that check; the first one when it has several.
    Json Findings(const std::string& check, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"doctor", "--json"});
        const Answer answer = Host().RunPlain(options);
        Json document = answer.Json();
        const auto failed = std::ranges::count_if(document["checks"],
                                                  [](const Json& finding) { return finding["result"] == "failure"; });
        EXPECT_EQ(failed, document["failures"]);
        EXPECT_EQ(failed ? 1 : 0, answer.exit);
        EXPECT_EQ(failed == 0, document["complete"].get<bool>());
        Json findings = Json::array();
        for (const Json& finding : document["checks"])
            if (finding["check"] == check)
                findings.push_back(finding);
        return findings;
    }
    // "failure: text" of the one finding, or the worst.
    std::string Told(const std::string& check, std::vector<std::string> options = {}) {
        const Json findings = Findings(check, std::move(options));
        std::string told;
        for (const char* result : {"failure", "warning", "ok"})
            for (const Json& finding : findings)
                if (finding["result"] == result && told.empty()) {
                    told = std::string(result) + ": " + finding["text"].get<std::string>();
                    m_advice = finding["advice"];
                    EXPECT_EQ(result == std::string("ok"), m_advice.empty()) << told;
                }
        return told;
    }
    const std::string& Advice() const { return m_advice; }

    // A copy of a module, with a text in it replaced by one that is not longer.
    std::filesystem::path Copy(const wchar_t* module, const wchar_t* as, std::string_view from = "",
                               std::string_view to = "") {
        std::string bytes = ReadFileBytes(ProgramFolder() / module);
        for (std::size_t at = from.empty() ? std::string::npos : bytes.find(from); at != std::string::npos;
             at = bytes.find(from, at + 1))
            bytes.replace(at, from.size(), std::string(to) + std::string(from.size() - to.size(), '\0'));
        const auto file = folder.Path() / as;
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }
    static std::string Utf8(const std::filesystem::path& path) { return fcoectl::ToUtf8(path.wstring()); }

    SuiteHost suite;
    TempFolder folder;
    TempFolder temporary;

  private:
    wchar_t m_temp[MAX_PATH] = L"";
    std::string m_advice;
};

// Stand in for the system.
DWORD g_elevated = TRUE;
BOOL WINAPI QueryToken(HANDLE, TOKEN_INFORMATION_CLASS, void* information, DWORD, DWORD* size) {
    static_cast<TOKEN_ELEVATION*>(information)->TokenIsElevated = g_elevated;
    *size = sizeof(TOKEN_ELEVATION);
    return TRUE;
}
DWORD g_wait = WAIT_OBJECT_0;
DWORD WINAPI Wait(HANDLE, DWORD) {
    return g_wait;
}
HANDLE WINAPI DenyMutex(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}
HANDLE WINAPI DenyOpening(DWORD, BOOL, const wchar_t*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}
DWORD g_loadError = 0;
HMODULE WINAPI LoadNothing(const wchar_t*) {
    SetLastError(g_loadError);
    return nullptr;
}
SC_HANDLE WINAPI DenyManager(const wchar_t*, const wchar_t*, DWORD) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}
DWORD g_serviceError = 0; // 0: there is one
SC_HANDLE WINAPI OpenOne(SC_HANDLE, const wchar_t*, DWORD) {
    SetLastError(g_serviceError);
    return g_serviceError ? nullptr : OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT); // any handle that closes
}
DWORD g_serviceState = SERVICE_RUNNING;
BOOL WINAPI QueryState(SC_HANDLE, SERVICE_STATUS* status) {
    status->dwCurrentState = g_serviceState;
    return TRUE;
}
std::wstring g_program;
BOOL WINAPI QueryConfig(SC_HANDLE, QUERY_SERVICE_CONFIGW* config, DWORD size, DWORD* needed) {
    *needed = sizeof(QUERY_SERVICE_CONFIGW);
    if (size < *needed) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    *config = {};
    config->lpBinaryPathName = g_program.data();
    return TRUE;
}
HRESULT g_class = S_OK;
HRESULT WINAPI FindClass(const wchar_t*, CLSID* id) {
    *id = {};
    return g_class;
}
HRESULT g_create = S_OK;
HRESULT WINAPI Create(const CLSID&, IUnknown*, DWORD, const IID&, void** object) {
    // The class of the run time's own memory serves as an object that can be released.
    IMalloc* memory = nullptr;
    CoGetMalloc(1, &memory);
    *object = SUCCEEDED(g_create) ? memory : nullptr;
    return g_create;
}

// Each time it is looked at.
BOOL WINAPI ThreeSecondsLater(LARGE_INTEGER* counter) {
    static LONGLONG now = 0;
    LARGE_INTEGER perSecond;
    QueryPerformanceFrequency(&perSecond);
    counter->QuadPart = now += 3 * perSecond.QuadPart;
    return TRUE;
}

template <class Function> void* As(Function* function) {
    return reinterpret_cast<void*>(function);
}

} // namespace

TEST_F(Doctor, FindsNothingWrongWithAHealthySuite) {
    const ImportPatch service(nullptr, "ADVAPI32.dll", "OpenServiceW", As(OpenOne));
    const ImportPatch state(nullptr, "ADVAPI32.dll", "QueryServiceStatus", As(QueryState));
    const ImportPatch config(nullptr, "ADVAPI32.dll", "QueryServiceConfigW", As(QueryConfig));
    const ImportPatch find(nullptr, "ole32.dll", "CLSIDFromProgID", As(FindClass));
    const ImportPatch create(nullptr, "ole32.dll", "CoCreateInstance", As(Create));
    const ImportPatch token(nullptr, "ADVAPI32.dll", "GetTokenInformation", As(QueryToken));
    g_serviceError = 0;
    g_serviceState = SERVICE_RUNNING;
    g_class = g_create = S_OK;
    g_program = (ProgramFolder() / L"OrvanDcb.exe").wstring();
    g_elevated = TRUE;
    const Answer answer = Host().RunPlain({"doctor"});
    EXPECT_EQ(0, answer.exit) << answer.out << answer.err;
    EXPECT_EQ("", answer.err);
    std::istringstream lines(answer.out);
    for (std::string line; std::getline(lines, line);)
        EXPECT_THAT(line, testing::AnyOf(StartsWith("ok "), StartsWith("     "))) << answer.out;
    EXPECT_THAT(answer.out,
                AllOf(HasSubstr("All 13 functions are exported."), HasSubstr("All 7 handlers are registered."),
                      HasSubstr("The service's class and its proxy answer."),
                      HasSubstr("Lab 1  {11111111-2222-4333-8444-555555555501}: everything was read")));
}

TEST_F(Doctor, FindsWhatIsWrongWithTheRegistration) {
    EXPECT_THAT(Told("agent registration"), StartsWith("ok: "));
    EXPECT_THAT(Told("core agent registration"), StartsWith("ok: "));
    suite.Hive().Set(AGENT, L"InstalledDir", L"FcoeAgnt.dll");
    EXPECT_THAT(Told("agent registration"),
                HasSubstr("failure: The registry names \"FcoeAgnt.dll\", which is no full"));
    suite.Hive().Set(AGENT, L"InstalledDir", L"C:\\" + std::wstring(253, L'x'));
    EXPECT_THAT(Told("agent registration"), HasSubstr("longer than the agent reads"));
    suite.Hive().Set(AGENT, L"InstalledDir", L"C:\\%SUITE%\\FcoeAgnt.dll");
    EXPECT_THAT(Told("agent registration"), StartsWith("warning: "));
    suite.Hive().Delete(AGENT, L"InstalledDir");
    EXPECT_THAT(Told("agent registration"), StartsWith("failure: The agent is not registered. The registry value"));
    EXPECT_THAT(Told("agent start"), StartsWith("failure: The agent is not installed."));
    EXPECT_EQ("", Told("adapter")) << "there is nobody to ask";
    suite.Hive().DeleteKey(CORE);
    EXPECT_THAT(Told("core agent registration"), StartsWith("failure: The core agent is not registered."));
}

TEST_F(Doctor, FindsWhatIsWrongWithTheFiles) {
    EXPECT_THAT(Told("agent file"), HasSubstr("FcoeAgnt.dll\", version 1."));
    const auto file = [&](const std::filesystem::path& path) { return Told("agent file", {"--agent", Utf8(path)}); };
    EXPECT_THAT(file(folder.Path() / L"none.dll"), HasSubstr("does not exist."));
    std::ofstream(folder.Path() / L"text.dll") << "text";
    EXPECT_THAT(file(folder.Path() / L"text.dll"), HasSubstr("is no module."));
    EXPECT_THAT(file(ProgramFolder() / L"fcoectl.exe"), HasSubstr("is no module."));
    EXPECT_THAT(
        file(Copy(L"FcoeAgnt.dll", L"narrow.dll", std::string("PE\0\0\x64\x86", 6), std::string("PE\0\0\x4c\x01", 6))),
        HasSubstr("is not for 64-bit x86 (machine 0x014C)."));
    EXPECT_THAT(file(ProgramFolder() / L"QelColib.dll"), HasSubstr("does not export GetFcoeAgent."));
    EXPECT_THAT(file(Copy(L"FcoeAgnt.dll", L"needs.dll", "QelColib.dll", "Missing.dll")),
                HasSubstr("cannot be loaded: "));
    EXPECT_THAT(Advice(), HasSubstr("Missing.dll"));
    suite.Hive().Set(CORE, L"InstalledDir", (ProgramFolder() / L"CoreAgnt").wstring());
    EXPECT_THAT(Told("core agent file"), StartsWith("ok: ")) << "with and without its suffix";
    suite.Hive().Set(CORE, L"InstalledDir", L"C:\\nowhere\\CoreAgnt.dll");
    EXPECT_THAT(Told("core agent file"), HasSubstr("failure: \"C:\\nowhere\\CoreAgnt.dll\" does not exist."));
    EXPECT_THAT(Told("agent start"), StartsWith("failure: The core agent's file"));
}

TEST_F(Doctor, FindsFilesThatDoNotBelongTogether) {
    EXPECT_THAT(Told("common library"), AllOf(StartsWith("ok: "), HasSubstr("QelColib.dll")));
    EXPECT_THAT(Told("common library", {"--agent", "C:\\windows\\system32\\kernel32.dll"}), StartsWith("warning: "));
    EXPECT_THAT(Told("run time"), StartsWith("ok: 64-bit; "));
    const auto other = Copy(L"FcoeAgnt.dll", L"other.dll", "libstdc++-6.dll", "MSVCPXYZ.dll");
    EXPECT_THAT(Told("run time", {"--agent", Utf8(other)}),
                StartsWith("failure: The agent needs msvcpxyz.dll, the core agent libstdc++-6.dll"));
    const auto agent = Copy(L"FcoeAgnt.dll", L"FcoeAgnt.dll");
    std::ofstream(folder.Path() / L"libstdc++-6.dll") << "another";
    EXPECT_THAT(Told("run time", {"--agent", Utf8(agent)}), StartsWith("warning: "));
}

TEST_F(Doctor, FindsTheFlagThatIsNotSet) {
    EXPECT_EQ("ok: FCoE is installed.", Told("FCoE flag"));
    suite.Hive().Set(FEATURES, L"InstalledTOLV_FCOE", L"1 ");
    EXPECT_THAT(Told("FCoE flag"), HasSubstr("is \"1 \", not \"1\"."));
    suite.Hive().Delete(FEATURES, L"InstalledTOLV_FCOE");
    EXPECT_THAT(Told("FCoE flag"), StartsWith("failure: FCoE counts as not installed. The registry value"));
    EXPECT_THAT(Told("adapter"), AllOf(StartsWith("failure: FCoE counts as not installed."),
                                       HasSubstr("The core agent knows 1 adapter that can do FCoE")));
    suite.Simulate(R"({"adapters": []})");
    EXPECT_EQ("failure: The agent knows no adapter.", Told("adapter"));
}

TEST_F(Doctor, FindsWhatTheAccountLacks) {
    const ImportPatch token(nullptr, "ADVAPI32.dll", "GetTokenInformation", As(QueryToken));
    g_elevated = TRUE;
    EXPECT_THAT(Told("account"), StartsWith("ok: "));
    g_elevated = FALSE;
    EXPECT_THAT(Told("account"), HasSubstr("without an administrator's rights."));
}

TEST_F(Doctor, FindsTheMutexThatIsNotToBeHad) {
    EXPECT_THAT(Told("vendor mutex"), StartsWith("ok: "));
    {
        const ImportPatch wait(nullptr, "KERNEL32.dll", "WaitForSingleObject", As(Wait));
        g_wait = WAIT_TIMEOUT;
        EXPECT_THAT(Told("vendor mutex"), StartsWith("failure: Another process has held"));
        g_wait = WAIT_ABANDONED;
        EXPECT_THAT(Told("vendor mutex"), StartsWith("warning: A process that held"));
    }
    const HANDLE made = CreateMutexW(nullptr, FALSE, L"Global\\CHBAAPINTMUT");
    const ImportPatch create(nullptr, "KERNEL32.dll", "CreateMutexW", As(DenyMutex));
    EXPECT_THAT(Told("vendor mutex"), StartsWith("ok: ")) << "one that another account made";
    const ImportPatch open(nullptr, "KERNEL32.dll", "OpenMutexW", As(DenyOpening));
    EXPECT_THAT(Told("vendor mutex"), StartsWith("failure: This account may not wait"));
    CloseHandle(made);
}

TEST_F(Doctor, FindsWhatIsWrongWithTheVendorLibrary) {
    EXPECT_THAT(Told("vendor library"), HasSubstr("orvanhapi.dll\", version 1."));
    EXPECT_EQ("failure: There is no folder \"C:\\nowhere\".", Told("vendor library", {"--library-dir", "C:\\nowhere"}));
    Copy(L"QelColib.dll", L"orvanhapi.dll");
    // A process that has no other library of that name.
    const Answer foreign = Host().RunProgram(L"doctor --json --library-dir \"" + folder.Path().wstring() + L"\"");
    EXPECT_THAT(foreign.out, AllOf(HasSubstr("The library lacks HBA_RegisterLibraryV2"),
                                   HasSubstr("ORVAN_GetTargetList (targets)"), HasSubstr("ORVAN_RemoveVPort")));
    EXPECT_EQ(1, foreign.exit);
    const ImportPatch load(nullptr, "KERNEL32.dll", "LoadLibraryW", As(LoadNothing));
    g_loadError = ERROR_MOD_NOT_FOUND;
    EXPECT_THAT(Told("vendor library"), AllOf(HasSubstr("orvanhapi.dll cannot be loaded"), HasSubstr("error 126")));
    g_loadError = ERROR_BAD_EXE_FORMAT;
    EXPECT_THAT(Told("vendor library"), HasSubstr("error 193"));
    EXPECT_THAT(Advice(), HasSubstr("64-bit"));
}

TEST_F(Doctor, FindsWhatTheVendorLibraryDoesNotRegister) {
    suite.Simulate(Topology(R"({"function": "GetPortStatistics", "missing": true})"));
    EXPECT_EQ("failure: The library registers no GetPortStatistics (counters).", Told("vendor library"));
    suite.Simulate(Topology(R"({"function": "ORVAN_InitializeLibrary", "status": 12})"));
    EXPECT_EQ("failure: The library cannot be initialized: unavailable (status 12).", Told("vendor library"));
    suite.Simulate(Topology(R"({"function": "ORVAN_InitializeLibrary", "throw": true})"));
    EXPECT_EQ("failure: The library threw an exception when it was initialized.", Told("vendor library"));
}

TEST_F(Doctor, FindsWhatIsWrongWithTheDcbService) {
    const ImportPatch open(nullptr, "ADVAPI32.dll", "OpenServiceW", As(OpenOne));
    const ImportPatch state(nullptr, "ADVAPI32.dll", "QueryServiceStatus", As(QueryState));
    g_serviceError = 0;
    g_serviceState = SERVICE_RUNNING;
    EXPECT_EQ("ok: The service OrvanDCB runs.", Told("DCB service"));
    g_serviceState = SERVICE_STOPPED;
    EXPECT_THAT(Told("DCB service"), StartsWith("failure: The service OrvanDCB does not run."));
    g_serviceError = ERROR_SERVICE_DOES_NOT_EXIST;
    EXPECT_THAT(Told("DCB service"), StartsWith("failure: There is no service OrvanDCB."));
    g_serviceError = ERROR_ACCESS_DENIED;
    EXPECT_THAT(Told("DCB service"), StartsWith("failure: The service OrvanDCB cannot be asked: "));
    const ImportPatch manager(nullptr, "ADVAPI32.dll", "OpenSCManagerW", As(DenyManager));
    EXPECT_THAT(Told("DCB service"), StartsWith("failure: This account may not ask the service manager: "));
}

TEST_F(Doctor, FindsWhatIsWrongWithTheDcbClass) {
    const ImportPatch find(nullptr, "ole32.dll", "CLSIDFromProgID", As(FindClass));
    const ImportPatch create(nullptr, "ole32.dll", "CoCreateInstance", As(Create));
    g_class = g_create = S_OK;
    EXPECT_THAT(Told("DCB class"), StartsWith("ok: "));
    const std::pair<HRESULT, const char*> answers[] = {{E_ACCESSDENIED, "admit this account"},
                                                       {REGDB_E_IIDNOTREG, "proxy"},
                                                       {E_NOINTERFACE, "proxy"},
                                                       {CO_E_SERVER_EXEC_FAILURE, "Install"}};
    for (const auto& [result, advice] : answers) {
        g_create = result;
        EXPECT_THAT(Told("DCB class"), StartsWith("failure: The service's class OrvanDCB.IoControl.1 does not answer"));
        EXPECT_THAT(Advice(), HasSubstr(advice));
    }
    g_class = REGDB_E_CLASSNOTREG;
    EXPECT_THAT(Told("DCB class"), StartsWith("failure: The class OrvanDCB.IoControl.1 is not registered."));
}

TEST_F(Doctor, TellsOfTheLogsLevel) {
    EXPECT_EQ("ok: The log is on, level 1.", Told("log level"));
    suite.Hive().Set(SUITE, L"TRACE", DWORD{2});
    EXPECT_THAT(Told("log level"), HasSubstr("warning: The log has errors only"));
    suite.Hive().Set(SUITE, L"TRACE", DWORD{7});
    EXPECT_THAT(Told("log level"), HasSubstr("is 7, which acts as 3."));
    suite.Hive().Set(SUITE, L"TRACE", DWORD{0});
    EXPECT_THAT(Told("log level"), HasSubstr("warning: The log is off"));
    EXPECT_EQ("", Told("log file"));
    suite.Hive().DeleteKey(SUITE);
    EXPECT_THAT(Told("log level"), HasSubstr("warning: There is no log"));
}

TEST_F(Doctor, FindsTheLogThatCannotBeWritten) {
    EXPECT_THAT(Told("log file"), AllOf(StartsWith("ok: " + Utf8(suite.LogFile())), HasSubstr("can be written")));
    {
        const auto file = suite.LogFile();
        std::ofstream(file) << "FCOEAGENT\tPID:4d2\tTID:1\t10:00:00.000\t(1)\tTIER 0\t\tx\r\n";
        const HANDLE writer =
            CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_THAT(Told("log file"), AllOf(StartsWith("warning: Process 1234 writes "), HasSubstr("goes to ")));
        CloseHandle(writer);
    }
    {
        const HANDLE file = CreateFileW(suite.LogFile().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD returned = 0; // so that its hundred megabytes take no room
        DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
        SetFilePointer(file, 150'000'000, nullptr, FILE_BEGIN);
        SetEndOfFile(file);
        CloseHandle(file);
        EXPECT_THAT(Told("log file"), HasSubstr("has 150.0 MB."));
    }
    suite.Hive().Set(SUITE, L"InstalledDir", L"C:\\nowhere\\at all");
    EXPECT_THAT(Told("log file"), AllOf(StartsWith("warning: C:\\nowhere"), HasSubstr("The log goes to ")));
    SetEnvironmentVariableW(L"Temp", L"C:\\nowhere either");
    EXPECT_THAT(Told("log file"), StartsWith("failure: Neither "));
}

TEST_F(Doctor, FindsLeftovers) {
    g_serviceError = 0;
    g_program = (ProgramFolder() / L"OrvanDcb.exe").wstring();
    const ImportPatch open(nullptr, "ADVAPI32.dll", "OpenServiceW", As(OpenOne));
    const ImportPatch config(nullptr, "ADVAPI32.dll", "QueryServiceConfigW", As(QueryConfig));
    EXPECT_EQ("ok: No uninstalled version has left anything.", Told("leftovers"));
    g_program = L"\"C:\\gone\\OrvanDcb.exe\" --run";
    EXPECT_THAT(Told("leftovers"), HasSubstr("its program \"C:\\gone\\OrvanDcb.exe\" does not exist."));
    g_program = L"C:\\gone too\\OrvanDcb.exe --run";
    EXPECT_THAT(Told("leftovers"), HasSubstr("its program \"C:\\gone too\\OrvanDcb.exe\" does not exist."));
    g_program = (ProgramFolder() / L"OrvanDcb.exe").wstring();
    suite.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\NicAgnt", L"InstalledDir",
                     L"C:\\gone\\NicAgnt");
    EXPECT_THAT(Told("leftovers"), HasSubstr("warning: The agent NicAgnt is registered"));
    for (const wchar_t* agent : {L"\\NicAgnt", L"\\CoreAgnt", L"\\FcoeAgnt", L""})
        suite.Hive().DeleteKey((AGENTS + std::wstring(agent)).c_str());
    suite.Hive().Set(L"SOFTWARE\\Wow6432Node\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt", L"InstalledDir", L"x");
    EXPECT_THAT(Told("leftovers"), HasSubstr("are there for 32-bit programs only"));
}

TEST_F(Doctor, AsksEachAdapterAndTellsTheTimeOfEachStep) {
    const Json healthy = Findings("adapter");
    ASSERT_EQ(1u, healthy.size());
    EXPECT_EQ("ok", healthy[0]["result"]);
    std::vector<std::string> steps;
    for (const Json& step : healthy[0]["steps"]) {
        steps.push_back(step["step"].get<std::string>() + " " + std::to_string(step["records"].get<int>()));
        EXPECT_GT(step["milliseconds"], 0);
    }
    EXPECT_THAT(steps, testing::ElementsAre("adapter 1", "fabrics 1", "ports 1", "targets 1", "LUNs 1", "VLANs 2",
                                            "counters 15"));
}

TEST_F(Doctor, FindsWhatAnAdapterDoesNotAnswer) {
    const std::pair<const char*, const char*> faults[] = {
        {R"({"function": "ORVAN_GetVlanIdList", "status": 3})", "VLANs: ORVAN_GetVlanIdList: "},
        {R"({"function": "GetFcpTargetMapping", "missing": true})", "LUNs: GetFcpTargetMapping: "},
        {R"({"function": "GetPortStatistics", "status": 1})", "counters: GetPortStatistics: "},
    };
    for (const auto& [fault, sentence] : faults) {
        suite.Simulate(Topology(fault));
        EXPECT_THAT(Told("adapter"),
                    HasSubstr("failure: Lab 1  {11111111-2222-4333-8444-555555555501}: not everything"));
        EXPECT_THAT(Advice(), HasSubstr(sentence));
    }
    suite.Simulate(Topology(R"({"function": "ORVAN_GetVlanIdList", "status": 3, "on_call": 2})"));
    EXPECT_THAT(Told("adapter"), HasSubstr("failure: Lab 1  {11111111-2222-4333-8444-555555555501}: not everything"));
    suite.Simulate(Topology(R"({"function": "ORVAN_GetFCoEControllerHandle", "status": 1})"));
    EXPECT_EQ("failure: An adapter that the core agent lists could not be opened.", Told("adapter"));
    EXPECT_THAT(Advice(), HasSubstr("ORVAN_GetFCoEControllerHandle: The vendor library does not know the adapter."));
}

// The agent keeps an answer for a moment, so what failed for the list may not be asked again.
TEST_F(Doctor, TellsWhatTheListOfAdaptersLacked) {
    suite.Simulate(Topology(R"({"function": "ORVAN_GetFCAndNICProperties", "status": 1, "on_call": 1})"));
    EXPECT_THAT(Told("adapter"), HasSubstr("failure: Lab 1  {11111111-2222-4333-8444-555555555501}: not everything"));
    EXPECT_THAT(Advice(), HasSubstr("ORVAN_GetFCAndNICProperties failed"));
    suite.Simulate(Topology(R"({"function": "ORVAN_GetFCAndNICProperties", "status": 1, "on_call": 1},
                               {"function": "ORVAN_GetVlanIdList", "status": 3})"));
    EXPECT_THAT(Told("adapter"), HasSubstr("not everything"));
    EXPECT_THAT(Advice(),
                AllOf(HasSubstr("ORVAN_GetFCAndNICProperties failed"), HasSubstr("VLANs: ORVAN_GetVlanIdList: ")));
}

TEST_F(Doctor, TellsOfAnAdapterThatIsSlow) {
    const ImportPatch clock(nullptr, "KERNEL32.dll", "QueryPerformanceCounter", As(ThreeSecondsLater));
    EXPECT_THAT(Told("adapter"),
                HasSubstr("warning: Lab 1  {11111111-2222-4333-8444-555555555501}: the adapter took 3.0"));
}

TEST_F(Doctor, FindsWhatTheLogDoesNotTell) {
    suite.Hive().Set(SUITE, L"TRACE", DWORD{0});
    suite.Simulate(Topology(R"({"function": "ORVAN_GetFCPortList", "status": 1})"));
    EXPECT_THAT(Told("adapter"), HasSubstr("failure: Lab 1  {11111111-2222-4333-8444-555555555501}: not everything"));
    EXPECT_THAT(Advice(), HasSubstr("the fabrics could not be read: ORVAN_GetFCPortList failed"));
}

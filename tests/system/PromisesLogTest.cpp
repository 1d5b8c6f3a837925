// The log as docs/log.md tells of it, in a host's hands.
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/system/PromiseSuite.h"

namespace {

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t CORE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";
constexpr char STARTED[] = "ENTRY:  CQelFcoeAgentWin::Initialize";
constexpr char ALREADY[] = "CQelFcoeAgentWin::Initialize() - Already initialized";

// A file that another program writes.
class WrittenFile {
  public:
    explicit WrittenFile(const std::filesystem::path& file)
        : m_file(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr)) {
        EXPECT_NE(INVALID_HANDLE_VALUE, m_file) << file;
    }
    ~WrittenFile() { CloseHandle(m_file); }
    WrittenFile(const WrittenFile&) = delete;
    WrittenFile& operator=(const WrittenFile&) = delete;

  private:
    HANDLE m_file;
};

class Temp {
  public:
    explicit Temp(const std::filesystem::path& folder) {
        GetEnvironmentVariableW(L"Temp", m_previous, MAX_PATH);
        SetEnvironmentVariableW(L"Temp", folder.c_str());
    }
    ~Temp() { SetEnvironmentVariableW(L"Temp", m_previous); }
    Temp(const Temp&) = delete;
    Temp& operator=(const Temp&) = delete;

  private:
    wchar_t m_previous[MAX_PATH] = L"";
};

TEST(PromiseLog, IsRewrittenEachTimeTheAgentIsLoaded) {
    SuiteHost host;
    host.GetAgent();
    host.GetAgent();
    EXPECT_TRUE(host.Logged(ALREADY));
    host.Unload();
    EXPECT_TRUE(host.Logged(ALREADY));
    host.GetAgent();
    EXPECT_TRUE(host.Logged(STARTED));
    EXPECT_FALSE(host.Logged(ALREADY));
}

TEST(PromiseLog, HasLevelOneWithoutTheNumber) {
    SuiteHost host;
    host.Hive().Delete(SUITE_KEY, L"TRACE");
    EXPECT_TRUE(host.GetAgent());
    EXPECT_TRUE(host.Logged(STARTED));
}

long long __cdecl AnswerHugeLength(int) {
    return 1LL << 40;
}

TEST(PromiseLog, HasNoLimitOfItsSize) {
    SuiteHost host;
    ASSERT_TRUE(host.GetAgent());
    const ImportPatch patch(host.Module(), "msvcrt.dll", "_filelengthi64", reinterpret_cast<void*>(&AnswerHugeLength));
    EXPECT_TRUE(host.GetAgent());
    EXPECT_TRUE(host.Logged(ALREADY));
}

TEST(PromiseLog, LevelCountsFromTheNextLoad) {
    SuiteHost host;
    host.Hive().Set(SUITE_KEY, L"TRACE", DWORD{0});
    host.GetAgent();
    host.Hive().Set(SUITE_KEY, L"TRACE", DWORD{1});
    host.GetAgent();
    EXPECT_FALSE(std::filesystem::exists(host.LogFile()));
    host.Unload();
    host.GetAgent();
    EXPECT_TRUE(host.Logged(STARTED));
}

TEST(PromiseLog, IsOffWithoutTheSuitesKey) {
    SuiteHost host;
    const TempFolder temp;
    const Temp environment(temp.Path());
    host.Hive().DeleteKey(SUITE_KEY);
    EXPECT_FALSE(host.GetAgent());
    EXPECT_FALSE(std::filesystem::exists(host.LogFile()));
    EXPECT_FALSE(std::filesystem::exists(temp.Path() / L"FcoeAgnt.txt"));
}

TEST(PromiseLog, WhoseFileAnotherProgramWritesGoesToTempAndThenNowhere) {
    SuiteHost host;
    const TempFolder temp;
    const Temp environment(temp.Path());
    const WrittenFile taken(host.LogFile());
    EXPECT_TRUE(host.GetAgent());
    EXPECT_NE(std::string::npos, ReadFileBytes(temp.Path() / L"FcoeAgnt.txt").find(STARTED));
    host.Unload();
    const WrittenFile takenToo(temp.Path() / L"FcoeAgnt.txt");
    EXPECT_TRUE(host.GetAgent());
    EXPECT_EQ("", ReadFileBytes(temp.Path() / L"FcoeAgnt.txt"));
    EXPECT_EQ("", ReadFileBytes(host.LogFile()));
}

// 511 characters are what is read of this value; of every other text 255.
TEST(PromiseLog, FolderMayHave511Characters) {
    SuiteHost host;
    std::wstring folder = host.Folder().wstring();
    if (folder.size() % 2 == 0)
        folder += L'\\';
    while (folder.size() < 511)
        folder += L"\\.";
    ASSERT_EQ(511u, folder.size());
    host.Hive().Set(SUITE_KEY, L"InstalledDir", folder);
    EXPECT_TRUE(host.GetAgent());
    EXPECT_TRUE(host.Logged(STARTED));
}

constexpr char CHILDS_HANDLES[] = "FCOE_CHILD_HANDLES";

// In a process of its own: says that it lives and waits until the test has seen what it wants to see.
TEST(PromiseLogChild, DISABLED_Lives) {
    const char* const handles = std::getenv(CHILDS_HANDLES);
    ASSERT_TRUE(handles);
    std::uintptr_t lives = 0, seen = 0;
    std::istringstream(handles) >> lives >> seen;
    SetEvent(std::bit_cast<HANDLE>(lives));
    WaitForSingleObject(std::bit_cast<HANDLE>(seen), 60000);
}

// A program that the host starts and that outlives the agent. It inherits the handles that can be.
class ChildProcess {
  public:
    ChildProcess() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        m_lives = CreateEventW(&inherited, TRUE, FALSE, nullptr);
        m_seen = CreateEventW(&inherited, TRUE, FALSE, nullptr);
        std::ostringstream handles;
        handles << reinterpret_cast<std::uintptr_t>(m_lives) << ' ' << reinterpret_cast<std::uintptr_t>(m_seen);
        SetEnvironmentVariableA(CHILDS_HANDLES, handles.str().c_str());
        const std::wstring command =
            L"\"" + ProgramFile().wstring() +
            L"\" --gtest_also_run_disabled_tests --gtest_filter=PromiseLogChild.DISABLED_Lives";
        // Its closing line is not this program's.
        const HANDLE nowhere = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                           OPEN_EXISTING, 0, nullptr);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = nowhere;
        EXPECT_TRUE(StartProcess(command, true, startup, m_process)) << "error " << GetLastError();
        CloseHandle(nowhere);
        SetEnvironmentVariableA(CHILDS_HANDLES, nullptr);
    }
    ~ChildProcess() {
        SetEvent(m_seen);
        EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(m_process.hProcess, 60000));
        for (const HANDLE handle : {m_lives, m_seen, m_process.hThread, m_process.hProcess})
            CloseHandle(handle);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // It runs with the handles that it inherited.
    bool Lives() const { return WaitForSingleObject(m_lives, 60000) == WAIT_OBJECT_0; }

  private:
    HANDLE m_lives, m_seen;
    PROCESS_INFORMATION m_process{};
};

TEST(PromiseLog, IsNotKeptByProgramsThatTheHostStarts) {
    SuiteHost host;
    ASSERT_TRUE(host.GetAgent());
    const ChildProcess child;
    ASSERT_TRUE(child.Lives());
    host.Unload();
    const HANDLE file =
        CreateFileW(host.LogFile().c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, file) << "error " << GetLastError();
    CloseHandle(file);
}

TEST(PromiseLog, SpeaksOfAnExceptionAlsoWhenThereIsNoCoreAgent) {
    SuiteHost host;
    host.Hive().Set(CORE_KEY, L"InstalledDir", L"C:\\elsewhere\\CoreAgnt.dll");
    EXPECT_FALSE(host.GetAgent());
    auto* const agent = host.GetAgent();
    ASSERT_TRUE(agent);
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(agent->EnumerateHBAs(CQelString(), hbas, 0));
    EXPECT_TRUE(hbas.empty());
    EXPECT_TRUE(
        host.Logged("Common\\Src\\QelNetAgentPvt (267): CQelNetAgentPvt::WaitForApplyDone() - Exception caught"));
    EXPECT_TRUE(host.Logged("CQelFcoeAgentWin::GetAdaptersThatSupportFCOE - EnumerateAdapters failed!"));
    CQelString adapter(FIRST), wwpn(L"Auto");
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = 5;
    EXPECT_FALSE(agent->CreateVPort(adapter, wwpn, errors, owner));
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(host.Logged("Common\\Src\\QelNetAgentPvt (352): CQelNetAgentPvt::StartLock() - Exception caught"));
}

} // namespace
